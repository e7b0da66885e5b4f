// SPDX-License-Identifier: MIT
// Loaded into a manager in front of the system's library: the disk is full at the writing of that number, and
// at some more behind it.

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
long Number(const char *variable)
{
    const char *text = std::getenv(variable);
    return text ? std::strtol(text, nullptr, 10) : 0;
}

bool IsFull(int file)
{
    // Jobs inherit the environment.
    static const bool isManager = std::strcmp(program_invocation_short_name, "taskmill") == 0;
    static const long first = Number("TASKMILL_FULL_DISK_FIRST");
    static const long count = Number("TASKMILL_FULL_DISK_COUNT");
    static std::atomic<long> writings{0};
    struct stat status
    {
    };
    if (!isManager || file <= STDERR_FILENO || fstat(file, &status) != 0 || !S_ISREG(status.st_mode))
        return false;
    const long number = ++writings;
    if (number < first || number >= first + count)
        return false;
    errno = ENOSPC;
    return true;
}

template <typename Function>
Function *Next(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}
} // namespace

extern "C" {
ssize_t write(int file, const void *bytes, size_t size)
{
    static auto *const next = Next<decltype(write)>("write");
    return IsFull(file) ? -1 : next(file, bytes, size);
}

ssize_t pwrite64(int file, const void *bytes, size_t size, off64_t offset)
{
    static auto *const next = Next<decltype(pwrite64)>("pwrite64");
    return IsFull(file) ? -1 : next(file, bytes, size, offset);
}

ssize_t pwrite(int file, const void *bytes, size_t size, off_t offset)
{
    return pwrite64(file, bytes, size, offset);
}
}
