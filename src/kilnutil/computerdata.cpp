// SPDX-License-Identifier: MIT
#include "kilnutil/computerdata.h"

#include "kilnutil/logging.h"
#include "wire/ports.h"

#include <QSysInfo>

#include <set>

using namespace Qt::Literals::StringLiterals;

namespace {
// The ports are asked for at every job.
void WarnOnce(const std::string &message)
{
    static std::set<std::string> warned;
    if (warned.insert(message).second)
        qCWarning(KilnUtil_UtilLog, "%s", message.c_str());
}
} // namespace

quint16 KilnUtil_ComputerData::TaskmillGUIPortNumber()
{
    return Taskmill_PortsInForce(WarnOnce).GUI;
}

quint16 KilnUtil_ComputerData::TaskmillConsolePortNumber()
{
    return Taskmill_PortsInForce(WarnOnce).Console;
}

QString KilnUtil_ComputerData::HostName()
{
    const QString name = QSysInfo::machineHostName();
    return name.isEmpty() ? u"localhost"_s : name;
}
