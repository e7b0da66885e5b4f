// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

#include <chrono>
#include <functional>
#include <memory>

class QThread;

/// Looks at files on a thread of its own, for a window that must not wait: a drive may take its time, or not
/// answer at all. Of what waits only the newest is done.
class KilnUtil_FileThread final : public QObject
{
    Q_OBJECT

public:
    /// Reads on the thread and returns what is to be done with it on the thread of this object.
    using Deliver = std::function<void()>;
    using Read = std::function<Deliver()>;

    explicit KilnUtil_FileThread(QObject *parent);
    /// Does not wait for a drive that does not answer: what reads goes on alone and delivers nothing.
    ~KilnUtil_FileThread() override;
    Q_DISABLE_COPY_MOVE(KilnUtil_FileThread)

    /// Nothing that was asked for before is delivered any more. `read` must not use what may be gone when it
    /// runs.
    void Run(const Read &read);
    /// As a rule files can be looked at within that time, which an event loop can spare.
    static constexpr std::chrono::milliseconds ShortWait{8};
    /// Waits for what was asked for and delivers it, but waits no longer than that.
    void Wait(std::chrono::milliseconds longest = ShortWait);
    /// Nothing is delivered any more.
    void Forget();
    /// The same, and what reads goes on alone: the next question has a thread of its own.
    void LeaveAlone();
    /// Whether something that was asked for is still to be delivered.
    [[nodiscard]] bool IsBusy() const { return m_isBusy; }

private:
    struct Shared;

    void Start();
    void LetGo(std::chrono::milliseconds longestWait);

    std::shared_ptr<Shared> m_shared; ///< with the thread; null until it is first needed
    std::unique_ptr<QThread> m_thread;
    qint64 m_number = 0; ///< of what was asked for last
    bool m_isBusy = false;
};
