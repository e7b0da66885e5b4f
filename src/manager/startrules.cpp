// SPDX-License-Identifier: MIT
#include "manager/startrules.h"

#include "jobs/runofjob.h"
#include "kilnutil/registry.h"
#include "manager/destinations.h"
#include "manager/finishedjobs.h"
#include "manager/jobrequest.h"

#include <algorithm>
#include <chrono>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
const QString quietHoursSetting = u"/Scheduling/Quiet_Hours"_s;
const QString lowPrioritySetting = u"/Scheduling/Low_Priority"_s;
/// A computer that slept, or whose clock was set, is noticed after so long.
constexpr std::chrono::milliseconds longestWait{60'000};

/// Of a job that is held because of what its run may have come to.
QString ReasonOfRun(const Taskmill_Job &job)
{
    if (!job.RunsElsewhere())
        return u"held, as it may have run already"_s;
    return Taskmill_RunOfJob{job.Record().Run}.IsOfThisMachine() ? u"runs in another Taskmill"_s
                                                                 : u"runs on another computer"_s;
}
} // namespace

Taskmill_StartRules::Taskmill_StartRules(Clock clock)
    : m_clock{std::move(clock)}
    , m_quietHours{Taskmill_QuietHours::FromText(KilnUtil_Registry::Value(quietHoursSetting).toString())
                       .value_or(Taskmill_QuietHours{})}
    , m_haveLowPriority{KilnUtil_Registry::Value(lowPrioritySetting).toBool()}
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &Taskmill_StartRules::LookAgain);
    m_soon.setSingleShot(true);
    connect(&m_soon, &QTimer::timeout, this, &Taskmill_StartRules::LookForEnds);
}

void Taskmill_StartRules::Follow(Taskmill_Destinations &destinations, Taskmill_FinishedJobs &finishedJobs)
{
    m_destinations = &destinations;
    m_finishedJobs = &finishedJobs;
    for (const Taskmill_QueueOwner *owner : destinations.All())
        connect(owner, &Taskmill_QueueOwner::JobsChangedSignal, this, &Taskmill_StartRules::JobsChangedSlot);
    connect(&finishedJobs, &Taskmill_FinishedJobs::JobsChangedSignal, this,
            &Taskmill_StartRules::JobsChangedSlot);
    connect(&finishedJobs, &Taskmill_FinishedJobs::ResultSettledSignal, this,
            &Taskmill_StartRules::JobsChangedSlot);
    SetTimer();
}

bool Taskmill_StartRules::AreHoursQuiet() const
{
    if (!m_quietHours.AreAny())
        return false;
    const QTime time = m_clock().ClockTime().time();
    return m_quietHours.Contain(time.hour() * 60 + time.minute());
}

void Taskmill_StartRules::SetQuietHours(const Taskmill_QuietHours &hours)
{
    m_quietHours = hours;
    KilnUtil_Registry::SetValue(quietHoursSetting, hours.Text());
    LookAgain();
}

void Taskmill_StartRules::SetJobsLowPriority(bool isLow)
{
    m_haveLowPriority = isLow;
    KilnUtil_Registry::SetValue(lowPrioritySetting, isLow);
}

Taskmill_WaitingJobs::Outcome Taskmill_StartRules::SetQuietHoursFrom(const QString &text)
{
    const auto hours = Taskmill_QuietHours::FromText(text);
    if (!hours)
        return {.Problem = u"Quiet hours are two times, such as 22:00-06:30, or off."_s};
    SetQuietHours(*hours);
    return {.Text = hours->AreAny() ? u"The queues start no jobs in the quiet hours, %1."_s.arg(hours->Text())
                                    : u"There are no quiet hours."_s};
}

Taskmill_WaitingJobs::Outcome Taskmill_StartRules::SetPriorityFrom(const QString &text)
{
    const bool isLow = text.trimmed().compare("low"_L1, Qt::CaseInsensitive) == 0;
    if (!isLow && text.trimmed().compare("normal"_L1, Qt::CaseInsensitive) != 0)
        return {.Problem = u"The priority of jobs is low or normal."_s};
    SetJobsLowPriority(isLow);
    return {.Text = isLow ? u"Jobs that start from now on have low priority."_s
                          : u"Jobs that start from now on have normal priority."_s};
}

Taskmill_OtherJob Taskmill_StartRules::StateOfFinished(int jobID)
{
    // Nothing but a removal changes them.
    if (std::exchange(m_generation, m_finishedJobs->Generation()) != m_finishedJobs->Generation())
        m_ended.clear();
    if (const auto known = m_ended.constFind(jobID); known != m_ended.constEnd())
        return *known;
    const qsizetype position = m_finishedJobs->PositionOf(jobID);
    if (position < 0)
        return Taskmill_OtherJob::Gone;
    if (m_finishedJobs->IsResultAwaited(position))
        return Taskmill_OtherJob::IsJudged;
    const Taskmill_JobRecord &job = m_finishedJobs->JobAt(position);
    Taskmill_OtherJob state = Taskmill_OtherJob::EndedWell;
    if (job.Status == Taskmill_JobStatus::Killed)
        state = Taskmill_OtherJob::Killed;
    else if (job.HasFailed())
        state = Taskmill_OtherJob::Failed;
    m_ended.insert(jobID, state);
    return state;
}

Taskmill_OtherJob Taskmill_StartRules::StateOf(int jobID)
{
    const Taskmill_QueueOwner *owner = m_destinations->OwnerOfJob(jobID);
    if (!owner)
        return StateOfFinished(jobID);
    switch (owner->Jobs().FindByJobID(jobID)->Status()) {
    case Taskmill_JobStatus::Pending:
        return Taskmill_OtherJob::Waits;
    case Taskmill_JobStatus::Running:
        return Taskmill_OtherJob::Runs;
    default:
        // It has ended, and is about to be among the finished ones.
        return Taskmill_OtherJob::IsJudged;
    }
}

void Taskmill_StartRules::Judge(Taskmill_Job &job)
{
    const Taskmill_StartConditions &conditions = job.Record().Conditions;
    Taskmill_StartFacts facts{.Now = m_clock(), .AfterJob = Taskmill_OtherJob::Waits};
    // While a project is read the other job may not be there yet.
    if (conditions.AfterJobID != 0 && m_destinations)
        facts.AfterJob = m_awaited[conditions.AfterJobID] = StateOf(conditions.AfterJobID);
    const QString reason = job.IsHeld() ? ReasonOfRun(job) : Taskmill_ReasonToWait(conditions, facts);
    job.SetMayStart(reason.isEmpty());
    job.SetWaitReason(reason.isEmpty() ? Taskmill_WaitReason{} : Taskmill_WaitReason::InWords(reason));
    if (!m_soon.isActive())
        m_soon.start(0);
}

QString Taskmill_StartRules::ReadConditions(const Taskmill_JobRequest &request,
                                            Taskmill_StartConditions &conditions)
{
    if (!request.NotBefore.isEmpty()) {
        conditions.NotBefore = Taskmill_StartTimeFromText(request.NotBefore, m_clock());
        if (!conditions.NotBefore.isValid())
            return u"this is no time: %1; %2"_s.arg(request.NotBefore, Taskmill_StartTimeForms);
    }
    if (!request.AfterJob.isEmpty()) {
        conditions.AfterJobID = request.AfterJob.toInt();
        if (StateOf(conditions.AfterJobID) == Taskmill_OtherJob::Gone)
            return u"there is no job %1 to wait for"_s.arg(request.AfterJob);
    }
    return {};
}

void Taskmill_StartRules::JobsChangedSlot()
{
    if (AreAnyConditional())
        m_soon.start(0);
}

bool Taskmill_StartRules::AreAnyConditional() const
{
    return m_destinations && std::ranges::any_of(m_destinations->All(), [](const Taskmill_QueueOwner *owner) {
               return owner->Jobs().AreAnyConditional();
           });
}

/// Only what has become of the jobs that others wait for can have changed something.
void Taskmill_StartRules::LookForEnds()
{
    if (!m_destinations)
        return;
    bool isAnyOther = false;
    for (auto awaited = m_awaited.begin(); awaited != m_awaited.end() && !isAnyOther; ++awaited)
        isAnyOther = *awaited != StateOf(awaited.key());
    if (isAnyOther)
        LookAgain();
    else
        SetTimer();
}

void Taskmill_StartRules::LookAgain()
{
    if (!m_destinations)
        return;
    m_awaited.clear();
    for (const Taskmill_QueueOwner *owner : m_destinations->All()) {
        const QList<Taskmill_Job *> jobs = owner->Jobs().ConditionalJobs();
        for (Taskmill_Job *job : jobs)
            Judge(*job);
    }
    Satisfy();
    for (Taskmill_QueueOwner *owner : m_destinations->All()) {
        owner->Jobs().LookAgain();
        Q_EMIT owner->JobsChangedSignal();
    }
    m_soon.stop();
    SetTimer();
}

/// A job that has ended well does not count any more, even when it is removed from the history before the
/// other one starts.
void Taskmill_StartRules::Satisfy()
{
    for (Taskmill_QueueOwner *owner : m_destinations->All()) {
        QList<int> satisfied;
        const QList<Taskmill_Job *> jobs = owner->Jobs().ConditionalJobs();
        for (const Taskmill_Job *job : jobs) {
            const int other = job->Record().Conditions.AfterJobID;
            if (other != 0 && m_awaited.value(other) == Taskmill_OtherJob::EndedWell)
                satisfied.append(job->JobID());
        }
        // Where that cannot be stored, it is tried with the next look.
        if (!satisfied.isEmpty())
            (void)owner->ChangeConditions(
                satisfied, [](Taskmill_StartConditions &conditions) { conditions.AfterJobID = 0; });
    }
}

void Taskmill_StartRules::SetTimer()
{
    const Taskmill_JobTime now = m_clock();
    bool isAnyToCome = m_quietHours.AreAny();
    qint64 msecs = longestWait.count();
    for (const Taskmill_QueueOwner *owner : m_destinations->All()) {
        const QList<Taskmill_Job *> jobs = owner->Jobs().ConditionalJobs();
        for (const Taskmill_Job *job : jobs) {
            const Taskmill_JobTime &time = job->Record().Conditions.NotBefore;
            if (!time.isValid() || time <= now)
                continue;
            isAnyToCome = true;
            msecs = std::min(msecs, now.ClockTime().msecsTo(time.ClockTime()));
        }
    }
    if (isAnyToCome)
        m_timer.start(static_cast<int>(msecs));
    else
        m_timer.stop();
}
