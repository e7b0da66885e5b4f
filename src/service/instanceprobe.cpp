#include "service/instanceprobe.h"

#include <QHostAddress>
#include <QTcpSocket>

namespace {
constexpr int connectMs = 1000;
constexpr int writeMs = 30000;
} // namespace

bool Taskmill_IsManagerRunning(bool gui, quint16 port)
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress{QHostAddress::LocalHost}, port);
    if (!socket.waitForConnected(connectMs))
        return false;
    socket.write(gui ? "clientname=TaskmillGUI\naction=test" : "clientname=TaskmillConsole\naction=test");
    socket.waitForBytesWritten(writeMs);
    socket.close();
    return true;
}
