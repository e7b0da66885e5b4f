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

private:
    void Run();
    /// False when it is time to end.
    bool WaitForChanges();

    const QString m_path;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_isChanged = false;
    bool m_ends = false;
    std::unique_ptr<QThread> m_thread;
};
