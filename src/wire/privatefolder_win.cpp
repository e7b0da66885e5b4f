// SPDX-License-Identifier: MIT
#include "wire/privatefolder.h"

#include <filesystem>
#include <vector>

#include <windows.h>

namespace {
std::filesystem::path PathOf(const std::string &text)
{
    return std::filesystem::path{std::u8string{text.begin(), text.end()}};
}

std::string TextOf(const std::filesystem::path &path)
{
    // Of one form, whatever the environment has.
    const std::u8string text = path.generic_u8string();
    return {text.begin(), text.end()};
}

std::filesystem::path Variable(const wchar_t *name)
{
    const DWORD size = GetEnvironmentVariableW(name, nullptr, 0);
    if (size == 0)
        return {};
    std::vector<wchar_t> value(size);
    const DWORD length = GetEnvironmentVariableW(name, value.data(), size);
    return length < size ? std::filesystem::path{std::wstring{value.data(), length}}
                         : std::filesystem::path{};
}

/// A link or a mount point leads elsewhere.
bool HasAttributes(const std::string &path, bool isFolder)
{
    const DWORD attributes = GetFileAttributesW(PathOf(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0 &&
           ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) == isFolder;
}
} // namespace

std::string Taskmill_StateFolderPath()
{
    if (const std::filesystem::path preferences = Variable(L"TASKMILLPREFS_DIR"); !preferences.empty()) {
        std::error_code error;
        const std::filesystem::path absolute = std::filesystem::absolute(preferences, error);
        return error ? std::string{} : TextOf(absolute / L"state");
    }
    const std::filesystem::path local = Variable(L"LOCALAPPDATA");
    return local.empty() ? std::string{} : TextOf(local / L"Taskmill");
}

// The local application data of a user are closed to the others already.
bool Taskmill_MakePrivateFolder(const std::string &path)
{
    std::error_code error;
    std::filesystem::create_directories(PathOf(path), error);
    return Taskmill_IsPrivateFolder(path);
}

bool Taskmill_IsPrivateFolder(const std::string &path)
{
    return HasAttributes(path, true);
}

bool Taskmill_IsOwnFile(const std::string &path)
{
    return HasAttributes(path, false);
}
