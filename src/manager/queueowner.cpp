// SPDX-License-Identifier: MIT
#include "manager/queueowner.h"

#include "db/database.h"
#include "db/databasemanager.h"
#include "jobs/queuelessjobslist.h"
#include "kilnutil/logging.h"
#include "manager/finishedjobs.h"
#include "manager/listings.h"
#include "manager/queueestimate.h"
#include "manager/removaldialogue.h"
#include "manager/removalreport.h"

#include <QScopedValueRollback>
#include <QSet>
#include <QTimer>

#include <algorithm>
#include <array>
#include <functional>
#include <utility>

using namespace Qt::Literals::StringLiterals;

/// What differs between the three.
struct Taskmill_QueueOwner::Variant
{
    Taskmill_Destination destination;
    bool (Taskmill_Database::*insert)(const Taskmill_JobRecord &job, bool forceNew, int *outID);
    bool (Taskmill_Database::*remove)(int jobID);
};

const Taskmill_QueueOwner::Variant &Taskmill_QueueOwner::VariantOf(Taskmill_Destination destination)
{
    static constexpr std::array variants{
        Variant{Taskmill_Destination::Long, &Taskmill_Database::InsertLongJob,
                &Taskmill_Database::DeleteLongJob},
        Variant{Taskmill_Destination::Short, &Taskmill_Database::InsertShortJob,
                &Taskmill_Database::DeleteShortJob},
        Variant{Taskmill_Destination::Queueless, &Taskmill_Database::InsertQueuelessJob,
                &Taskmill_Database::DeleteQueuelessJob}};
    return *std::ranges::find(variants, destination, &Variant::destination);
}

Taskmill_QueueOwner::Taskmill_QueueOwner(Taskmill_Destination destination,
                                         Taskmill_FinishedJobs &finishedJobs,
                                         const Taskmill_JobServices &services)
    : m_variant{VariantOf(destination)}
    , m_finishedJobs{finishedJobs}
{
    if (destination == Taskmill_Destination::Queueless) {
        auto list = std::make_unique<Taskmill_QueuelessJobsList>(services);
        connect(list.get(), &Taskmill_QueuelessJobsList::ListUpdatedSignal, this,
                &Taskmill_QueueOwner::QueueUpdatedSlot);
        m_list = list.get();
        m_jobs = std::move(list);
        return;
    }
    std::unique_ptr<Taskmill_JobQueue> queue;
    if (destination == Taskmill_Destination::Long)
        queue = std::make_unique<Taskmill_LongJobsQueue>(services);
    else
        queue = std::make_unique<Taskmill_ShortJobsQueue>(services);
    connect(queue.get(), &Taskmill_JobQueue::QueueUpdatedSignal, this,
            &Taskmill_QueueOwner::QueueUpdatedSlot);
    m_queue = queue.get();
    m_jobs = std::move(queue);
}

Taskmill_QueueOwner::~Taskmill_QueueOwner() = default;

Taskmill_Destination Taskmill_QueueOwner::Destination() const
{
    return m_variant.destination;
}

QString Taskmill_QueueOwner::ListName() const
{
    return Taskmill_NamesOf(m_variant.destination).List;
}

void Taskmill_QueueOwner::Pause()
{
    if (m_queue)
        m_queue->SetPaused(true);
}

std::optional<QString> Taskmill_QueueOwner::SetLimit(int maxRunningJobs)
{
    if (m_queue->SetMaxRunningJobs(maxRunningJobs))
        return std::nullopt;
    return u"The limit of the %1 stays at %2, as a new one cannot be written to the project: its disk may be full."_s
        .arg(ListName(), QString::number(m_queue->MaxRunningJobs()));
}

bool Taskmill_QueueOwner::Submit(Taskmill_Job *job)
{
    // It is in the database before it may start, and before anybody is told that it was accepted.
    job->SetStatus(Taskmill_JobStatus::Pending, true);
    PutLast(*job);
    Taskmill_Database *database = Taskmill_Database_Manager::Global().CurrentDatabase();
    const bool stored = !database || database->AsOneChange([&] {
        return (database->*m_variant.insert)(job->Record(), true, nullptr) &&
               database->SetGeneralData(u"LastJobID"_s, QString::number(job->JobID())) != 0;
    });
    if (!stored) {
        qCWarning(Taskmill_ManagerLog, "Job %d could not be written to the database: %ls", job->JobID(),
                  qUtf16Printable(database->LastErrorMessage()));
        delete job;
        return false;
    }
    Jobs().Add(job);
    if (job->Status() == Taskmill_JobStatus::Pending)
        Q_EMIT WaitsSignal(job->Record());
    Q_EMIT JobsChangedSignal();
    return true;
}

QString Taskmill_QueueOwner::EstimateText() const
{
    const QString estimate = Taskmill_EstimateOf(*m_queue, Taskmill_JobTime::Now());
    return estimate.isEmpty()
               ? u"%1: no estimate. It takes five completed jobs of each job type that waits, and a queue that starts jobs."_s
                     .arg(ListName())
               : u"%1: %2 (an estimate from how long such jobs took)."_s.arg(ListName(), estimate);
}

QString Taskmill_QueueOwner::PauseWhenJobsHaveEnded()
{
    m_queue->PauseWhenJobsHaveEnded();
    const QString text = m_queue->IsPaused()
                             ? u"The %1 is paused."_s
                             : u"The %1 pauses when the jobs that are in it now have ended."_s;
    return text.arg(ListName());
}

void Taskmill_QueueOwner::PutLast(Taskmill_Job &job) const
{
    const QList<Taskmill_Job *> &jobs = Jobs().Jobs();
    if (jobs.isEmpty() || jobs.last()->Status() != Taskmill_JobStatus::Pending)
        return;
    const qint64 last = jobs.last()->Record().OrderNumber();
    if (job.Record().OrderNumber() <= last)
        job.SetOrderNumber(last + Taskmill_OrderNumber::StepAtEnd);
}

std::optional<QString> Taskmill_QueueOwner::Move(const QList<int> &jobIDs, Taskmill_Move move)
{
    return Reorder(jobIDs,
                   [move](const QList<bool> &isMarked) { return Taskmill_MovedPlaces(isMarked, move); });
}

std::optional<QString> Taskmill_QueueOwner::MoveBefore(const QList<int> &jobIDs, int beforeJobID)
{
    const QList<Taskmill_Job *> waiting = Jobs().WaitingJobs();
    const Taskmill_Job *other = Jobs().FindByJobID(beforeJobID);
    const bool hasStarted = other && other->Status() != Taskmill_JobStatus::Pending;
    const qsizetype place = std::ranges::find(waiting, other) - waiting.begin();
    return Reorder(jobIDs, [before = hasStarted ? 0 : place](const QList<bool> &isMarked) {
        return Taskmill_PlacesBefore(isMarked, before);
    });
}

std::optional<QString>
Taskmill_QueueOwner::Reorder(const QList<int> &jobIDs,
                             const std::function<QList<qsizetype>(const QList<bool> &isMarked)> &newPlaces)
{
    if (!m_queue)
        return u"Jobs without a queue have no order."_s;
    const QList<Taskmill_Job *> waiting = Jobs().WaitingJobs();
    const QSet<int> wanted{jobIDs.begin(), jobIDs.end()};
    QList<bool> isMarked;
    for (const Taskmill_Job *job : waiting)
        isMarked.append(wanted.contains(job->JobID()));
    if (!isMarked.contains(true))
        return u"Only jobs that wait in the queue can be moved."_s;

    const QList<qsizetype> places = newPlaces(isMarked);
    if (std::ranges::is_sorted(places))
        return std::nullopt;
    QList<Taskmill_Job *> order;
    QList<qint64> numbers;
    QList<bool> isMoved;
    for (const qsizetype place : places) {
        order.append(waiting[place]);
        numbers.append(waiting[place]->Record().OrderNumber());
        isMoved.append(isMarked[place]);
    }
    numbers = Taskmill_OrderNumber::Renumbered(numbers, isMoved);

    QList<Taskmill_JobRecord> changed;
    for (qsizetype place = 0; place < order.size(); ++place) {
        if (order[place]->Record().OrderNumber() == numbers[place])
            continue;
        changed.append(order[place]->Record());
        changed.last().Place = numbers[place];
    }
    Taskmill_Database *database = Taskmill_Database_Manager::Global().CurrentDatabase();
    if (database && !database->SetFieldsOfWaitingJobs(changed))
        return u"The order stays as it is, as a new one cannot be written to the project: its disk may be full."_s;
    Jobs().SetWaitingOrder(order, numbers);
    Q_EMIT JobsChangedSignal();
    return std::nullopt;
}

std::optional<QString>
Taskmill_QueueOwner::ChangeConditions(const QList<int> &jobIDs,
                                      const std::function<void(Taskmill_StartConditions &conditions)> &change)
{
    QList<Taskmill_Job *> jobs;
    QList<Taskmill_JobRecord> changed;
    for (const int jobID : jobIDs) {
        Taskmill_Job *job = Jobs().FindByJobID(jobID);
        if (!job || job->Status() != Taskmill_JobStatus::Pending || job->IsHeld())
            continue;
        Taskmill_JobRecord record = job->Record();
        change(record.Conditions);
        if (record.Conditions == job->Record().Conditions)
            continue;
        jobs.append(job);
        changed.append(record);
    }
    if (jobs.isEmpty())
        return std::nullopt;
    Taskmill_Database *database = Taskmill_Database_Manager::Global().CurrentDatabase();
    if (database && !database->SetFieldsOfWaitingJobs(changed))
        return u"That cannot be written to the project, whose disk may be full. The jobs are as they were."_s;
    for (qsizetype place = 0; place < jobs.size(); ++place)
        Jobs().SetConditions(*jobs[place], changed[place].Conditions);
    Jobs().LookAgain();
    Q_EMIT JobsChangedSignal();
    return std::nullopt;
}

void Taskmill_QueueOwner::Replace(const QList<Taskmill_JobRecord> &jobs, const QSet<int> &recorded)
{
    Jobs().RemoveAll();
    Pause();
    Jobs().AddAll(jobs, recorded);
    Q_EMIT JobsChangedSignal();
}

void Taskmill_QueueOwner::Clear()
{
    Jobs().RemoveAll();
    m_keptRows.clear();
    Q_EMIT JobsChangedSignal();
}

void Taskmill_QueueOwner::Stop()
{
    Pause();
    Jobs().KillRunning();
}

void Taskmill_QueueOwner::LetJobsGoOn()
{
    Pause();
    Jobs().LetGoOn();
}

void Taskmill_QueueOwner::QueueUpdatedSlot()
{
    // Removing a job makes the queue report its change again.
    if (m_collecting || m_removing)
        return;
    bool oneIsLeft = false;
    {
        const QScopedValueRollback collecting{m_collecting, true};
        oneIsLeft = CollectOnePass();
    }
    if (oneIsLeft)
        QTimer::singleShot(0, this, &Taskmill_QueueOwner::QueueUpdatedSlot);
    Q_EMIT JobsChangedSignal();
}

QString Taskmill_QueueOwner::ListingText(int width) const
{
    QList<QStringList> rows;
    for (const Taskmill_Job *job : Jobs().Jobs())
        rows.append(Taskmill_Listings::Queue().Row(job->Record()));
    return Taskmill_Listings::Queue().Listing(ListName(), ListName(), rows, width);
}

bool Taskmill_QueueOwner::RemoveSelectedJobs(const QList<int> &jobIDs)
{
    Taskmill_RemovalDialogue removal{*this, jobIDs};
    Taskmill_AskThroughPrompt(removal);
    return removal.IsCarriedOut();
}

bool Taskmill_QueueOwner::RemoveJob(int jobID)
{
    return Jobs().FindByJobID(jobID) && RemoveSelectedJobs({jobID});
}

QList<int> Taskmill_QueueOwner::WithoutRunning(const QList<int> &jobIDs) const
{
    QList<int> others = jobIDs;
    others.removeIf([this](int jobID) {
        const Taskmill_Job *job = Jobs().FindByJobID(jobID);
        return job && job->Status() == Taskmill_JobStatus::Running;
    });
    return others;
}

void Taskmill_QueueOwner::RemoveNow(QList<int> jobIDs)
{
    // What a keeper ends is collected at its end, like any other job.
    jobIDs.removeIf([this](int jobID) {
        Taskmill_Job *job = Jobs().FindByJobID(jobID);
        return job && job->BeginKill();
    });
    QList<Taskmill_JobRecord> removed;
    for (const int jobID : std::as_const(jobIDs)) {
        if (const Taskmill_Job *job = Jobs().FindByJobID(jobID))
            removed.append(job->Record());
    }
    std::ranges::sort(jobIDs, std::ranges::greater{});
    {
        const QScopedValueRollback removing{m_removing, true};
        Jobs().RemoveByJobIDs(jobIDs);
    }
    // Behind the kills: of a manager that is ended meanwhile a job is there twice rather than not at all.
    const auto deleteRows = [&] {
        for (const Taskmill_JobRecord &job : std::as_const(removed))
            DeleteRow(job);
        return true;
    };
    Taskmill_Database *database = Taskmill_Database_Manager::Global().CurrentDatabase();
    if (database && !removed.isEmpty() && !database->AsOneChange(deleteRows)) {
        // The deletion of all rows was undone together.
        m_namesOfKeptRows.clear();
        for (const Taskmill_JobRecord &job : std::as_const(removed))
            KeepRow(job);
    }
    // Collects jobs that have ended during the removal, which would stay in the list otherwise.
    QueueUpdatedSlot();
}

void Taskmill_QueueOwner::CollectAllFinished()
{
    const auto isFinished = [](const Taskmill_Job *job) {
        return job->IsFinished();
    };
    while (!m_collecting && !m_removing && std::ranges::any_of(Jobs().Jobs(), isFinished))
        QueueUpdatedSlot();
}

bool Taskmill_QueueOwner::CollectOnePass()
{
    bool oneIsLeft = false;
    Taskmill_JobContainer &jobs = Jobs();
    // Behind the first Pending job none is finished.
    for (int index = 0; index < jobs.Count() && jobs.JobAt(index)->Status() != Taskmill_JobStatus::Pending;
         ++index) {
        if (!jobs.JobAt(index)->IsFinished())
            continue;
        const Taskmill_JobRecord job = jobs.JobAt(index)->Record();
        jobs.RemoveAt(index);
        oneIsLeft = oneIsLeft || (jobs.JobAt(index) && jobs.JobAt(index)->IsFinished());
        // A job that could not be recorded stays in the file as a waiting one.
        m_finishedJobs.AddJob(job, [this, job] { DeleteRow(job); });
    }
    return oneIsLeft;
}

void Taskmill_QueueOwner::DeleteRow(const Taskmill_JobRecord &job)
{
    Taskmill_Database *database = Taskmill_Database_Manager::Global().CurrentDatabase();
    if (!database || (database->*m_variant.remove)(job.JobID))
        return;
    // The removal is still under way, and one report at its end serves for all jobs.
    KeepRow(job);
}

void Taskmill_QueueOwner::KeepRow(const Taskmill_JobRecord &job)
{
    if (!m_keptRows.contains(job.JobID))
        m_keptRows.append(job.JobID);
    if (m_namesOfKeptRows.isEmpty())
        QTimer::singleShot(0, this, &Taskmill_QueueOwner::ReportKeptRows);
    m_namesOfKeptRows.append(job.Name);
}

void Taskmill_QueueOwner::DeleteKeptRows()
{
    Taskmill_Database *database = Taskmill_Database_Manager::Global().CurrentDatabase();
    if (database)
        m_keptRows.removeIf([&](int jobID) { return (database->*m_variant.remove)(jobID); });
}

void Taskmill_QueueOwner::ReportKeptRows()
{
    const QStringList names = std::exchange(m_namesOfKeptRows, {});
    if (names.isEmpty())
        return;
    if (const Taskmill_Database *database = Taskmill_Database_Manager::Global().CurrentDatabase())
        Taskmill_ReportRowsKept(*database, names, names.size());
}
