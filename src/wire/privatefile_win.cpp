// SPDX-License-Identifier: MIT
#include "wire/privatefile.h"

#include "wire/privatefolder.h"

#include <filesystem>
#include <fstream>
#include <iterator>

namespace {
std::filesystem::path PathOf(const std::string &text)
{
    return std::filesystem::path{std::u8string{text.begin(), text.end()}};
}
} // namespace

// The folders of a user are closed to the others already.
bool Taskmill_WritePrivateFile(const std::string &path, std::string_view text)
{
    const std::filesystem::path written = PathOf(path + ".new");
    std::error_code error;
    {
        std::ofstream file{written, std::ios::binary | std::ios::trunc};
        file.write(text.data(), static_cast<std::streamsize>(text.size()));
        if (!file.flush())
            return false;
    }
    std::filesystem::rename(written, PathOf(path), error);
    return !error;
}

std::string Taskmill_ReadPrivateFile(const std::string &path, std::size_t most)
{
    if (!Taskmill_IsOwnFile(path))
        return {};
    std::ifstream file{PathOf(path), std::ios::binary};
    const std::string text{std::istreambuf_iterator<char>{file}, {}};
    return text.size() <= most ? text : std::string{};
}

void Taskmill_RemovePrivateFile(const std::string &path, std::string_view text)
{
    std::error_code error;
    if (!path.empty() && Taskmill_ReadPrivateFile(path, text.size()) == text)
        std::filesystem::remove(PathOf(path), error);
}
