// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QThread>

#include <condition_variable>
#include <memory>
#include <mutex>

struct sqlite3;

/// Brings what is committed to a database file in write-ahead mode onto the disk, on a thread of its own, so
/// that no commit waits for the disk: a loss of power costs the last second at worst. Nothing wakes up while
/// nothing changes.
class Taskmill_Checkpointer
{
public:
    /// The file is there and stays open elsewhere as long as this lives.
    explicit Taskmill_Checkpointer(const QString &path);
    /// Waits for the end of what the thread is at.
    ~Taskmill_Checkpointer();
    Q_DISABLE_COPY_MOVE(Taskmill_Checkpointer)

    /// Something was committed.
    void NoteChange();
    /// The number of the last one.
    [[nodiscard]] qint64 LastChange() const;
    /// Whether everything that was committed until the change of that number is on the disk.
    [[nodiscard]] bool IsStored(qint64 change) const;
    /// Whoever writes holds this from the beginning of a transaction to its end: a transaction that has read
    /// something cannot wait for the lock of the database, and would be refused while the log is shortened.
    [[nodiscard]] std::unique_lock<std::mutex> HoldLog() { return std::unique_lock{m_logMutex}; }

private:
    void Run();
    /// The number of the change to which everything is to be stored; 0 when it is time to end.
    qint64 WaitForChanges();
    /// Whether all of it is on the disk now.
    bool Store(sqlite3 *database);
    /// Whether nothing is committed for a while; waits for that, or for a commit.
    bool IsPause();
    /// Gives the disk back what a long log takes, unless somebody writes.
    void ShortenLog(sqlite3 *database);

    const QString m_path;
    std::mutex m_logMutex;
    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    qint64 m_lastChange = 0;
    qint64 m_stored = 0;      ///< the last change of which it is known
    qint64 m_tried = 0;       ///< the last one that it was tried for
    bool m_isLogLong = false; ///< used by the thread only, as the next
    bool m_isFailureLogged = false;
    bool m_ends = false;
    std::unique_ptr<QThread> m_thread;
};
