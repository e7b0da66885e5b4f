// SPDX-License-Identifier: MIT
#include "manager/finishedranking.h"

#include "db/finishedjobreader.h"
#include "manager/listings.h"
#include "manager/sortvalues.h"
#include "manager/timetext.h"

#include <QElapsedTimer>

#include <algorithm>
#include <atomic>
#include <limits>
#include <utility>

using namespace Qt::Literals::StringLiterals;

qint32 Taskmill_FinishedOrigins::Add(const Taskmill_JobRecord &job)
{
    // Those of the last jobs: job types are changed now and then.
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
class Taskmill_FinishedRanking::Work
{
public:
    explicit Work(Task task)
        : m_task{std::move(task)}
        , m_time{Taskmill_Listings::FinishedJobs().TimeOf(m_task.Column)}
        , m_values{m_task.Entries.size()}
    {
        // As a rule they are in this order already.
        if (!std::ranges::is_sorted(m_task.Entries, {}, &Taskmill_FinishedEntry::Key))
            SortByKey();
        for (qsizetype place = 0; place < m_task.Entries.size() && !m_task.Held.isEmpty(); ++place) {
            const auto held = m_task.Held.constFind(m_task.Entries[place].Key);
            if (held != m_task.Held.constEnd())
                Set(place, *held);
        }
    }

    [[nodiscard]] bool OpenOwn() { return m_task.Reader->OpenOwn(); }
    void Cancel() { m_isCancelled = true; }
    [[nodiscard]] bool IsCancelled() const { return m_isCancelled; }

    /// Reads some of the values; false when there are no more.
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
                Set(m_place, restored);
            });
        m_behind = last.value_or(m_behind);
        if (!last || m_place == m_task.Entries.size())
            m_task.Reader.reset();
        return m_task.Reader != nullptr;
    }

    void Rank()
    {
        if (!m_isCancelled)
            m_ranks = m_values.Ranks();
    }
    [[nodiscard]] const QList<quint32> &Ranks() const { return m_ranks; }

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
        m_rows = places;
    }

    void Set(qsizetype place, const Taskmill_JobRecord &job)
    {
        const qsizetype row = m_rows.isEmpty() ? place : m_rows[place];
        if (m_time)
            m_values.SetNumber(row, Taskmill_TimeTextOrder(job.*m_time));
        else
            m_values.SetText(row, Taskmill_Listings::FinishedJobs().Text(job, m_task.Column));
    }

    Task m_task;
    Taskmill_JobTime Taskmill_JobRecord::*const m_time;
    QList<qsizetype> m_rows; ///< of the entries, where these are not in the order of the list
    Taskmill_SortValues m_values;
    qint64 m_behind = std::numeric_limits<qint64>::min();
    qsizetype m_place = 0;
    QList<quint32> m_ranks;
    std::atomic_bool m_isCancelled = false;
};

Taskmill_FinishedRanking::~Taskmill_FinishedRanking()
{
    Stop();
}

QStringList Taskmill_FinishedRanking::ReadColumns(int column)
{
    using Job = Taskmill_JobRecord;
    const auto &columns = Taskmill_Listings::FinishedJobs();
    struct Source
    {
        Taskmill_Column<Job>::Cell cell;
        QString stored;
    };
    static const QList<Source> sources{
        {&Job::Name, u"Name"_s},           {&Job::Status, u"Status"_s},   {&Job::QueueName, u"QueueID"_s},
        {&Job::Submitted, u"Submitted"_s}, {&Job::Started, u"Started"_s}, {&Job::Finished, u"Finished"_s},
    };
    for (const Source &source : sources) {
        if (columns.IndexOf(source.cell) == column)
            return {source.stored};
    }
    return {u"JobTypeID"_s, u"ApplicationName"_s, u"ExecutablePath"_s, u"CommandLine"_s};
}

void Taskmill_FinishedRanking::Begin(Task task, Take take)
{
    Cancel();
    m_work = std::make_shared<Work>(std::move(task));
    m_take = std::move(take);
    // What is cancelled ends soon, and begins this then.
    if (!m_thread)
        Start();
}

void Taskmill_FinishedRanking::Start()
{
    if (m_work->OpenOwn()) {
        StartThread();
        return;
    }
    disconnect(&m_steps, nullptr, this, nullptr);
    connect(&m_steps, &QTimer::timeout, this, &Taskmill_FinishedRanking::StepSlot);
    m_steps.start(0);
}

void Taskmill_FinishedRanking::StepSlot()
{
    constexpr qint64 longestStepMs = 10;
    QElapsedTimer time;
    time.start();
    while (time.elapsed() < longestStepMs) {
        if (m_work->Read())
            continue;
        m_steps.stop();
        StartThread();
        return;
    }
}

void Taskmill_FinishedRanking::StartThread()
{
    const auto rank = [this, work = m_work] {
        while (work->Read()) {
        }
        work->Rank();
        QMetaObject::invokeMethod(
            this, [this, work] { TakeResult(work); }, Qt::QueuedConnection);
    };
    m_running = m_work;
    m_thread.reset(QThread::create(rank));
    m_thread->setObjectName(u"order"_s);
    m_thread->start();
}

void Taskmill_FinishedRanking::TakeResult(const std::shared_ptr<Work> &work)
{
    if (work != m_running)
        return;
    EndThread();
    if (work == m_work) {
        m_work.reset();
        std::exchange(m_take, {})(work->Ranks());
    } else if (m_work) {
        Start();
    }
}

void Taskmill_FinishedRanking::Cancel()
{
    if (m_work)
        m_work->Cancel();
    m_steps.stop();
    m_work.reset();
    m_take = {};
}

void Taskmill_FinishedRanking::Stop()
{
    Cancel();
    EndThread();
}

void Taskmill_FinishedRanking::EndThread()
{
    if (m_thread)
        m_thread->wait();
    m_thread.reset();
    m_running.reset();
}
