// SPDX-License-Identifier: MIT
#include "wire/privatefile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

namespace {
constexpr mode_t ownerOnly = S_IRUSR | S_IWUSR;
constexpr mode_t everybodyElse = S_IRWXG | S_IRWXO;

bool IsPrivate(int file)
{
    struct stat status
    {
    };
    return fstat(file, &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == geteuid() &&
           (status.st_mode & everybodyElse) == 0;
}

/// Short enough to be written at once.
bool WriteNew(const std::string &path, std::string_view text)
{
    unlink(path.c_str());
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, ownerOnly);
    if (file < 0)
        return false;
    const bool isWritten = fchmod(file, ownerOnly) == 0 &&
                           write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    return close(file) == 0 && isWritten;
}
} // namespace

bool Taskmill_WritePrivateFile(const std::string &path, std::string_view text)
{
    const std::string written = path + ".new";
    if (WriteNew(written, text) && std::rename(written.c_str(), path.c_str()) == 0)
        return true;
    unlink(written.c_str());
    return false;
}

std::string Taskmill_ReadPrivateFile(const std::string &path, std::size_t most)
{
    // A pipe in its place would keep the program waiting.
    const int file = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (file < 0)
        return {};
    std::string text(most + 1, '\0');
    const ssize_t size = IsPrivate(file) ? read(file, text.data(), text.size()) : -1;
    close(file);
    if (size < 0 || static_cast<std::size_t>(size) > most)
        return {};
    text.resize(static_cast<std::size_t>(size));
    return text;
}

void Taskmill_RemovePrivateFile(const std::string &path, std::string_view text)
{
    if (!path.empty() && Taskmill_ReadPrivateFile(path, text.size()) == text)
        unlink(path.c_str());
}
