// SPDX-License-Identifier: MIT
#include "ctl/readfile.h"

#include "ctl/output.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <memory>
#include <system_error>

namespace {
bool Fail(const std::string &text)
{
    Taskmill_PrintError(text);
    return false;
}
} // namespace

bool Taskmill_ReadFile(const std::string &utf8Path, const std::function<void(std::string_view)> &take)
{
    const std::filesystem::path path{std::u8string{utf8Path.begin(), utf8Path.end()}};
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (status.type() == std::filesystem::file_type::not_found)
        return Fail("the file does not exist: " + utf8Path);
    // Opening one succeeds on some systems.
    if (std::filesystem::is_directory(status))
        return Fail("this is a directory, not a file: " + utf8Path);
    std::filebuf file;
    // The pieces are large, so that a second buffer would only cost time.
    file.pubsetbuf(nullptr, 0);
    if (!file.open(path, std::ios::in | std::ios::binary))
        return Fail("the file is not readable: " + utf8Path);
    constexpr std::size_t pieceSize = 262'144;
    const auto piece = std::make_unique<std::array<char, pieceSize>>();
    try {
        for (;;) {
            const std::streamsize size = file.sgetn(piece->data(), pieceSize);
            if (size <= 0)
                return true;
            take({piece->data(), static_cast<std::size_t>(size)});
        }
    } catch (const std::ios_base::failure &) {
        // The standard library's way to say that reading failed half-way.
        return Fail("the file cannot be read to its end: " + utf8Path);
    }
}
