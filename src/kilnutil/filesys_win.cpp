// SPDX-License-Identifier: MIT
#include "kilnutil/filesys.h"

#include <QDir>
#include <QFileInfo>

#include <memory>
#include <string>

#include <windows.h>

using namespace Qt::Literals::StringLiterals;

namespace {
struct Closer
{
    using pointer = HANDLE;
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using Handle = std::unique_ptr<void, Closer>;

/// Also of a file that others write or delete, and of a folder; nullptr when the system shows nothing there.
Handle Open(const QString &path)
{
    const QString native = QDir::toNativeSeparators(path);
    const HANDLE handle = CreateFileW(reinterpret_cast<const wchar_t *>(native.utf16()), FILE_READ_ATTRIBUTES,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                      OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    return Handle{handle == INVALID_HANDLE_VALUE ? nullptr : handle};
}

/// With long names in place of short ones, and the places that links, junctions and drive letters of folders
/// stand for; empty when the drive cannot say it.
QString FinalPath(HANDLE handle)
{
    std::wstring text(MAX_PATH, L'\0');
    const auto get = [&] {
        return GetFinalPathNameByHandleW(handle, text.data(), static_cast<DWORD>(text.size()),
                                         FILE_NAME_NORMALIZED | VOLUME_NAME_DOS);
    };
    DWORD length = get();
    if (length >= text.size()) {
        text.resize(length + 1);
        length = get();
    }
    if (length >= text.size())
        return {};
    text.resize(length);
    QString path = QDir::fromNativeSeparators(QString::fromStdWString(text));
    if (path.startsWith("//?/UNC/"_L1))
        path.replace(0, "//?/UNC/"_L1.size(), u"//"_s);
    else if (path.startsWith("//?/"_L1))
        path.remove(0, "//?/"_L1.size());
    return path;
}
} // namespace

QString KilnUtil_FileSys::ExistingExecutable(const QString &pathWithExe)
{
    return pathWithExe;
}

QStringList KilnUtil_FileSys::UsualGaussDirs()
{
    return {u"C:/G16W"_s, u"C:/G09W"_s};
}

QStringList KilnUtil_FileSys::GaussExeNames()
{
    return {u"g16.exe"_s, u"g09.exe"_s, u"gdv.exe"_s};
}

QString KilnUtil_FileSys::ComparablePath(const QString &path)
{
    return path.toCaseFolded();
}

std::optional<KilnUtil_FileSys::Place> KilnUtil_FileSys::PlaceOf(const QString &path)
{
    const QFileInfo file{path};
    const Handle handle = Open(path);
    // NUL and the like are in every folder.
    if (handle && GetFileType(handle.get()) != FILE_TYPE_DISK)
        return Place{path, false};
    if (!handle && !file.exists())
        return std::nullopt;
    const QString found = handle ? FinalPath(handle.get()) : QString{};
    return Place{found.isEmpty() ? file.canonicalFilePath() : found, file.isFile()};
}
