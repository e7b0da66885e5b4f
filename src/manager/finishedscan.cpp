// SPDX-License-Identifier: MIT
#include "manager/finishedscan.h"

#include "db/finishedjobreader.h"
#include "kilnutil/threadstart.h"

#include <QElapsedTimer>

#include <algorithm>
#include <atomic>
#include <limits>
#include <utility>

using namespace Qt::Literals::StringLiterals;

qint32 Taskmill_FinishedOrigins::Add(const Taskmill_JobRecord &job)
{
    // Only the newest origins are compared: job types are changed now and then.
    constexpr qsizetype mostCompared = 16;
    for (qsizetype place = m_origins.size(); place > 0 && m_origins.size() - place < mostCompared; --place) {
        const Origin &origin = m_origins[place - 1];
        if (origin.queueName == job.QueueName && origin.jobType == job.JobType)
            return static_cast<qint32>(place);
    }
    m_origins.append({job.QueueName, job.JobType});
    return static_cast<qint32>(m_origins.size());
}

void Taskmill_FinishedOrigins::Restore(Taskmill_JobRecord &job, qint32 origin) const
{
    if (origin <= 0 || origin > m_origins.size())
        return;
    job.QueueName = m_origins[origin - 1].queueName;
    job.JobType = m_origins[origin - 1].jobType;
}

/// Used by one thread after the other.
class Taskmill_FinishedScan::Reading
{
public:
    Reading(Task task, std::shared_ptr<Work> work)
        : m_task{std::move(task)}
        , m_work{std::move(work)}
    {
        // As a rule they are in this order already.
        if (!std::ranges::is_sorted(m_task.Entries, {}, &Taskmill_FinishedEntry::Key))
            SortByKey();
        for (qsizetype place = 0; place < m_task.Entries.size() && !m_task.Held.isEmpty(); ++place) {
            const auto held = m_task.Held.constFind(m_task.Entries[place].Key);
            if (held != m_task.Held.constEnd())
                Give(place, *held);
        }
    }

    [[nodiscard]] bool OpenOwn() const { return m_task.Reader->OpenOwn(); }
    void Cancel() { m_isCancelled = true; }
    [[nodiscard]] bool IsCancelled() const { return m_isCancelled; }

    /// Reads some of the jobs; false when there are no more.
    bool Read()
    {
        constexpr int rowsAtOnce = 2000;
        if (m_isCancelled)
            m_task.Reader.reset();
        if (!m_task.Reader)
            return false;
        const auto last =
            m_task.Reader->Read(m_behind, rowsAtOnce, [this](qint64 key, const Taskmill_JobRecord &job) {
                const QList<Taskmill_FinishedEntry> &entries = m_task.Entries;
                while (m_place < entries.size() && entries[m_place].Key < key)
                    ++m_place;
                if (m_place == entries.size() || entries[m_place].Key != key)
                    return;
                Taskmill_JobRecord restored = job;
                m_task.Origins.Restore(restored, entries[m_place].Origin);
                Give(m_place, restored);
            });
        m_behind = last.value_or(m_behind);
        if (!last || m_place == m_task.Entries.size())
            m_task.Reader.reset();
        return m_task.Reader != nullptr;
    }

    void Finish()
    {
        if (!m_isCancelled)
            m_work->Finish();
    }

private:
    void SortByKey()
    {
        QList<qsizetype> places(m_task.Entries.size());
        for (qsizetype place = 0; place < places.size(); ++place)
            places[place] = place;
        std::ranges::sort(places, {}, [this](qsizetype place) { return m_task.Entries[place].Key; });
        QList<Taskmill_FinishedEntry> sorted;
        for (const qsizetype place : std::as_const(places))
            sorted.append(m_task.Entries[place]);
        m_task.Entries = sorted;
        m_positions = places;
    }

    void Give(qsizetype place, const Taskmill_JobRecord &job)
    {
        m_work->Take(m_positions.isEmpty() ? place : m_positions[place], job);
    }

    Task m_task;
    const std::shared_ptr<Work> m_work;
    QList<qsizetype> m_positions; ///< of the entries, where these are not in the order of the list
    qint64 m_behind = std::numeric_limits<qint64>::min();
    qsizetype m_place = 0;
    std::atomic_bool m_isCancelled = false;
};

Taskmill_FinishedScan::~Taskmill_FinishedScan()
{
    Stop();
}

void Taskmill_FinishedScan::Begin(Task task, const std::shared_ptr<Work> &work, Done done)
{
    Cancel();
    m_reading = std::make_shared<Reading>(std::move(task), work);
    m_done = std::move(done);
    // A thread that still ends a cancelled reading begins this one when it is done.
    if (!m_thread)
        Start();
}

void Taskmill_FinishedScan::Start()
{
    if (m_reading->OpenOwn()) {
        StartThread();
        return;
    }
    disconnect(&m_steps, nullptr, this, nullptr);
    connect(&m_steps, &QTimer::timeout, this, &Taskmill_FinishedScan::StepSlot);
    m_steps.start(0);
}

void Taskmill_FinishedScan::StepSlot()
{
    constexpr qint64 longestStepMs = 10;
    QElapsedTimer time;
    time.start();
    while (time.elapsed() < longestStepMs) {
        if (m_reading->Read())
            continue;
        m_steps.stop();
        StartThread();
        return;
    }
}

void Taskmill_FinishedScan::StartThread()
{
    const auto read = [this, reading = m_reading] {
        while (reading->Read()) {
        }
        reading->Finish();
        QMetaObject::invokeMethod(
            this, [this, reading] { TakeResult(reading); }, Qt::QueuedConnection);
    };
    m_running = m_reading;
    m_thread.reset(QThread::create(read));
    m_thread->setObjectName(u"history"_s);
    KilnUtil_StartThread(*m_thread);
}

void Taskmill_FinishedScan::TakeResult(const std::shared_ptr<Reading> &reading)
{
    if (reading != m_running)
        return;
    EndThread();
    if (reading == m_reading) {
        m_reading.reset();
        std::exchange(m_done, {})();
    } else if (m_reading) {
        Start();
    }
}

void Taskmill_FinishedScan::Cancel()
{
    if (m_reading)
        m_reading->Cancel();
    m_steps.stop();
    m_reading.reset();
    m_done = {};
}

void Taskmill_FinishedScan::Stop()
{
    Cancel();
    EndThread();
}

void Taskmill_FinishedScan::EndThread()
{
    if (m_thread)
        m_thread->wait();
    m_thread.reset();
    m_running.reset();
}
