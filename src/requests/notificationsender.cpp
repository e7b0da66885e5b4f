// SPDX-License-Identifier: MIT
#include "requests/notificationsender.h"

#include <QDeadlineTimer>
#include <QHostAddress>
#include <QTcpSocket>

#include <limits>

using namespace Qt::Literals::StringLiterals;

namespace {
QHostAddress HostAddress(const QString &address)
{
    // QHostAddress reads addresses only, and never asks a name server.
    if (address.compare("localhost"_L1, Qt::CaseInsensitive) == 0)
        return QHostAddress{QHostAddress::LocalHost};
    return QHostAddress{address};
}
} // namespace

bool Taskmill_NotificationSender::Send(const QString &address, int port, const QByteArray &message)
{
    const QHostAddress host = HostAddress(address);
    if (host.isNull() || port < 1 || port > std::numeric_limits<quint16>::max())
        return false;

    QTcpSocket socket;
    socket.connectToHost(host, static_cast<quint16>(port));
    if (!socket.waitForConnected(m_waitMs))
        return false;
    socket.write(message);
    // One limit for the whole message: a client that takes it byte by byte must not hold up the manager.
    const QDeadlineTimer deadline{m_waitMs};
    while (socket.bytesToWrite() > 0 &&
           socket.waitForBytesWritten(static_cast<int>(deadline.remainingTime()))) {
    }
    socket.close();
    return true;
}
