// SPDX-License-Identifier: MIT
#include "console/consoleactions.h"

#include "jobs/queuelessjobslist.h"
#include "manager/budget.h"
#include "manager/jobtext.h"
#include "manager/listings.h"
#include "manager/manager.h"

#include <utility>

using namespace Qt::Literals::StringLiterals;

Taskmill_ConsoleActions::Taskmill_ConsoleActions(Taskmill_ConsoleContext context)
    : m_context{std::move(context)}
{
}

QString Taskmill_ConsoleActions::QueueListing(Taskmill_Destination destination, int width) const
{
    return m_context.Manager.Destinations().OwnerOf(destination)->ListingText(width);
}

QString Taskmill_ConsoleActions::FinishedListing(int width) const
{
    return m_context.Manager.FinishedJobs().ListingText(width);
}

Taskmill_RunningJobs::Reading Taskmill_ConsoleActions::ProcessReading(bool onlyKnownJobTypes) const
{
    m_context.Manager.RunningJobs().SetOnlyShowKnownJobTypes(onlyKnownJobTypes);
    return m_context.Manager.RunningJobs().PrepareReading();
}

QString Taskmill_ConsoleActions::ProcessListing(const QList<Taskmill_ProcessRecord> &processes,
                                                int width) const
{
    return m_context.Manager.RunningJobs().ListingText(processes, width);
}

QString Taskmill_ConsoleActions::JobTypeListing(int width) const
{
    m_context.Manager.JobTypes().Refresh();
    QList<QStringList> rows;
    const QList<Taskmill_JobType> jobTypes = m_context.Manager.JobTypes().GetAll();
    for (const Taskmill_JobType &jobType : jobTypes)
        rows.append(Taskmill_Listings::JobTypes().Row(jobType));
    return Taskmill_Listings::JobTypes().Listing(u"Job Types"_s, u"Job Types List"_s, rows, width);
}

QString Taskmill_ConsoleActions::JobText(int jobID) const
{
    const std::optional<Taskmill_JobRecord> job = m_context.Manager.FindJobWithOutput(jobID);
    if (!job)
        return u"\n<Taskmill> There is no job %1.\n\n"_s.arg(jobID);
    return u'\n' + Taskmill_JobText(*job, job->StdOutAndStdErr) + u'\n';
}

QStringList Taskmill_ConsoleActions::JobTypeNames() const
{
    m_context.Manager.JobTypes().Refresh();
    return m_context.Manager.JobTypes().Names();
}

Taskmill_JobType Taskmill_ConsoleActions::FindJobType(const QString &nameOrNumber) const
{
    m_context.Manager.JobTypes().Refresh();
    const QList<Taskmill_JobType> jobTypes = m_context.Manager.JobTypes().GetAll();
    const Taskmill_JobType named = Taskmill_JobTypeNamed(jobTypes, nameOrNumber);
    bool isNumber = false;
    const int number = nameOrNumber.toInt(&isNumber);
    return named.IsEmpty() && isNumber ? Taskmill_JobTypeWithID(jobTypes, number) : named;
}

QString Taskmill_ConsoleActions::AddFile(const QString &filePath, const Taskmill_JobType &jobType,
                                         Taskmill_Destination destination) const
{
    const std::optional<int> jobID =
        m_context.Manager.Submitter().AddFile(filePath, jobType.JobTypeID, destination);
    if (!jobID)
        return u"\n<Taskmill> The job type %1 cannot run %2.\n\n"_s.arg(jobType.Name, filePath);
    const Taskmill_JobQueue *queue = m_context.Manager.Destinations().OwnerOf(destination)->Queue();
    const QString listName = m_context.Manager.Destinations().OwnerOf(destination)->ListName();
    return u"\n<Taskmill> Job %1 was added to the %2%3.\n\n"_s.arg(
        QString::number(*jobID), listName, queue && queue->IsPaused() ? u", which is paused"_s : QString{});
}

Taskmill_Destinations &Taskmill_ConsoleActions::Destinations() const
{
    return m_context.Manager.Destinations();
}

Taskmill_Project &Taskmill_ConsoleActions::Project() const
{
    return m_context.Manager.Project();
}

QString Taskmill_ConsoleActions::SetPaused(Taskmill_Destination queue, bool paused) const
{
    m_context.Manager.Destinations().OwnerOf(queue)->Queue()->SetPaused(paused);
    const QString listName = m_context.Manager.Destinations().OwnerOf(queue)->ListName();
    return paused ? u"\n<Taskmill> The %1 is paused.\n\n"_s.arg(listName)
                  : u"\n<Taskmill> The %1 is no longer paused.\n\n"_s.arg(listName);
}

QString Taskmill_ConsoleActions::PauseWhenEnded(Taskmill_Destination queue) const
{
    Taskmill_QueueOwner &owner = *m_context.Manager.Destinations().OwnerOf(queue);
    return u"\n<Taskmill> "_s + owner.PauseWhenJobsHaveEnded() + u"\n\n"_s;
}

QString Taskmill_ConsoleActions::SetQuietHours(const QString &text) const
{
    const auto said = m_context.Manager.StartRules().SetQuietHoursFrom(text);
    return u"\n<Taskmill> "_s + said.Problem + said.Text + u"\n\n"_s;
}

QString Taskmill_ConsoleActions::SetPriority(const QString &text) const
{
    const auto said = m_context.Manager.StartRules().SetPriorityFrom(text);
    return u"\n<Taskmill> "_s + said.Problem + said.Text + u"\n\n"_s;
}

QString Taskmill_ConsoleActions::SetLimit(Taskmill_Destination queue, int maxRunningJobs) const
{
    Taskmill_QueueOwner &owner = *m_context.Manager.Destinations().OwnerOf(queue);
    if (const std::optional<QString> problem = owner.SetLimit(maxRunningJobs))
        return u"\n<Taskmill> "_s + *problem + u"\n\n"_s;
    return u"\n<Taskmill> The %1 runs at most %2 jobs at a time.\n\n"_s.arg(owner.ListName(),
                                                                            QString::number(maxRunningJobs));
}

QString Taskmill_ConsoleActions::BudgetText() const
{
    return u"\n<Taskmill> "_s + Taskmill_BudgetText(m_context.Manager.Destinations().Budget()) + u"\n\n"_s;
}

QString Taskmill_ConsoleActions::SetBudget(const Taskmill_BudgetLimits &limits) const
{
    Taskmill_SetBudget(m_context.Manager.Destinations().Budget(), limits);
    return BudgetText();
}

QString Taskmill_ConsoleActions::RunHeldJobs() const
{
    return ReleasedText(Destinations().Release(Destinations().HeldJobIDs()));
}

QString Taskmill_ConsoleActions::ReleasedText(int count)
{
    if (count == 0)
        return u"\n<Taskmill> No job is held back.\n\n"_s;
    return count == 1 ? u"\n<Taskmill> 1 job runs again.\n\n"_s
                      : u"\n<Taskmill> %1 jobs run again.\n\n"_s.arg(count);
}

QString Taskmill_ConsoleActions::RunHeldJob(int jobID) const
{
    if (Destinations().Release({jobID}) == 0)
        return u"\n<Taskmill> Job %1 is not held back.\n\n"_s.arg(jobID);
    const Taskmill_QueueOwner *owner = Destinations().OwnerOfJob(jobID);
    const Taskmill_Job *job = owner ? owner->Jobs().FindByJobID(jobID) : nullptr;
    return (job && job->Status() == Taskmill_JobStatus::Pending
                ? u"\n<Taskmill> Job %1 is no longer held back, and waits for its turn.\n\n"_s
                : u"\n<Taskmill> Job %1 runs again.\n\n"_s)
        .arg(jobID);
}

bool Taskmill_ConsoleActions::HasKeepers() const
{
    return m_context.Manager.HasKeepers();
}

void Taskmill_ConsoleActions::Exit(Taskmill_Ending ending) const
{
    m_context.Manager.SetEnding(ending);
    m_context.Exit();
}

Taskmill_QueueOwner *Taskmill_ConsoleActions::OwnerOfJob(int jobID) const
{
    return m_context.Manager.Destinations().OwnerOfJob(jobID);
}

std::optional<Taskmill_JobRecord> Taskmill_ConsoleActions::FindRecord(int jobID) const
{
    return m_context.Manager.FindJob(jobID);
}
