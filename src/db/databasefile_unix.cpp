// SPDX-License-Identifier: MIT
#include "db/databasefile.h"

#include "kilnutil/logging.h"

#include <QFile>
#include <QFileInfo>

#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

static bool Sync(const QString &path, int flags)
{
    const int descriptor = open(QFile::encodeName(path).constData(), flags | O_CLOEXEC);
    if (descriptor < 0)
        return false;
    const bool synced = fsync(descriptor) == 0;
    return close(descriptor) == 0 && synced;
}

QString Taskmill_FoldedName(const QString &path)
{
    return path;
}

bool Taskmill_SyncFile(const QString &path)
{
    return Sync(path, O_RDWR);
}

bool Taskmill_TakeOverPermissions(const QString &path, const QString &other)
{
    struct stat status
    {
    };
    if (stat(QFile::encodeName(other).constData(), &status) != 0)
        return false;
    const QByteArray name = QFile::encodeName(path);
    // Another owner can only be kept by the superuser, another group only by its members.
    if (chown(name.constData(), status.st_uid, status.st_gid) != 0 &&
        chown(name.constData(), static_cast<uid_t>(-1), status.st_gid) != 0)
        qCInfo(Taskmill_DBLog, "The owner of %s is not kept", QFile::encodeName(other).constData());
    return chmod(name.constData(), status.st_mode & 07777) == 0;
}

bool Taskmill_ReplaceFile(const QString &path, const QString &target)
{
    if (std::rename(QFile::encodeName(path).constData(), QFile::encodeName(target).constData()) != 0)
        return false;
    // The new content stands already; some file systems cannot sync a directory.
    if (!Sync(QFileInfo{target}.absolutePath(), O_RDONLY | O_DIRECTORY))
        qCInfo(Taskmill_DBLog, "Cannot sync the directory of %s", QFile::encodeName(target).constData());
    return true;
}
