// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QObject>
#include <QPointer>

class KilnUtil_Process;
class Taskmill_Job;

/// Hands out what a running job writes, piece by piece, and keeps what it wrote last until that is taken. To
/// be used where the job lives, but for deleteLater().
class Taskmill_OutputFollower final : public QObject
{
public:
    /// Begins with the last `most` bytes of what the job has written already.
    Taskmill_OutputFollower(const Taskmill_Job &job, qint64 most);

    /// What was written since the last time, as far as the process has not dropped it.
    [[nodiscard]] QByteArray Take();
    [[nodiscard]] bool HasEnded() const;

private:
    QPointer<KilnUtil_Process> m_process;
    qint64 m_offset = 0; ///< in the output of the process
    QByteArray m_last;
    bool m_hasEnded = false;
};
