// SPDX-License-Identifier: MIT
#include "kilnutil/sharedfile.h"

#include <QDir>
#include <QFile>

#include <fcntl.h>
#include <io.h>
#include <qt_windows.h>

namespace KilnUtil_SharedFile {
namespace {
HANDLE OpenHandle(const QString &path, DWORD access)
{
    const QString native = QDir::toNativeSeparators(path);
    return CreateFileW(reinterpret_cast<const wchar_t *>(native.utf16()), access,
                       FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
}

qint64 Joined(DWORD high, DWORD low)
{
    return static_cast<qint64>((static_cast<quint64>(high) << 32U) | low);
}

std::optional<Status> StatusOfHandle(HANDLE handle)
{
    BY_HANDLE_FILE_INFORMATION data = {};
    if (GetFileType(handle) != FILE_TYPE_DISK || !GetFileInformationByHandle(handle, &data) ||
        (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        return std::nullopt;
    return Status{.device = data.dwVolumeSerialNumber,
                  .number = static_cast<quint64>(Joined(data.nFileIndexHigh, data.nFileIndexLow)),
                  .size = Joined(data.nFileSizeHigh, data.nFileSizeLow),
                  .modified =
                      Joined(data.ftLastWriteTime.dwHighDateTime, data.ftLastWriteTime.dwLowDateTime)};
}
} // namespace

bool Open(QFile &file, const QString &path)
{
    const HANDLE handle = OpenHandle(path, GENERIC_READ);
    if (handle == INVALID_HANDLE_VALUE)
        return false;
    if (!StatusOfHandle(handle)) {
        CloseHandle(handle);
        return false;
    }
    const int descriptor = _open_osfhandle(reinterpret_cast<intptr_t>(handle), _O_RDONLY | _O_BINARY);
    if (descriptor < 0) {
        CloseHandle(handle);
        return false;
    }
    if (file.open(descriptor, QIODevice::ReadOnly | QIODevice::Unbuffered, QFileDevice::AutoCloseHandle))
        return true;
    _close(descriptor);
    return false;
}

std::optional<Status> StatusOf(const QString &path)
{
    // No access right is asked for: a file that may not be read still has a status.
    const HANDLE handle = OpenHandle(path, 0);
    if (handle == INVALID_HANDLE_VALUE)
        return std::nullopt;
    const std::optional<Status> status = StatusOfHandle(handle);
    CloseHandle(handle);
    return status;
}

std::optional<Status> StatusOf(const QFile &file)
{
    return StatusOfHandle(reinterpret_cast<HANDLE>(_get_osfhandle(file.handle())));
}
} // namespace KilnUtil_SharedFile
