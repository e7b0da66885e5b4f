// SPDX-License-Identifier: MIT
#include "manager/waitingjobs.h"

#include "manager/destinations.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {
/// Such as "Job 7 was moved up.", or "3 jobs were moved up."
QString DoneText(const QList<int> &jobIDs, const QString &what)
{
    return jobIDs.size() == 1
               ? u"Job %1 %2."_s.arg(QString::number(jobIDs.first()), what)
               : u"%1 jobs %2."_s.arg(QString::number(jobIDs.size()), QString{what}
                                                                          .replace("was "_L1, "were "_L1)
                                                                          .replace("is "_L1, "are "_L1)
                                                                          .replace("waits"_L1, "wait"_L1));
}

QString MovedText(Taskmill_Move move)
{
    switch (move) {
    case Taskmill_Move::Up:
        return u"was moved up"_s;
    case Taskmill_Move::Down:
        return u"was moved down"_s;
    case Taskmill_Move::Top:
        return u"was moved to the top"_s;
    case Taskmill_Move::Bottom:
        break;
    }
    return u"was moved to the bottom"_s;
}
} // namespace

QList<int> Taskmill_WaitingJobs::NumbersFromText(const QString &text)
{
    QList<int> numbers;
    const QStringList words = QString{text}.replace(u',', u' ').split(u' ', Qt::SkipEmptyParts);
    for (const QString &word : words) {
        bool isNumber = false;
        const int number = word.toInt(&isNumber);
        if (!isNumber)
            return {};
        if (!numbers.contains(number))
            numbers.append(number);
    }
    return numbers;
}

const Taskmill_Job *Taskmill_WaitingJobs::WaitingJob(int jobID) const
{
    const Taskmill_QueueOwner *owner = m_destinations.OwnerOfJob(jobID);
    return owner ? owner->Jobs().FindByJobID(jobID) : nullptr;
}

/// Empty when all of them wait.
QString Taskmill_WaitingJobs::ProblemOf(const QList<int> &jobIDs)
{
    if (jobIDs.isEmpty())
        return u"No job is named."_s;
    for (const int jobID : jobIDs) {
        const Taskmill_Job *job = WaitingJob(jobID);
        if (!job)
            return u"There is no waiting job %1."_s.arg(jobID);
        if (job->Status() != Taskmill_JobStatus::Pending)
            return u"Job %1 does not wait any more."_s.arg(jobID);
        if (job->IsHeld())
            return u"Job %1 waits since the project was opened; \"run job\" lets it run again."_s.arg(jobID);
    }
    return {};
}

Taskmill_WaitingJobs::Outcome Taskmill_WaitingJobs::Move(const QList<int> &jobIDs, Taskmill_Move move)
{
    if (const QString problem = ProblemOf(jobIDs); !problem.isEmpty())
        return {.Problem = problem};
    Taskmill_QueueOwner &owner = *m_destinations.OwnerOfJob(jobIDs.first());
    const auto isElsewhere = [&owner](int jobID) {
        return owner.Jobs().FindByJobID(jobID) == nullptr;
    };
    if (std::ranges::any_of(jobIDs, isElsewhere))
        return {.Problem = u"The jobs are not all in the same queue."_s};
    if (const std::optional<QString> problem = owner.Move(jobIDs, move))
        return {.Problem = *problem};
    return {.Text = DoneText(jobIDs, MovedText(move))};
}

Taskmill_WaitingJobs::Outcome Taskmill_WaitingJobs::SetConditions(const QList<int> &jobIDs,
                                                                  const Taskmill_StartConditions &wanted,
                                                                  Change change, const QString &done)
{
    if (const QString problem = ProblemOf(jobIDs); !problem.isEmpty())
        return {.Problem = problem};
    for (Taskmill_QueueOwner *owner : m_destinations.All()) {
        const auto set = [&](Taskmill_StartConditions &conditions) {
            change(conditions, wanted);
        };
        if (const std::optional<QString> problem = owner->ChangeConditions(jobIDs, set))
            return {.Problem = *problem};
    }
    return {.Text = DoneText(jobIDs, done)};
}

Taskmill_WaitingJobs::Outcome Taskmill_WaitingJobs::Hold(const QList<int> &jobIDs)
{
    return SetConditions(
        jobIDs, {}, [](auto &conditions, const auto &) { conditions.IsHeld = true; }, u"is held"_s);
}

Taskmill_WaitingJobs::Outcome Taskmill_WaitingJobs::Release(const QList<int> &jobIDs)
{
    if (const QString problem = ProblemOf(jobIDs); !problem.isEmpty())
        return {.Problem = problem};
    QList<int> bound = jobIDs;
    bound.removeIf([this](int jobID) { return !CanBeReleased(*WaitingJob(jobID)); });
    if (bound.isEmpty())
        return {.Problem = WhyNotReleased(jobIDs)};
    Outcome outcome = SetConditions(
        bound, {}, [](auto &conditions, const auto &) { conditions = {}; }, u"was released"_s);
    if (!outcome.Problem.isEmpty())
        return outcome;
    for (Taskmill_QueueOwner *owner : m_destinations.All()) {
        for (const int jobID : bound) {
            Taskmill_Job *job = owner->Jobs().FindByJobID(jobID);
            if (job && job->Status() == Taskmill_JobStatus::Pending && job->IsHeldForFiles())
                owner->Jobs().IgnoreFilesOf(*job);
        }
        owner->Jobs().LookAgain();
    }
    return outcome;
}

bool Taskmill_WaitingJobs::CanBeReleased(const Taskmill_Job &job)
{
    return job.Record().Conditions.AreAny() || (job.IsHeldForFiles() && !job.IsHeldForWriter());
}

QString Taskmill_WaitingJobs::WhyNotReleased(const QList<int> &jobIDs)
{
    if (jobIDs.size() > 1)
        return u"None of these jobs is held."_s;
    const Taskmill_Job *job = WaitingJob(jobIDs.first());
    return job->IsHeldForWriter() ? u"Job %1 cannot be released: it %2."_s.arg(QString::number(job->JobID()),
                                                                               job->Record().WhyItWaits())
                                  : u"Job %1 is not held."_s.arg(job->JobID());
}

Taskmill_WaitingJobs::Outcome Taskmill_WaitingJobs::NotBefore(const QList<int> &jobIDs,
                                                              const QString &timeText)
{
    const Taskmill_JobTime now = Taskmill_JobTime::Now();
    const Taskmill_JobTime time = Taskmill_StartTimeFromText(timeText, now);
    if (!time.isValid())
        return {.Problem = u"This is no time: %1; %2."_s.arg(timeText, Taskmill_StartTimeForms)};
    const QString text = time.Text(u"yyyy-MM-dd hh:mm");
    return SetConditions(
        jobIDs, {.NotBefore = time},
        [](auto &conditions, const auto &wanted) { conditions.NotBefore = wanted.NotBefore; },
        time <= now ? u"may start from %1 on, which has passed"_s.arg(text)
                    : u"is not started before "_s + text);
}

/// Whether the job, or one that it waits for, waits for one of these or is one of them.
bool Taskmill_WaitingJobs::WaitsFor(int jobID, const QList<int> &jobIDs)
{
    QList<int> seen;
    while (jobID != 0 && !seen.contains(jobID)) {
        if (jobIDs.contains(jobID))
            return true;
        seen.append(jobID);
        const Taskmill_QueueOwner *owner = m_destinations.OwnerOfJob(jobID);
        jobID = owner ? owner->Jobs().FindByJobID(jobID)->Record().Conditions.AfterJobID : 0;
    }
    return false;
}

Taskmill_WaitingJobs::Outcome Taskmill_WaitingJobs::StartLater(const QList<int> &jobIDs,
                                                               const Taskmill_StartConditions &wanted)
{
    if (WaitsFor(wanted.AfterJobID, jobIDs))
        return {.Problem =
                    u"Job %1 cannot be waited for: it would wait for itself."_s.arg(wanted.AfterJobID)};
    return SetConditions(
        jobIDs, wanted,
        [](auto &conditions, const auto &given) {
            conditions.NotBefore = given.NotBefore;
            conditions.AfterJobID = given.AfterJobID;
        },
        u"was given another start"_s);
}

Taskmill_WaitingJobs::Outcome Taskmill_WaitingJobs::After(const QList<int> &jobIDs, int otherJobID)
{
    if (!m_destinations.OwnerOfJob(otherJobID))
        return {.Problem = u"There is no job %1 to wait for."_s.arg(otherJobID)};
    if (WaitsFor(otherJobID, jobIDs))
        return {.Problem = u"Job %1 cannot be waited for: it would wait for itself."_s.arg(otherJobID)};
    return SetConditions(
        jobIDs, {.AfterJobID = otherJobID},
        [](auto &conditions, const auto &wanted) { conditions.AfterJobID = wanted.AfterJobID; },
        u"waits for the end of job %1"_s.arg(otherJobID));
}
