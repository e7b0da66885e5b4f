// SPDX-License-Identifier: MIT
#include "wire/runlocks.h"

#include "wire/runrecord.h"

#include <cerrno>
#include <ctime>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {
/// For a lock of an open file, not of a process: it ends with the last copy of the descriptor. A length of 0
/// stands for the whole file.
struct flock LockOf(off_t offset, off_t length)
{
    struct flock lock
    {
    };
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = offset;
    lock.l_len = length;
    return lock;
}

bool IsLockedByOther(const std::string &path, off_t offset, off_t length)
{
    const int file = open(path.c_str(), O_RDWR | O_CLOEXEC);
    // In doubt it is: what is taken for lost is ended, or started again.
    if (file < 0)
        return errno != ENOENT;
    struct flock lock = LockOf(offset, length);
    const bool isLocked = fcntl(file, F_OFD_GETLK, &lock) != 0 || lock.l_type != F_UNLCK;
    close(file);
    return isLocked;
}
} // namespace

bool Taskmill_IsKeeperAlive(const std::string &runFolder, std::string_view runID)
{
    return IsLockedByOther(runFolder + "/living", Taskmill_RunLockOffset(runID), 1);
}

Taskmill_RunLock::Taskmill_RunLock(const std::string &runFolder, std::string_view runID)
    : m_file{open((runFolder + "/living").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR)}
    , m_isHeld{false}
{
    struct flock lock = LockOf(Taskmill_RunLockOffset(runID), 1);
    m_isHeld = m_file >= 0 && fcntl(Get(), F_OFD_SETLK, &lock) == 0;
}

Taskmill_RunLock::~Taskmill_RunLock()
{
    if (m_file >= 0)
        close(static_cast<int>(m_file));
}

bool Taskmill_IsJournalInUse(const std::string &journal)
{
    return IsLockedByOther(journal, 0, 0);
}

bool Taskmill_AppendToJournal(const std::string &journal, const std::string &line)
{
    const int file = open(journal.c_str(), O_RDWR | O_APPEND | O_CLOEXEC);
    if (file < 0)
        return false;
    const off_t size = lseek(file, 0, SEEK_END);
    char last = '\n';
    const bool isTorn = size > 0 && (pread(file, &last, 1, size - 1) != 1 || last != '\n');
    const std::string text = isTorn ? '\n' + line : line;
    const bool isWritten = write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    return close(file) == 0 && isWritten;
}

Taskmill_ClaimLock::Taskmill_ClaimLock(const std::string &runFolder, int waitMs)
    : m_file{open((runFolder + "/claims").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR)}
    , m_isHeld{false}
{
    constexpr timespec pause{.tv_sec = 0, .tv_nsec = 1'000'000};
    // A pause takes at least its time.
    for (int waitedMs = 0; m_file >= 0; ++waitedMs) {
        m_isHeld = flock(static_cast<int>(m_file), LOCK_EX | LOCK_NB) == 0;
        if (m_isHeld || waitedMs >= waitMs)
            break;
        nanosleep(&pause, nullptr);
    }
}

Taskmill_ClaimLock::~Taskmill_ClaimLock()
{
    if (m_file >= 0)
        close(static_cast<int>(m_file));
}
