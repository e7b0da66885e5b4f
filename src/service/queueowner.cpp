#include "service/queueowner.h"

#include "db/database.h"
#include "db/databasemanager.h"
#include "service/finishedjobs.h"

#include <QScopedValueRollback>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;

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
        if (!inserted || database->SetGeneralData(u"LastJobID"_s, QString::number(job->JobID())) == 0)
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
    if (m_collecting)
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
        m_finishedJobs.AddJob(job);
        if (Taskmill_Database *database = Taskmill_Database_Manager::Global().CurrentDatabase())
            (database->*m_table.remove)(job.JobID);
        oneIsLeft = oneIsLeft || (jobs.JobAt(index) && jobs.JobAt(index)->IsFinished());
    }
    return oneIsLeft;
}

Taskmill_LongJobsOwner::Taskmill_LongJobsOwner(Taskmill_JobStore &store, Taskmill_FinishedJobs &finishedJobs,
                                               Taskmill_ProcessInspector &inspector)
    : Taskmill_QueueOwner{finishedJobs,
                          {&Taskmill_Database::InsertLongJob, &Taskmill_Database::DeleteLongJob}}
    , m_queue{store, finishedJobs, inspector}
{
    connect(&m_queue, &Taskmill_LongJobsQueue::QueueUpdatedSignal, this,
            &Taskmill_LongJobsOwner::QueueUpdatedSlot);
}

void Taskmill_LongJobsOwner::QueueUpdatedSlot()
{
    CollectFinished();
}

void Taskmill_LongJobsOwner::Pause()
{
    m_queue.SetPaused(true);
}

Taskmill_ShortJobsOwner::Taskmill_ShortJobsOwner(Taskmill_JobStore &store,
                                                 Taskmill_FinishedJobs &finishedJobs,
                                                 Taskmill_ProcessInspector &inspector)
    : Taskmill_QueueOwner{finishedJobs,
                          {&Taskmill_Database::InsertShortJob, &Taskmill_Database::DeleteShortJob}}
    , m_queue{store, finishedJobs, inspector}
{
    connect(&m_queue, &Taskmill_ShortJobsQueue::QueueUpdatedSignal, this,
            &Taskmill_ShortJobsOwner::QueueUpdatedSlot);
}

void Taskmill_ShortJobsOwner::QueueUpdatedSlot()
{
    CollectFinished();
}

void Taskmill_ShortJobsOwner::Pause()
{
    m_queue.SetPaused(true);
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

void Taskmill_QueuelessJobsOwner::ListUpdatedSlot()
{
    CollectFinished();
}
