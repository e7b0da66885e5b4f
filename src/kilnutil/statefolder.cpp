// SPDX-License-Identifier: MIT
#include "kilnutil/statefolder.h"

#include "kilnutil/computerdata.h"
#include "kilnutil/registry.h"
#include "wire/privatefolder.h"

#include <QFileInfo>
#include <QStorageInfo>
#include <QtGlobal>

using namespace Qt::Literals::StringLiterals;

namespace {
/// Locks of such file systems may be kept to oneself, or not at all.
bool IsOnAnotherComputer(const QString &path)
{
    static const QList<QByteArray> types{
        "nfs",  "nfs4",  "cifs",   "smb3",   "smbfs",          "afs",       "ncpfs",     "9p", "coda", "ceph",
        "gpfs", "panfs", "lustre", "beegfs", "fuse.glusterfs", "fuse.ceph", "fuse.sshfs"};
    return types.contains(QStorageInfo{path}.fileSystemType());
}

QString FolderAbove(const QString &path)
{
    return QFileInfo{path}.path();
}
} // namespace

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

QStringList KilnUtil_MachineFolderPaths()
{
    QStringList paths{KilnUtil_StateFolderPath(), KilnUtil_LocalStateFolderPath()};
    paths.removeAll(QString{});
    for (QString &path : paths)
        path += u'/' + KilnUtil_ComputerData::MachineID();
    return paths;
}

bool KilnUtil_MakeMachineFolder(const QString &path)
{
    return Taskmill_MakePrivateFolder(FolderAbove(path).toStdString()) &&
           !IsOnAnotherComputer(FolderAbove(path)) && Taskmill_MakePrivateFolder(path.toStdString());
}

bool KilnUtil_IsMachineFolder(const QString &path)
{
    return Taskmill_IsPrivateFolder(FolderAbove(path).toStdString()) &&
           Taskmill_IsPrivateFolder(path.toStdString());
}
