// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Replaces a file as a whole and brings it onto the disk, its name too. False when that cannot be: what was
/// there is left then.
[[nodiscard]] bool Taskmill_WriteDurably(const std::string &path, std::string_view content);

/// The whole file, at most so many bytes of it from an offset on; none when it is not there or cannot be
/// read.
[[nodiscard]] std::optional<std::string> Taskmill_ReadFile(const std::string &path, std::size_t most,
                                                           long long offset = 0);

/// Makes a folder of this user alone, and brings its name onto the disk. False when there is something else
/// of that name, or a folder of somebody else. `isNew` says whether it was not there.
[[nodiscard]] bool Taskmill_MakeOwnFolder(const std::string &path, bool &isNew);

/// Held until the end of this object, or of the process.
class Taskmill_FileLock
{
public:
    /// Opens the file, made when it is missing, and does not wait.
    explicit Taskmill_FileLock(const std::string &path);
    ~Taskmill_FileLock();
    Taskmill_FileLock(const Taskmill_FileLock &) = delete;
    Taskmill_FileLock &operator=(const Taskmill_FileLock &) = delete;

    /// Also where the file system has no locks: nothing is to be done about it there.
    [[nodiscard]] bool IsHeld() const { return m_isHeld; }
    /// Seconds since 1970 in ms of the last Stamp() of anybody; 0 when nothing is known.
    [[nodiscard]] long long StampMs() const;
    void Stamp() const;

private:
    int m_file;
    bool m_isHeld = false;
};

/// Ms since 1970.
[[nodiscard]] long long Taskmill_NowMs();
