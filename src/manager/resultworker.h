// SPDX-License-Identifier: MIT
#pragma once

#include "manager/followedoutput.h"

#include <QList>
#include <QObject>
#include <QThread>

#include <chrono>
#include <functional>
#include <memory>

class Taskmill_ResultMailbox;
class Taskmill_ResultThreadSide;

/// What was read of an output.
struct Taskmill_ResultReport
{
    qint64 Number = 0;
    Taskmill_ResultState State;
    bool IsComplete = false; ///< nothing more follows
};

/// Reads outputs on a thread of its own, by numbers that the caller gives them: some of each in turn, so that
/// a long one keeps none of the others waiting. A drive that does not answer does.
class Taskmill_ResultWorker final : public QObject
{
    Q_OBJECT

public:
    explicit Taskmill_ResultWorker(std::chrono::milliseconds interval,
                                   std::chrono::milliseconds timeLimit = std::chrono::seconds{5});
    /// What is being read is given up. Where the system does not answer for longer than the time limit, the
    /// thread goes on without this, as long as the program lives.
    ~Taskmill_ResultWorker() override;
    Q_DISABLE_COPY_MOVE(Taskmill_ResultWorker)

    /// Begins with an output; the files are looked at now, and read an interval later.
    void Follow(qint64 number, const Taskmill_OutputFiles &files);
    /// Does something with an output that is followed, and looks at it at once when `looksAtOnce` says so.
    using Change = std::function<void(Taskmill_FollowedOutput &output)>;
    void Alter(qint64 number, const Change &change, bool looksAtOnce = false);
    void Drop(qint64 number);

    /// What has come since the last call.
    [[nodiscard]] QList<Taskmill_ResultReport> TakeReports();
    /// Waits until something has come.
    void WaitForReports(std::chrono::milliseconds longest);

Q_SIGNALS:
    /// On the thread of this object: TakeReports() has something.
    void ReportsSignal();

private:
    template <typename Function>
    void Run(const Function &function);

    const std::chrono::milliseconds m_timeLimit;
    const std::shared_ptr<Taskmill_ResultMailbox> m_mailbox;
    std::unique_ptr<QThread> m_thread;
    Taskmill_ResultThreadSide *const m_threadSide; ///< deleted by the thread
};
