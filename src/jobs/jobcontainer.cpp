// SPDX-License-Identifier: MIT
#include "jobs/jobcontainer.h"

#include "jobs/filescheck.h"
#include "jobs/finishedjobstaker.h"
#include "jobs/jobstarts.h"
#include "jobs/jobstore.h"
#include "jobs/runofjob.h"
#include "jobs/startbudget.h"
#include "jobs/startjudge.h"
#include "kilnutil/computerdata.h"
#include "kilnutil/logging.h"
#include "processes/runkeepers.h"

#include <QTimer>

#include <algorithm>
#include <chrono>
#include <utility>

namespace {
/// A disk that is full now may not be so later.
constexpr std::chrono::seconds nextTry{5};

QString RunTextOf(const QString &runID)
{
    return Taskmill_RunOfJob{runID, KilnUtil_ComputerData::MachineID()}.Text();
}
} // namespace

Taskmill_JobContainer::Taskmill_JobContainer(QString name, const Taskmill_JobServices &services)
    : m_name{std::move(name)}
    , m_services{services}
{
}

Taskmill_JobContainer::~Taskmill_JobContainer()
{
    qDeleteAll(m_jobs);
}

Taskmill_Job *Taskmill_JobContainer::JobAt(int index) const
{
    return index >= 0 && index < Count() ? m_jobs[index] : nullptr;
}

void Taskmill_JobContainer::Append(Taskmill_Job *job)
{
    job->SetStatus(Taskmill_JobStatus::Pending, true);
    NoteConditions(job);
    InsertInOrder(job);
    m_jobsByID.insert(job->JobID(), job);
}

QList<Taskmill_Job *>::const_iterator Taskmill_JobContainer::FirstHeld() const
{
    const auto isHeld = [](const Taskmill_Job *job) {
        return job->IsHeld();
    };
    return std::find_if_not(m_jobs.crbegin(), m_jobs.crend(), isHeld).base();
}

QList<Taskmill_Job *>::const_iterator Taskmill_JobContainer::FirstPending() const
{
    const auto hasStarted = [](const Taskmill_Job *job) {
        return job->Status() != Taskmill_JobStatus::Pending;
    };
    return std::ranges::partition_point(m_jobs, hasStarted);
}

void Taskmill_JobContainer::InsertInOrder(Taskmill_Job *job)
{
    m_jobs.insert(job->IsHeld() ? m_jobs.cend() : FirstHeld(), job);
}

void Taskmill_JobContainer::MoveBehindStarted(Taskmill_Job *job)
{
    const qsizetype behind = FirstPending() - m_jobs.cbegin();
    // It is the first of them as a rule.
    if (const qsizetype place = m_jobs.indexOf(job, behind); place > behind)
        m_jobs.move(place, behind);
}

QList<Taskmill_Job *> Taskmill_JobContainer::WaitingJobs() const
{
    return {FirstPending(), std::max(FirstPending(), FirstHeld())};
}

void Taskmill_JobContainer::SetWaitingOrder(const QList<Taskmill_Job *> &jobs,
                                            const QList<qint64> &orderNumbers)
{
    qsizetype place = FirstPending() - m_jobs.cbegin();
    for (qsizetype position = 0; position < jobs.size(); ++position) {
        m_jobs[place++] = jobs[position];
        if (jobs[position]->Record().OrderNumber() != orderNumbers[position])
            jobs[position]->SetOrderNumber(orderNumbers[position]);
    }
    Update();
}

void Taskmill_JobContainer::NoteConditions(Taskmill_Job *job)
{
    if (job->Record().Conditions.AreAny())
        m_conditional.insert(job);
    else
        m_conditional.remove(job);
    job->SetMayStart(true);
    job->SetWaitReason({});
    if (m_services.Judge && (job->Record().Conditions.AreAny() || job->IsHeld()))
        m_services.Judge->Judge(*job);
}

void Taskmill_JobContainer::SetConditions(Taskmill_Job &job, const Taskmill_StartConditions &conditions)
{
    job.SetConditions(conditions);
    NoteConditions(&job);
}

QList<Taskmill_Job *> Taskmill_JobContainer::ConditionalJobs() const
{
    return m_conditional.values();
}

void Taskmill_JobContainer::LookAgain()
{
    for (int before = -1; before < RunningCount();) {
        before = RunningCount();
        Update();
    }
}

void Taskmill_JobContainer::LookAgainSoon() const
{
    QTimer::singleShot(0, this, &Taskmill_JobContainer::LookAgain);
}

void Taskmill_JobContainer::IgnoreFilesOf(Taskmill_Job &job) const
{
    if (m_services.Checker)
        m_services.Checker->LetStart(job);
}

bool Taskmill_JobContainer::MayFilesBeWritten(Taskmill_Job &job) const
{
    return !m_services.Checker || m_services.Checker->Ask(job) == Taskmill_FilesCheck::Answer::Starts;
}

void Taskmill_JobContainer::SayThatJobEnded() const
{
    if (m_services.Checker)
        m_services.Checker->JobEnded();
}

QList<int> Taskmill_JobContainer::HeldJobIDs() const
{
    QList<int> jobIDs;
    for (const Taskmill_Job *job : m_jobs) {
        if (job->IsHeld() && !job->RunsElsewhere())
            jobIDs.append(job->JobID());
    }
    return jobIDs;
}

int Taskmill_JobContainer::Release(const QList<int> &jobIDs)
{
    QList<Taskmill_Job *> jobs = m_jobs;
    jobs.removeIf([&jobIDs](const Taskmill_Job *job) {
        return !job->IsHeld() || job->RunsElsewhere() || !jobIDs.contains(job->JobID());
    });
    for (Taskmill_Job *job : jobs) {
        job->SetHeld(false);
        NoteConditions(job);
        m_jobs.removeOne(job);
        InsertInOrder(job);
    }
    // A queue starts one at a time.
    for (qsizetype released = 0; released < jobs.size(); ++released)
        Update();
    return static_cast<int>(jobs.size());
}

void Taskmill_JobContainer::Add(Taskmill_Job *job)
{
    Append(job);
    Update();
}

void Taskmill_JobContainer::AddAll(const QList<Taskmill_JobRecord> &records, const QSet<int> &recorded)
{
    for (const Taskmill_JobRecord &record : records)
        AddFromProject(record, recorded.contains(record.JobID));
    Update();
}

void Taskmill_JobContainer::AddFromProject(Taskmill_JobRecord record, bool isStartRecorded)
{
    const bool held = IsToBeHeld(record);
    record.Started = {};
    record.Finished = {};
    auto *job = new Taskmill_Job{std::move(record)};
    if (!job->Record().Run.isEmpty() && TakeOverRun(job, isStartRecorded))
        return;
    job->SetHeld(held || job->IsHeld() || job->RunsElsewhere());
    Append(job);
}

bool Taskmill_JobContainer::TakeOverRun(Taskmill_Job *job, bool isStartRecorded)
{
    const Taskmill_RunOfJob run{job->Record().Run};
    KilnUtil_FoundRun found;
    found.Where = KilnUtil_FoundRun::Place::Elsewhere;
    if (run.IsOfThisMachine() && m_services.Keepers)
        found = m_services.Keepers->Find(run.RunID);
    switch (found.Where) {
    case KilnUtil_FoundRun::Place::NotKnown:
        if (FollowOn(job))
            return true;
        if (!isStartRecorded)
            return Hold(job);
        [[fallthrough]];
    case KilnUtil_FoundRun::Place::NotStarted:
        if (FollowOn(job))
            return true;
        job->SetRun({});
        // Whoever looks for it later may not know that any more.
        m_services.Store.ForgetRun(job->Record());
        return false;
    case KilnUtil_FoundRun::Place::Taken:
        return Hold(job);
    case KilnUtil_FoundRun::Place::Elsewhere:
        job->SetRunsElsewhere();
        Q_EMIT RunsElsewhereSignal(job->Record(), found.Owner);
        return false;
    case KilnUtil_FoundRun::Place::Here:
        break;
    }
    Follow(*job);
    InsertStarted(job);
    if (m_services.Checker)
        m_services.Checker->NoteFilesOf(*job);
    job->TakeOver(std::move(found));
    if (m_services.Starts)
        m_services.Starts->JobIsTakenOver(*job);
    return true;
}

/// What nobody runs here may run on a cluster.
bool Taskmill_JobContainer::FollowOn(Taskmill_Job *job)
{
    Follow(*job);
    if (!job->FollowOn()) {
        disconnect(job, nullptr, this, nullptr);
        return false;
    }
    InsertStarted(job);
    return true;
}

/// It may have ended, perhaps long ago: what it has written is not to be overwritten unasked.
bool Taskmill_JobContainer::Hold(Taskmill_Job *job)
{
    job->SetHeld(true);
    Q_EMIT FateUnknownSignal(job->Record());
    return false;
}

void Taskmill_JobContainer::InsertStarted(Taskmill_Job *job)
{
    m_jobs.insert(FirstPending(), job);
    m_jobsByID.insert(job->JobID(), job);
}

void Taskmill_JobContainer::TakeOut(Taskmill_Job *job)
{
    TakeOut(QList{job});
}

void Taskmill_JobContainer::TakeOut(const QList<Taskmill_Job *> &jobs)
{
    for (Taskmill_Job *job : jobs) {
        // The end of a killed job must not start another one here, nor collect it a second time.
        disconnect(job, nullptr, this, nullptr);
        m_jobsByID.remove(job->JobID(), job);
        m_conditional.remove(job);
    }
    // In one pass: hundreds may leave a list of thousands.
    const QSet<Taskmill_Job *> leaving{jobs.begin(), jobs.end()};
    m_jobs.removeIf([&leaving](Taskmill_Job *job) { return leaving.contains(job); });
    // All are asked to end first, so that their grace passes once for all and not one after another.
    for (Taskmill_Job *job : jobs)
        job->BeginKill();
    for (Taskmill_Job *job : jobs) {
        const bool killed = job->Kill(m_services.Inspector);
        job->deleteLater();
        if (killed)
            m_services.FinishedJobs.AddJob(job->Record());
    }
    SayThatJobEnded();
}

void Taskmill_JobContainer::RemoveAt(int index)
{
    Taskmill_Job *job = JobAt(index);
    if (!job)
        return;
    TakeOut(job);
    Update();
}

void Taskmill_JobContainer::RemoveByJobIDs(const QList<int> &jobIDs)
{
    QList<Taskmill_Job *> leaving;
    for (const int jobID : jobIDs) {
        Taskmill_Job *job = FindByJobID(jobID);
        // The next one, where the number is there twice and so in the list.
        if (m_jobsByID.count(jobID) > 1) {
            const auto next = std::ranges::find_if(m_jobs, [&](Taskmill_Job *other) {
                return other->JobID() == jobID && !leaving.contains(other);
            });
            job = next == m_jobs.end() ? nullptr : *next;
        }
        if (job)
            leaving.append(job);
    }
    TakeOut(leaving);
    Update();
}

void Taskmill_JobContainer::RemoveAll()
{
    TakeOut(QList{m_jobs});
    Update();
}

QList<Taskmill_Job *> Taskmill_JobContainer::RunningJobs() const
{
    QList<Taskmill_Job *> running;
    for (Taskmill_Job *job : m_jobs) {
        if (job->Status() == Taskmill_JobStatus::Pending)
            break;
        if (job->Status() == Taskmill_JobStatus::Running)
            running.append(job);
    }
    return running;
}

int Taskmill_JobContainer::WaitingCount() const
{
    return static_cast<int>(m_jobs.cend() - FirstPending());
}

void Taskmill_JobContainer::KillRunning()
{
    // Removing one job may start another, which is not to be killed with them.
    const QList<Taskmill_Job *> running = RunningJobs();
    for (Taskmill_Job *job : running) {
        if (!m_jobsByID.contains(job->JobID(), job))
            continue;
        const QList<Taskmill_Job *> sameNumber = m_jobsByID.values(job->JobID());
        for (Taskmill_Job *other : sameNumber) {
            if (other != job && *other == *job) {
                TakeOut(other);
                Update();
            }
        }
        TakeOut(job);
        Update();
    }
}

void Taskmill_JobContainer::BeginToKillRunning()
{
    for (Taskmill_Job *job : RunningJobs())
        job->BeginKill();
}

bool Taskmill_JobContainer::IsAnyKept() const
{
    return std::ranges::any_of(RunningJobs(), [](const Taskmill_Job *job) { return job->IsKept(); });
}

void Taskmill_JobContainer::LetGoOn()
{
    QList<Taskmill_Job *> leaving = RunningJobs();
    leaving.removeIf([](Taskmill_Job *job) { return !job->LetGoOn(); });
    TakeOut(leaving);
}

Taskmill_Job *Taskmill_JobContainer::FindByJobID(int jobID) const
{
    const QList<Taskmill_Job *> jobs = m_jobsByID.values(jobID);
    if (jobs.size() <= 1)
        return jobs.value(0);
    return *std::ranges::find_if(m_jobs, [jobID](const Taskmill_Job *job) { return job->JobID() == jobID; });
}

int Taskmill_JobContainer::FindJobByProcessID(qint64 processID) const
{
    if (processID <= 0)
        return -1;
    const QList<Taskmill_Job *> running = RunningJobs();
    const auto job = std::ranges::find(running, processID, &Taskmill_Job::ProcessID);
    return job == running.end() ? -1 : (*job)->JobID();
}

QList<int> Taskmill_JobContainer::JobIDs() const
{
    QList<int> jobIDs;
    jobIDs.reserve(m_jobs.size());
    std::ranges::transform(m_jobs, std::back_inserter(jobIDs), &Taskmill_Job::JobID);
    return jobIDs;
}

bool Taskmill_JobContainer::NamesOf(const QList<int> &jobIDs, QStringList &names) const
{
    names.clear();
    for (const int jobID : jobIDs) {
        const Taskmill_Job *job = FindByJobID(jobID);
        if (!job) {
            names.clear();
            return false;
        }
        names.append(job->Record().Name);
    }
    return true;
}

void Taskmill_JobContainer::JobFinishedSlot()
{
    m_isLackLogged = false;
    SayThatJobEnded();
    Update();
}

void Taskmill_JobContainer::Follow(Taskmill_Job &job)
{
    connect(&job, &Taskmill_Job::JobFinishedSignal, this, &Taskmill_JobContainer::JobFinishedSlot);
    connect(&job, &Taskmill_Job::RemainsSignal, this, [this, &job](const QList<qint64> &processIDs) {
        Q_EMIT RemainsSignal(job.Record(), processIDs);
    });
    connect(&job, &Taskmill_Job::StartPutOffSignal, this, [this, &job](const QString &reason) {
        if (!std::exchange(m_isLackLogged, true))
            qCWarning(Taskmill_JobsLog, "Job %d cannot be started now, and is tried again: %ls", job.JobID(),
                      qUtf16Printable(reason));
        TryAgainLater();
    });
}

void Taskmill_JobContainer::TryAgainLater()
{
    if (!std::exchange(m_triesAgain, true))
        QTimer::singleShot(nextTry, this, &Taskmill_JobContainer::TryAgainSlot);
}

void Taskmill_JobContainer::TryAgainSlot()
{
    m_triesAgain = false;
    for (Taskmill_Job *job : RunningJobs()) {
        if (job->IsStartPutOff())
            StartJob(*job);
    }
    // As many as could have been started meanwhile.
    LookAgain();
}

bool Taskmill_JobContainer::PrepareStart(Taskmill_Job &job)
{
    if (!m_services.Keepers || (m_services.Checker && !m_services.Checker->LookAhead(job)))
        return false;
    job.SetLowPriority(m_services.Judge && m_services.Judge->HaveJobsLowPriority());
    const QString runID = m_services.Keepers->NewRunID();
    if (!job.Prepare(*m_services.Keepers, runID))
        return false;
    if (m_services.Store.NoteRun(job.JobID(), RunTextOf(runID)))
        return true;
    job.DropPreparation();
    return false;
}

void Taskmill_JobContainer::DropPreparation(Taskmill_Job *job, int jobID)
{
    if (job)
        job->DropPreparation();
    m_services.Store.ForgetNotedRun(jobID);
}

void Taskmill_JobContainer::StartJob(Taskmill_Job &job)
{
    const QString runBefore = job.Record().Run;
    const bool isPutOff = job.IsStartPutOff();
    if (!isPutOff && !MayFilesBeWritten(job))
        return;
    // Before the start: whatever ends this program from here on, the run is found again.
    QString runID = job.PreparedRunID();
    if (runID.isEmpty())
        job.DropPreparation();
    if (runID.isEmpty() && m_services.Keepers)
        runID = m_services.Keepers->NewRunID();
    if (!runID.isEmpty() && !job.PassRunOn(runID)) {
        TryAgainLater();
        return;
    }
    if (!runID.isEmpty())
        job.SetRun(RunTextOf(runID));
    if (!m_services.Store.RecordStart(job.Record())) {
        TryAgainLater();
        return;
    }
    job.SetLowPriority(m_services.Judge && m_services.Judge->HaveJobsLowPriority());
    m_conditional.remove(&job);
    if (!isPutOff) {
        MoveBehindStarted(&job);
        Follow(job);
    } else if (m_services.Keepers && !runBefore.isEmpty()) {
        m_services.Keepers->TakeResult(Taskmill_RunOfJob{runBefore}.RunID);
    }
    if (m_services.Starts)
        m_services.Starts->JobStarts(job);
    if (!job.Start(m_services.Keepers))
        qCWarning(Taskmill_JobsLog, "Job %d: the file for its standard input cannot be written", job.JobID());
    // The job was started without a keeper after all: nobody is to look for its run.
    if (m_services.Keepers && job.Record().Run.isEmpty())
        RecordStartWithoutKeeper(job.JobID());
}

bool Taskmill_JobContainer::IsBudgetOn() const
{
    return m_services.Budget && m_services.Budget->IsOn();
}

void Taskmill_JobContainer::RecordStartWithoutKeeper(int jobID)
{
    const Taskmill_Job *job = FindByJobID(jobID);
    if (job && job->Status() == Taskmill_JobStatus::Running && !m_services.Store.RecordStart(job->Record()))
        QTimer::singleShot(nextTry, this, [this, jobID] { RecordStartWithoutKeeper(jobID); });
}
