// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

/// A lock on a small file, which the system holds for this process alone and gives up when the process ends
/// in whatever way: no lock is ever left over. The file may hold a note for those who do not get it.
class KilnUtil_FileLock
{
public:
    enum class State
    {
        Held,
        HeldElsewhere,
        Failed ///< the file cannot be made, is a link or somebody else's, or its file system has no locks
    };

    /// Tries to take the lock, without waiting; the file, which nobody else may read, is made when it is
    /// missing.
    explicit KilnUtil_FileLock(const QString &path);
    /// Gives the lock up; the file stays.
    ~KilnUtil_FileLock();
    Q_DISABLE_COPY_MOVE(KilnUtil_FileLock)

    [[nodiscard]] State TakenState() const { return m_state; }
    [[nodiscard]] bool IsHeld() const { return m_state == State::Held; }

    /// Replaces the note. The lock must be held.
    bool WriteNote(const QByteArray &note) const;
    /// The note of that file, whoever has the lock; empty when there is none.
    [[nodiscard]] static QByteArray Note(const QString &path);

    /// Removes the file, and gives the lock up with it.
    void Remove();

private:
    void Take();
    void Release();

    const QString m_path;
    State m_state = State::Failed;
    qintptr m_file = -1; ///< of the system
};
