// SPDX-License-Identifier: MIT
#include "kilnutil/filelock.h"

#include <QFile>

#include <array>
#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr std::size_t longestNote = 8192;

bool IsSameFile(int file, const QByteArray &path)
{
    struct stat opened
    {
    };
    struct stat named
    {
    };
    return fstat(file, &opened) == 0 && lstat(path.constData(), &named) == 0 &&
           opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

bool IsOwnFile(int file)
{
    struct stat status
    {
    };
    return fstat(file, &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == geteuid();
}
} // namespace

void KilnUtil_FileLock::Take()
{
    const QByteArray path = QFile::encodeName(m_path);
    // Whoever had the lock may have removed the file between opening and locking it here.
    for (int attempt = 0; attempt < 100; ++attempt) {
        const int file =
            open(path.constData(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, S_IRUSR | S_IWUSR);
        if (file < 0)
            return;
        m_file = file;
        if (!IsOwnFile(file))
            break;
        if (flock(file, LOCK_EX | LOCK_NB) != 0) {
            m_state = errno == EWOULDBLOCK ? State::HeldElsewhere : State::Failed;
            break;
        }
        if (IsSameFile(file, path)) {
            m_state = State::Held;
            return;
        }
        Release();
    }
    const State state = m_state;
    Release();
    m_state = state;
}

void KilnUtil_FileLock::Release()
{
    if (m_file >= 0)
        close(static_cast<int>(m_file));
    m_file = -1;
    m_state = State::Failed;
}

bool KilnUtil_FileLock::WriteNote(const QByteArray &note) const
{
    const int file = static_cast<int>(m_file);
    const auto size = static_cast<std::size_t>(note.size());
    return IsHeld() && pwrite(file, note.constData(), size, 0) == note.size() &&
           ftruncate(file, note.size()) == 0;
}

QByteArray KilnUtil_FileLock::Note(const QString &path)
{
    const int file =
        open(QFile::encodeName(path).constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (file < 0)
        return {};
    std::array<char, longestNote> note{};
    const ssize_t count = IsOwnFile(file) ? read(file, note.data(), note.size()) : -1;
    close(file);
    return count > 0 ? QByteArray{note.data(), count} : QByteArray{};
}

void KilnUtil_FileLock::Remove()
{
    // While the lock is held, so that nobody takes a file that is about to go.
    if (IsHeld())
        unlink(QFile::encodeName(m_path).constData());
    Release();
}
