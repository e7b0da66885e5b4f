// SPDX-License-Identifier: MIT
#include "manager/outbox.h"

#include "db/database.h"
#include "db/databasemanager.h"
#include "jobs/jobrecord.h"
#include "kilnutil/logging.h"

#include <QDateTime>
#include <QEventLoop>

#include <algorithm>
#include <utility>
#include <vector>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {
using Milliseconds = std::chrono::milliseconds;

constexpr qint64 InMs(std::chrono::seconds time)
{
    return Milliseconds{time}.count();
}

/// The age is counted in whole seconds: the last try, when all the waits are over, is in time.
constexpr qint64 endOfLongestAge = InMs(Taskmill_Outbox::LongestAge + 1s);
/// Clocks are set now and then; what seems to have ended later than now has an age that nobody knows.
constexpr qint64 mostAhead = InMs(5s);
/// Between two tries of one address besides those that are due.
constexpr qint64 leastBetween = InMs(1s);
/// A disk that is full now may not be so later.
constexpr qint64 nextRemoval = InMs(5s);

qint64 AgeOf(const Taskmill_Notification &notification, qint64 nowMs)
{
    return nowMs - notification.EndMs;
}

Taskmill_WorkingCopyStore *OpenStore()
{
    Taskmill_Database *database = Taskmill_Database_Manager::Global().CurrentDatabase();
    return database && database->IsOpen() && database->WorkingCopy().Exists() ? &database->WorkingCopy()
                                                                              : nullptr;
}

void LogDropped(const Taskmill_Notification &notification, const QString &reason)
{
    qCWarning(Taskmill_ManagerLog, "The notification of job %d to %ls, port %d, is dropped: %ls",
              notification.JobID, qUtf16Printable(notification.Address), notification.Port,
              qUtf16Printable(reason));
}
} // namespace

Taskmill_Outbox::Taskmill_Outbox(Taskmill_Notifier &notifier, Clock clock)
    : m_notifier{notifier}
    , m_clock{clock ? std::move(clock) : Clock{QDateTime::currentMSecsSinceEpoch}}
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &Taskmill_Outbox::SendDueSlot);
}

Taskmill_Outbox::~Taskmill_Outbox()
{
    Stop();
}

bool Taskmill_Outbox::IsTooOld(const Taskmill_Notification &notification, qint64 nowMs)
{
    const qint64 age = AgeOf(notification, nowMs);
    return age >= endOfLongestAge || age < -mostAhead;
}

void Taskmill_Outbox::LogTooOld(const Taskmill_Notification &notification)
{
    LogDropped(notification, u"its job ended more than %1 s ago"_s.arg(LongestAge.count()));
}

template <typename Function>
void Taskmill_Outbox::ForEach(const Function &function)
{
    for (auto &[name, lane] : m_lanes)
        std::ranges::for_each(lane.entries, function);
}

qint64 Taskmill_Outbox::Append(Taskmill_Notification notification)
{
    Lane &lane = m_lanes[{notification.Address, notification.Port}];
    lane.entries.push_back({.number = ++m_lastNumber, .notification = std::move(notification)});
    const qint64 now = m_clock();
    if (lane.entries.size() == 1)
        lane.dueMs = now;
    else if (!lane.isSending && lane.failures > 0)
        lane.extraMs = qMax(now, lane.triedMs + leastBetween);
    StartTimer();
    return m_lastNumber;
}

qint64 Taskmill_Outbox::Add(const Taskmill_JobRecord &job)
{
    auto notification = m_hasStopped ? std::nullopt : Taskmill_NotificationOf(job);
    return notification ? Append(std::move(*notification)) : 0;
}

Taskmill_Outbox::Entry *Taskmill_Outbox::Find(qint64 number)
{
    Entry *found = nullptr;
    ForEach([&](Entry &entry) { found = entry.number == number ? &entry : found; });
    return found;
}

void Taskmill_Outbox::HoldForResult(qint64 number)
{
    Entry *entry = Find(number);
    if (!entry || !Taskmill_SaysResult(entry->notification.Message))
        return;
    entry->heldUntilMs = m_clock() + InMs(LongestHold);
    StartTimer();
}

bool Taskmill_Outbox::SetResult(qint64 number, const Taskmill_JobResult &result)
{
    Entry *entry = Find(number);
    // A notification that is on its way, or was given up, is not changed any more.
    if (!entry || entry->heldUntilMs == 0)
        return true;
    entry->heldUntilMs = 0;
    Taskmill_SetResult(entry->notification.Message, result);
    StartTimer();
    Taskmill_WorkingCopyStore *store = OpenStore();
    const qint64 key = entry->notification.Key;
    return !store || key == 0 || store->SetMessage(key, entry->notification.Message);
}

void Taskmill_Outbox::AddLeft(const QList<Taskmill_Notification> &notifications)
{
    for (Taskmill_Notification notification : notifications) {
        notification.Key = 0;
        (void)Store(Append(std::move(notification)));
    }
}

bool Taskmill_Outbox::Store(qint64 number)
{
    Taskmill_WorkingCopyStore *store = OpenStore();
    bool stored = true;
    ForEach([&](Entry &entry) {
        if (entry.number != number || !store)
            return;
        // A key is never used again: the row of one that was undone is not there.
        entry.notification.Key = ++m_lastKey;
        stored = store->AddNotification(entry.notification);
        if (!stored)
            entry.notification.Key = 0;
    });
    return stored;
}

void Taskmill_Outbox::Join()
{
    Taskmill_WorkingCopyStore *store = OpenStore();
    if (!store)
        return;
    const QList<Taskmill_Notification> left = store->Notifications();
    std::vector<qint64> carriedOver;
    ForEach([&](Entry &entry) { carriedOver.push_back(entry.number); });
    for (const Taskmill_Notification &notification : left) {
        m_lastKey = qMax(m_lastKey, notification.Key);
        Append(notification);
    }
    for (const qint64 number : carriedOver)
        (void)Store(number);
}

bool Taskmill_Outbox::IsAnyStored() const
{
    return std::ranges::any_of(m_lanes, [](const auto &lane) {
        return std::ranges::any_of(lane.second.entries,
                                   [](const Entry &entry) { return entry.notification.Key != 0; });
    });
}

void Taskmill_Outbox::KeepStored()
{
    m_rowsToRemove.clear();
    ForEach([](Entry &entry) { entry.notification.Key = 0; });
}

void Taskmill_Outbox::LeaveStored()
{
    m_rowsToRemove.clear();
    // Stored notifications may be on their way: that is given up, as the next manager sends them again.
    m_notifier.Abort();
    m_sending = 0;
    for (auto &[name, lane] : m_lanes) {
        std::erase_if(lane.entries, [](const Entry &entry) { return entry.notification.Key != 0; });
        lane.isSending = false;
        lane.failures = 0;
        lane.dueMs = m_clock();
    }
    std::erase_if(m_lanes, [](const auto &lane) { return lane.second.entries.empty(); });
}

void Taskmill_Outbox::Drain()
{
    if (m_hasStopped)
        return;
    if (!m_end)
        m_end.emplace(LongestEnd);
    const qint64 now = m_clock();
    ForEach([](Entry &entry) { entry.heldUntilMs = 0; });
    for (auto &[name, lane] : m_lanes) {
        if (!lane.isSending)
            lane.extraMs = now;
    }
    SendDueSlot();
    if (IsIdle() || m_end->hasExpired())
        return;
    QEventLoop loop;
    connect(this, &Taskmill_Outbox::IdleSignal, &loop, &QEventLoop::quit);
    QTimer::singleShot(static_cast<int>(m_end->remainingTime()), &loop, &QEventLoop::quit);
    loop.exec(QEventLoop::ExcludeUserInputEvents);
}

void Taskmill_Outbox::Stop()
{
    if (std::exchange(m_hasStopped, true))
        return;
    m_timer.stop();
    LeaveStored();
    ForEach([](const Entry &entry) { LogDropped(entry.notification, u"the manager ends"_s); });
    m_lanes.clear();
}

void Taskmill_Outbox::SendDueSlot()
{
    if (m_hasStopped)
        return;
    RemoveRows();
    RemoveOldOnes();
    const qint64 now = m_clock();
    std::vector<std::map<LaneName, Lane>::iterator> due;
    for (auto lane = m_lanes.begin(); lane != m_lanes.end(); ++lane) {
        if (!lane->second.isSending && lane->second.NextMs() <= now)
            due.push_back(lane);
    }
    // Addresses that failed the last time come last, so that they do not keep others waiting.
    std::ranges::stable_sort(due, {}, [](const auto &lane) {
        return std::pair{lane->second.failures, lane->second.NextMs()};
    });
    for (const auto &lane : due) {
        if (m_sending == MostAtOnce)
            break;
        Begin(lane->first, lane->second);
    }
    StartTimer();
    if (IsIdle())
        Q_EMIT IdleSignal();
}

void Taskmill_Outbox::Begin(const LaneName &name, Lane &lane)
{
    const qint64 now = m_clock();
    // A try besides the others counts only for those that were due.
    if (lane.dueMs <= now)
        ++lane.failures;
    lane.extraMs.reset();
    lane.triedMs = now;
    lane.isSending = true;
    lane.entries.front().heldUntilMs = 0;
    ++m_sending;
    const Taskmill_Notification &first = lane.entries.front().notification;
    const Milliseconds left{endOfLongestAge - AgeOf(first, now)};
    m_notifier.Send(first, left, [this, name](Taskmill_Notifier::Outcome outcome, const QString &reason) {
        TakeOutcome(name, outcome, reason);
    });
}

void Taskmill_Outbox::TakeOutcome(const LaneName &name, Taskmill_Notifier::Outcome outcome,
                                  const QString &reason)
{
    const auto found = m_lanes.find(name);
    if (found == m_lanes.end())
        return;
    Lane &lane = found->second;
    --m_sending;
    lane.isSending = false;
    switch (outcome) {
    case Taskmill_Notifier::Outcome::Delivered:
        RemoveFirst(lane);
        break;
    case Taskmill_Notifier::Outcome::Useless:
        DropFirst(lane, reason);
        break;
    case Taskmill_Notifier::Outcome::Failed:
        TakeFailure(lane, reason);
        break;
    }
    if (lane.entries.empty())
        m_lanes.erase(found);
    SendDueSlot();
}

void Taskmill_Outbox::TakeFailure(Lane &lane, const QString &reason)
{
    const auto failures = static_cast<std::size_t>(lane.failures);
    if (failures > RetryAfter.size()) {
        DropFirst(lane, u"%1 tries have failed, the last one with: %2"_s.arg(lane.failures).arg(reason));
        return;
    }
    // A try besides the regular ones does not move the time of the next regular one.
    if (lane.dueMs <= lane.triedMs)
        lane.dueMs = m_clock() + InMs(RetryAfter.at(failures - 1));
}

void Taskmill_Outbox::DropFirst(Lane &lane, const QString &reason)
{
    LogDropped(lane.entries.front().notification, reason);
    RemoveFirst(lane);
}

void Taskmill_Outbox::RemoveFirst(Lane &lane)
{
    if (const qint64 key = lane.entries.front().notification.Key; key != 0)
        m_rowsToRemove.append(key);
    lane.entries.pop_front();
    lane.failures = 0;
    lane.dueMs = m_clock();
}

void Taskmill_Outbox::RemoveOldOnes()
{
    const qint64 now = m_clock();
    for (auto &[name, lane] : m_lanes) {
        while (!lane.isSending && !lane.entries.empty() && IsTooOld(lane.entries.front().notification, now)) {
            LogTooOld(lane.entries.front().notification);
            RemoveFirst(lane);
        }
    }
    std::erase_if(m_lanes, [](const auto &lane) { return lane.second.entries.empty(); });
    RemoveRows();
}

void Taskmill_Outbox::RemoveRows()
{
    Taskmill_WorkingCopyStore *store = OpenStore();
    if (!store)
        m_rowsToRemove.clear();
    while (!m_rowsToRemove.isEmpty() && store->RemoveNotification(m_rowsToRemove.first()))
        m_rowsToRemove.removeFirst();
}

void Taskmill_Outbox::StartTimer()
{
    const qint64 now = m_clock();
    std::optional<qint64> next;
    const auto consider = [&next](qint64 time) {
        next = next ? qMin(*next, time) : time;
    };
    for (const auto &[name, lane] : m_lanes) {
        if (lane.isSending)
            continue;
        consider(lane.NextMs());
        consider(lane.entries.front().notification.EndMs + endOfLongestAge);
    }
    if (!m_rowsToRemove.isEmpty())
        consider(now + nextRemoval);
    // While the most allowed are being sent no timer is needed: the end of each sending calls this again.
    if (m_hasStopped || !next || m_sending == MostAtOnce)
        m_timer.stop();
    else
        m_timer.start(Milliseconds{qBound(qint64{0}, *next - now, InMs(RetryAfter.back()))});
}

bool Taskmill_Outbox::IsIdle() const
{
    const qint64 now = m_clock();
    return m_sending == 0 &&
           std::ranges::none_of(m_lanes, [now](const auto &lane) { return lane.second.NextMs() <= now; });
}
