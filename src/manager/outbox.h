// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobnotification.h"
#include "manager/notifier.h"

#include <QDeadlineTimer>
#include <QObject>
#include <QTimer>

#include <array>
#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <optional>

struct Taskmill_JobRecord;
struct Taskmill_JobResult;

/// The notifications of ended jobs, until each is delivered or given up. The open project's working copy
/// holds them too, so that the next manager sends what this one cannot; without one they are in memory only.
///
/// Those for one address are sent in order. One that is refused, or not taken in time, is tried again some
/// times, and in any case when the next one for its address comes: its client may be there again. None is
/// sent when its job ended too long ago, as the port may belong to another program by then.
class Taskmill_Outbox final : public QObject
{
    Q_OBJECT

public:
    /// In ms since 1970.
    using Clock = std::function<qint64()>;

    static constexpr int MostAtOnce = 8;
    static constexpr std::array<std::chrono::seconds, 4> RetryAfter{
        std::chrono::seconds{1}, std::chrono::seconds{5}, std::chrono::seconds{30},
        std::chrono::seconds{120}};
    /// The sum of these.
    static constexpr std::chrono::seconds LongestAge{156};
    /// A notification waits no longer for the result that it is to say.
    static constexpr std::chrono::seconds LongestHold{10};
    /// Quitting waits no longer for all of them.
    static constexpr std::chrono::seconds LongestEnd{3};

    /// The notifier outlives it. A test has a clock of its own, and calls SendDueSlot() when it has set it.
    explicit Taskmill_Outbox(Taskmill_Notifier &notifier, Clock clock = {});
    ~Taskmill_Outbox() override;

    [[nodiscard]] static bool IsTooOld(const Taskmill_Notification &notification, qint64 nowMs);

    static void LogTooOld(const Taskmill_Notification &notification);

    /// Takes the notification of a job that has ended; it is sent from the event loop. Its number for
    /// Store(); 0 when the job's client does not want one.
    qint64 Add(const Taskmill_JobRecord &job);
    /// The result of that job will be known a little later: its notification waits for it, when its client
    /// asked for it.
    void HoldForResult(qint64 number);
    /// The result that was waited for is known, or will never be: the notification waits no longer. Belongs
    /// to a transaction, as Store().
    [[nodiscard]] bool SetResult(qint64 number, const Taskmill_JobResult &result);
    /// Takes the notifications that other managers have left, and stores them.
    void AddLeft(const QList<Taskmill_Notification> &notifications);
    /// Writes one to the open working copy, as part of the transaction that is under way; nothing for one
    /// that has been delivered. False when it cannot be written.
    [[nodiscard]] bool Store(qint64 number);

    /// The working copy of a project was begun or taken up: takes what it holds, and stores there what an
    /// earlier project's held.
    void Join();
    /// Whether the open working copy, which is about to be closed, holds any that is not delivered.
    [[nodiscard]] bool IsAnyStored() const;
    /// The working copy is being closed, and is removed: what it holds is in memory only.
    void KeepStored();
    /// The same, but it stays, for the next manager.
    void LeaveStored();

    /// The manager is about to end.
    void SetEnding() { m_isEnding = true; }
    [[nodiscard]] bool IsEnding() const { return m_isEnding; }
    /// Sends once more what waits and returns when nothing is on its way any more, after LongestEnd in all at
    /// the latest. Events but the user's are handled meanwhile.
    void Drain();
    /// Nothing is sent from now on. What is in no working copy is dropped.
    void Stop();

public Q_SLOTS:
    /// Begins to send what is due, and drops what is too old.
    void SendDueSlot();

Q_SIGNALS:
    /// Nothing is on its way, and nothing due.
    void IdleSignal();

private:
    struct Entry
    {
        qint64 number = 0;
        Taskmill_Notification notification;
        qint64 heldUntilMs = 0; ///< for a result
    };
    /// Those for one address. All but the first wait.
    struct Lane
    {
        std::deque<Entry> entries;
        bool isSending = false;
        int failures = 0;              ///< of the first
        qint64 dueMs = 0;              ///< the first is to be tried
        std::optional<qint64> extraMs; ///< and besides
        qint64 triedMs = 0;            ///< the last time
        [[nodiscard]] qint64 NextMs() const
        {
            return qMax(entries.front().heldUntilMs, extraMs ? qMin(*extraMs, dueMs) : dueMs);
        }
    };
    using LaneName = std::pair<QString, int>;

    qint64 Append(Taskmill_Notification notification);
    void Begin(const LaneName &name, Lane &lane);
    void TakeOutcome(const LaneName &name, Taskmill_Notifier::Outcome outcome, const QString &reason);
    void TakeFailure(Lane &lane, const QString &reason);
    void DropFirst(Lane &lane, const QString &reason);
    void RemoveFirst(Lane &lane);
    void RemoveOldOnes();
    void RemoveRows();
    void StartTimer();
    [[nodiscard]] bool IsIdle() const;
    [[nodiscard]] Entry *Find(qint64 number);
    template <typename Function>
    void ForEach(const Function &function);

    Taskmill_Notifier &m_notifier;
    const Clock m_clock;
    QTimer m_timer;
    std::map<LaneName, Lane> m_lanes; ///< none is empty
    QList<qint64> m_rowsToRemove;     ///< keys of what is delivered or dropped
    qint64 m_lastNumber = 0;
    qint64 m_lastKey = 0;
    int m_sending = 0;
    bool m_isEnding = false;
    bool m_hasStopped = false;
    std::optional<QDeadlineTimer> m_end;
};
