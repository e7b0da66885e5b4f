#include "kilnutil/computerdata.h"

#include <QSet>
#include <QSysInfo>

using namespace Qt::Literals::StringLiterals;

namespace {
struct Ports
{
    quint16 GUI;
    quint16 Console;
};

// Below the range from which Linux takes the ports of outgoing connections.
constexpr Ports defaultPorts{27641, 27642};

// The ports are asked for at every job.
void WarnOnce(const QString &message)
{
    static QSet<QString> told;
    if (told.contains(message))
        return;
    told.insert(message);
    qWarning("%ls", qUtf16Printable(message));
}

quint16 PortFromEnvironment(const char *variable, quint16 fallback)
{
    const QString text = qEnvironmentVariable(variable);
    if (text.isEmpty())
        return fallback;
    bool isNumber = false;
    const quint16 port = text.toUShort(&isNumber);
    if (isNumber && port != 0)
        return port;
    WarnOnce(u"%1 is ignored, it is no port number: %2"_s.arg(QLatin1StringView{variable}, text));
    return fallback;
}

Ports PortsInForce()
{
    const Ports ports{PortFromEnvironment("TASKMILL_GUI_PORT", defaultPorts.GUI),
                      PortFromEnvironment("TASKMILL_CONSOLE_PORT", defaultPorts.Console)};
    if (ports.GUI != ports.Console)
        return ports;
    WarnOnce(u"TASKMILL_GUI_PORT and TASKMILL_CONSOLE_PORT are ignored, both give port %1"_s.arg(ports.GUI));
    return defaultPorts;
}
} // namespace

quint16 KilnUtil_ComputerData::TaskmillGUIPortNumber()
{
    return PortsInForce().GUI;
}

quint16 KilnUtil_ComputerData::TaskmillConsolePortNumber()
{
    return PortsInForce().Console;
}

QString KilnUtil_ComputerData::HostName()
{
    const QString name = QSysInfo::machineHostName();
    return name.isEmpty() ? u"localhost"_s : name;
}
