// SPDX-License-Identifier: MIT
#include "db/databasefile.h"

#include <QDir>
#include <QFile>

#include <qt_windows.h>

static const wchar_t *Native(const QString &nativePath)
{
    return reinterpret_cast<const wchar_t *>(nativePath.utf16());
}

QString Taskmill_FoldedName(const QString &path)
{
    return path.toCaseFolded();
}

bool Taskmill_SyncFile(const QString &path)
{
    const QString native = QDir::toNativeSeparators(path);
    const HANDLE file = CreateFileW(Native(native), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    const bool synced = FlushFileBuffers(file) != 0;
    return CloseHandle(file) != 0 && synced;
}

bool Taskmill_TakeOverPermissions(const QString &path, const QString &other)
{
    return QFile::setPermissions(path, QFile::permissions(other));
}

bool Taskmill_ReplaceFile(const QString &path, const QString &target)
{
    const QString from = QDir::toNativeSeparators(path);
    const QString to = QDir::toNativeSeparators(target);
    return MoveFileExW(Native(from), Native(to), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0;
}
