#include "service/queueowner.h"

#include "db/database.h"
#include "db/databasemanager.h"
#include "kilnutil/error.h"
#include "service/finishedjobs.h"
#include "service/listings.h"
#include "service/removalreport.h"

#include <QScopedValueRollback>
#include <QTimer>

#include <algorithm>
#include <functional>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
using WarnMode = KilnUtil_Error::WarnMode;
using WarnAnswer = KilnUtil_Error::WarnAnswer;

QString HeldJobsText(qsizetype count)
{
    return count == 1 ? u"1 queueless job was running when this project was closed."_s
                      : u"%1 queueless jobs were running when this project was closed."_s.arg(count);
}
} // namespace

Taskmill_QueueOwner::Taskmill_QueueOwner(Taskmill_FinishedJobs &finishedJobs, const DatabaseTable &table)
    : m_finishedJobs{finishedJobs}
    , m_table{table}
{
}

void Taskmill_QueueOwner::Submit(Taskmill_Job *job)
{
    Jobs().Add(job);
    if (Taskmill_Database *database = Taskmill_Database_Manager::Global().CurrentDatabase()) {
        const bool inserted = (database->*m_table.insert)(job->Record(), true, nullptr);
        const bool counted = database->SetGeneralData(u"LastJobID"_s, QString::number(job->JobID())) != 0;
        if (!inserted || !counted)
            qWarning("Job %d could not be written to the database", job->JobID());
    }
    Q_EMIT JobsChangedSignal();
}

void Taskmill_QueueOwner::Replace(const QList<Taskmill_JobRecord> &jobs)
{
    Jobs().RemoveAll();
    Pause();
    Jobs().AddAll(jobs);
    Q_EMIT JobsChangedSignal();
}

void Taskmill_QueueOwner::Clear()
{
    Jobs().RemoveAll();
    Q_EMIT JobsChangedSignal();
}

void Taskmill_QueueOwner::Stop()
{
    Pause();
    Jobs().KillRunning();
}

void Taskmill_QueueOwner::CollectFinished()
{
    // Removing a job makes the queue tell of its change again.
    if (m_collecting || m_removing)
        return;
    bool oneIsLeft = false;
    {
        const QScopedValueRollback collecting{m_collecting, true};
        oneIsLeft = CollectOnePass();
    }
    if (oneIsLeft)
        QTimer::singleShot(0, this, &Taskmill_QueueOwner::CollectFinished);
    Q_EMIT JobsChangedSignal();
}

QString Taskmill_QueueOwner::ListingText(int width)
{
    QList<QStringList> rows;
    for (const Taskmill_Job *job : Jobs().Jobs())
        rows.append(Taskmill_Listings::QueueRow(job->Record()));
    return Taskmill_Listings::Text(u"\n%1\n"_s.arg(ListName()), u"\n%1 is Empty\n\n"_s.arg(ListName()),
                                   Taskmill_Listings::QueueHeaders(), rows, width);
}

bool Taskmill_QueueOwner::RemoveSelectedJobs(const QList<int> &jobIDs)
{
    const Taskmill_Question question = RemovalQuestion(jobIDs);
    if (question.text.isEmpty() ||
        KilnUtil_Error::UserPrompt().AskQuestion(question.title, question.text, WarnMode::YesNo,
                                                 WarnAnswer::None) != WarnAnswer::Yes)
        return false;

    QList<int> remaining = jobIDs;
    // Asked again: a waiting job may have started while the question stood.
    if (AnyRunning(jobIDs)) {
        const Taskmill_Question warning = RunningJobsWarning();
        const WarnAnswer answer =
            KilnUtil_Error::ReportWarning(warning.title, warning.text, WarnMode::YesNoCancel);
        if (answer == WarnAnswer::Cancel)
            return false;
        if (answer == WarnAnswer::No)
            remaining = WithoutRunning(jobIDs);
    }
    RemoveNow(remaining);
    return true;
}

bool Taskmill_QueueOwner::RemoveJob(int jobID)
{
    return Jobs().FindByJobID(jobID) && RemoveSelectedJobs({jobID});
}

Taskmill_Question Taskmill_QueueOwner::RemovalQuestion(const QList<int> &jobIDs)
{
    QStringList names;
    if (jobIDs.isEmpty() || !Jobs().NamesOf(jobIDs, names))
        return {};
    return {.title = u"Remove Selected Jobs from "_s + ListName(),
            .text = u"Are you sure you want to remove the following %1 selected jobs from the %2?\n\n"_s.arg(
                        QString::number(names.size()), ListName()) +
                    Taskmill_NameList(names)};
}

Taskmill_Question Taskmill_QueueOwner::RunningJobsWarning()
{
    return {
        .title = u"Removal of Selected Running Jobs"_s,
        .text =
            u"At least one Job selected for removal is currently running.  Removal of a Job that is running "
            "requires that it be Killed.\n\nRemove selected jobs that are currently running?"_s};
}

bool Taskmill_QueueOwner::AnyRunning(const QList<int> &jobIDs)
{
    return WithoutRunning(jobIDs).size() < jobIDs.size();
}

QList<int> Taskmill_QueueOwner::WithoutRunning(const QList<int> &jobIDs)
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
    for (const int jobID : std::as_const(jobIDs)) {
        if (const Taskmill_Job *job = Jobs().FindByJobID(jobID))
            DeleteRow(job->Record());
    }
    std::ranges::sort(jobIDs, std::ranges::greater{});
    {
        const QScopedValueRollback removing{m_removing, true};
        Jobs().RemoveByJobIDs(jobIDs);
    }
    // A job that has ended meanwhile would stay in the list.
    CollectFinished();
}

void Taskmill_QueueOwner::CollectAllFinished()
{
    const auto isFinished = [](const Taskmill_Job *job) {
        return job->IsFinished();
    };
    while (!m_collecting && !m_removing && std::ranges::any_of(Jobs().Jobs(), isFinished))
        CollectFinished();
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
        const bool recorded = m_finishedJobs.AddJob(job);
        // A job that could not be recorded stays in the file as a waiting one.
        if (recorded)
            DeleteRow(job);
    }
    return oneIsLeft;
}

void Taskmill_QueueOwner::DeleteRow(const Taskmill_JobRecord &job)
{
    Taskmill_Database *database = Taskmill_Database_Manager::Global().CurrentDatabase();
    if (!database || (database->*m_table.remove)(job.JobID))
        return;
    // Who removes jobs is in the middle of it, and one report serves for all of them.
    if (m_keptRows.isEmpty())
        QTimer::singleShot(0, this, &Taskmill_QueueOwner::ReportKeptRows);
    m_keptRows.append(job.Name);
}

void Taskmill_QueueOwner::ReportKeptRows()
{
    const QStringList names = std::exchange(m_keptRows, {});
    if (const Taskmill_Database *database = Taskmill_Database_Manager::Global().CurrentDatabase())
        Taskmill_ReportRowsKept(*database, names);
}

void Taskmill_LimitedQueueOwner::QueueUpdatedSlot()
{
    CollectFinished();
}

void Taskmill_LimitedQueueOwner::Pause()
{
    Jobs().SetPaused(true);
}

Taskmill_LongJobsOwner::Taskmill_LongJobsOwner(Taskmill_JobStore &store, Taskmill_FinishedJobs &finishedJobs,
                                               Taskmill_ProcessInspector &inspector)
    : Taskmill_LimitedQueueOwner{finishedJobs,
                                 {&Taskmill_Database::InsertLongJob, &Taskmill_Database::DeleteLongJob}}
    , m_queue{store, finishedJobs, inspector}
{
    connect(&m_queue, &Taskmill_JobQueue::QueueUpdatedSignal, this,
            &Taskmill_LongJobsOwner::QueueUpdatedSlot);
}

QString Taskmill_LongJobsOwner::ListName() const
{
    return u"Long Jobs Queue"_s;
}

Taskmill_ShortJobsOwner::Taskmill_ShortJobsOwner(Taskmill_JobStore &store,
                                                 Taskmill_FinishedJobs &finishedJobs,
                                                 Taskmill_ProcessInspector &inspector)
    : Taskmill_LimitedQueueOwner{finishedJobs,
                                 {&Taskmill_Database::InsertShortJob, &Taskmill_Database::DeleteShortJob}}
    , m_queue{store, finishedJobs, inspector}
{
    connect(&m_queue, &Taskmill_JobQueue::QueueUpdatedSignal, this,
            &Taskmill_ShortJobsOwner::QueueUpdatedSlot);
}

QString Taskmill_ShortJobsOwner::ListName() const
{
    return u"Short Jobs Queue"_s;
}

Taskmill_QueuelessJobsOwner::Taskmill_QueuelessJobsOwner(Taskmill_FinishedJobs &finishedJobs,
                                                         Taskmill_ProcessInspector &inspector)
    : Taskmill_QueueOwner{finishedJobs,
                          {&Taskmill_Database::InsertQueuelessJob, &Taskmill_Database::DeleteQueuelessJob}}
    , m_list{finishedJobs, inspector}
{
    connect(&m_list, &Taskmill_QueuelessJobsList::ListUpdatedSignal, this,
            &Taskmill_QueuelessJobsOwner::ListUpdatedSlot);
}

QString Taskmill_QueuelessJobsOwner::ListName() const
{
    return u"Queueless Jobs List"_s;
}

Taskmill_Question Taskmill_QueuelessJobsOwner::HeldJobsQuestion() const
{
    const qsizetype count = m_list.HeldJobIDs().size();
    if (count == 0)
        return {};
    return {.title = u"Queueless Jobs of the Project"_s,
            .text = HeldJobsText(count) + (count == 1 ? u" Run it again?"_s : u" Run them again?"_s)};
}

QString Taskmill_QueuelessJobsOwner::HeldJobsNotice() const
{
    const qsizetype count = m_list.HeldJobIDs().size();
    if (count == 0)
        return {};
    return HeldJobsText(count) + (count == 1 ? u" It waits until it is run again or removed."_s
                                             : u" They wait until they are run again or removed."_s);
}

void Taskmill_QueuelessJobsOwner::ListUpdatedSlot()
{
    CollectFinished();
}
