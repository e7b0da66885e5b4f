// SPDX-License-Identifier: MIT
#include "kilnutil/computerdata.h"

#include "kilnutil/logging.h"
#include "wire/bootid.h"
#include "wire/ports.h"

#include <QCryptographicHash>
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

QString KilnUtil_ComputerData::MachineID()
{
    // Every start of a job asks for it.
    static const QString machineID = [] {
        // Not as it stands: it is not to be shown to others.
        const QByteArray id = QSysInfo::machineUniqueId();
        const QByteArray text = "taskmill " + (id.isEmpty() ? HostName().toUtf8() : id);
        constexpr qsizetype digits = 16;
        return QString::fromLatin1(
            QCryptographicHash::hash(text, QCryptographicHash::Sha256).toHex().first(digits));
    }();
    return machineID;
}

QString KilnUtil_ComputerData::BootID()
{
    const std::string id = Taskmill_BootID();
    return id == Taskmill_NoBootID ? QString{} : QString::fromLocal8Bit(QByteArray::fromStdString(id));
}
