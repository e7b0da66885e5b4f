// SPDX-License-Identifier: MIT
#pragma once

#include "manager/processkill.h"

#include <QObject>
#include <QStringList>
#include <QThread>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class Taskmill_ProcessThreadSide;

/// Lists and ends processes on a thread of its own, one thing after the other, for callers that must not
/// wait.
class Taskmill_ProcessWorker final : public QObject
{
    Q_OBJECT

public:
    /// The inspector outlives this. It is kept as long as the thread needs it when a std::shared_ptr has it.
    explicit Taskmill_ProcessWorker(Taskmill_ProcessInspector &inspector,
                                    std::chrono::milliseconds timeLimit = std::chrono::seconds{10});
    /// Waits until everything that was asked for is done; listings are given up where the system lets it.
    /// What takes longer than the time limit goes on without this, as long as the program lives.
    ~Taskmill_ProcessWorker() override;
    Q_DISABLE_COPY_MOVE(Taskmill_ProcessWorker)

    /// Lists the processes, or those whose program is one of these executables; ListedSignal() has them.
    void List(const std::optional<QStringList> &executables);
    void Kill(const Taskmill_ProcessRecord &process, Taskmill_Kill kill);

Q_SIGNALS:
    /// Emitted on the thread of this object.
    void ListedSignal(const QList<Taskmill_ProcessRecord> &processes);

private:
    void Run(const std::function<void()> &work);

    const std::chrono::milliseconds m_timeLimit;
    std::unique_ptr<QThread> m_thread;
    Taskmill_ProcessThreadSide *const m_threadSide; ///< deleted by the thread
};
