// SPDX-License-Identifier: MIT
#include "slurm/durablefile.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <ctime>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr mode_t ownerOnly = 0600;
constexpr mode_t ownFolder = 0700;
constexpr long long msInSecond = 1000;
constexpr long nsInMs = 1'000'000;

bool IsStored(int file)
{
    return fsync(file) == 0 || errno == EINVAL;
}

bool StoreNamesIn(const std::string &folder)
{
    const int file = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const bool isStored = file >= 0 && IsStored(file);
    if (file >= 0)
        close(file);
    return isStored;
}

std::string FolderAbove(const std::string &path)
{
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

bool WriteAll(int file, std::string_view content)
{
    while (!content.empty()) {
        const ssize_t count = write(file, content.data(), content.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        content.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}
} // namespace

bool Taskmill_WriteDurably(const std::string &path, std::string_view content)
{
    const std::string written = path + ".new";
    const int file = open(written.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, ownerOnly);
    if (file < 0)
        return false;
    bool isWritten = WriteAll(file, content) && IsStored(file);
    isWritten = close(file) == 0 && isWritten;
    if (isWritten && std::rename(written.c_str(), path.c_str()) == 0)
        return StoreNamesIn(FolderAbove(path));
    unlink(written.c_str());
    return false;
}

std::optional<std::string> Taskmill_ReadFile(const std::string &path, std::size_t most, long long offset)
{
    const int file = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (file < 0)
        return std::nullopt;
    std::string text;
    std::array<char, 65536> piece;
    while (text.size() < most) {
        const ssize_t count = pread(file, piece.data(), std::min(piece.size(), most - text.size()),
                                    static_cast<off_t>(offset + static_cast<long long>(text.size())));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        text.append(piece.data(), static_cast<std::size_t>(count));
    }
    close(file);
    return text;
}

bool Taskmill_MakeOwnFolder(const std::string &path, bool &isNew)
{
    isNew = mkdir(path.c_str(), ownFolder) == 0;
    if (isNew)
        return StoreNamesIn(FolderAbove(path));
    struct stat status
    {
    };
    return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == geteuid();
}

Taskmill_FileLock::Taskmill_FileLock(const std::string &path)
    : m_file{open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, ownerOnly)}
{
    if (m_file >= 0)
        m_isHeld = flock(m_file, LOCK_EX | LOCK_NB) == 0 || errno == ENOLCK || errno == ENOSYS ||
                   errno == EOPNOTSUPP;
}

Taskmill_FileLock::~Taskmill_FileLock()
{
    if (m_file >= 0)
        close(m_file);
}

long long Taskmill_FileLock::StampMs() const
{
    std::array<char, 32> text{};
    if (m_file < 0 || pread(m_file, text.data(), text.size() - 1, 0) <= 0)
        return 0;
    long long stamp = 0;
    return std::sscanf(text.data(), "%lld.", &stamp) == 1 ? stamp : 0;
}

void Taskmill_FileLock::Stamp() const
{
    const std::string text = std::to_string(Taskmill_NowMs()) + ".\n";
    static_cast<void>(!pwrite(m_file, text.data(), text.size(), 0));
}

long long Taskmill_NowMs()
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec * msInSecond + now.tv_nsec / nsInMs;
}
