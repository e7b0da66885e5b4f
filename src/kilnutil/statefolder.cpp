// SPDX-License-Identifier: MIT
#include "kilnutil/statefolder.h"

#include "kilnutil/computerdata.h"
#include "kilnutil/registry.h"
#include "wire/privatefolder.h"

#include <QStorageInfo>
#include <QSysInfo>
#include <QtGlobal>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

QString KilnUtil_StateFolderPath()
{
    // A relative one counts from the directory in which the program was started, which the registry knows.
    const QString preferences = KilnUtil_Registry::PreferencesDirPath();
    return preferences.isEmpty() || qEnvironmentVariableIsEmpty("TASKMILLPREFS_DIR")
               ? QString::fromStdString(Taskmill_StateFolderPath())
               : preferences + u"/state"_s;
}

QString KilnUtil_StateFolder()
{
    const QString path = KilnUtil_StateFolderPath();
    return Taskmill_MakePrivateFolder(path.toStdString()) ? path : QString{};
}

QString KilnUtil_MachineID()
{
    static const QString id = [] {
        QString text = QString::fromLatin1(QSysInfo::machineUniqueId());
        if (text.isEmpty())
            text = QSysInfo::machineHostName();
        const auto isOdd = [](QChar one) {
            return !one.isLetterOrNumber() || one.unicode() > 127;
        };
        std::replace_if(text.begin(), text.end(), isOdd, u'-');
        return text.isEmpty() ? u"computer"_s : text;
    }();
    return id;
}

QString KilnUtil_MachineFolder()
{
    QString folder = KilnUtil_StateFolder();
    if (folder.isEmpty())
        return folder;
    const QByteArray type = QStorageInfo{folder}.fileSystemType();
    const bool isOnNetwork = type.startsWith("nfs") || type.startsWith("cifs") || type.startsWith("smb") ||
                             type.startsWith("fuse.sshfs") || type.startsWith("afs");
    if (isOnNetwork)
        folder = u"/var/tmp/taskmill-%1"_s.arg(KilnUtil_ComputerData::UID());
    if (isOnNetwork && !Taskmill_MakePrivateFolder(folder.toStdString()))
        return {};
    folder += u'/' + KilnUtil_MachineID();
    return Taskmill_MakePrivateFolder(folder.toStdString()) ? folder : QString{};
}
