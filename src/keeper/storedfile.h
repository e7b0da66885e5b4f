// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// A file that a keeper writes, at any place.
class Taskmill_StoredFile
{
public:
    Taskmill_StoredFile() = default;
    ~Taskmill_StoredFile();
    Taskmill_StoredFile(const Taskmill_StoredFile &) = delete;
    Taskmill_StoredFile &operator=(const Taskmill_StoredFile &) = delete;

    /// Makes it, empty, for this user alone, unless it is open. False when that fails.
    bool Open(const std::string &path);
    /// How many of the bytes are in the file now: 0 when there is no room.
    std::size_t WriteAt(long long place, std::string_view bytes);
    void Truncate(long long size);
    /// Why the last of these has failed.
    [[nodiscard]] std::string ErrorText() const;

private:
    static constexpr std::intptr_t noFile = -1;
    std::intptr_t m_file = noFile;
    int m_error = 0;
};
