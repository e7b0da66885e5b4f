// SPDX-License-Identifier: MIT
#include "console/consoleactions.h"

#include "jobs/queuelessjobslist.h"
#include "manager/listings.h"
#include "manager/manager.h"
#include "manager/timetext.h"

#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
QString PlaceholderText(const Taskmill_PlaceholderValues &values)
{
    QStringList texts;
    for (const auto &[name, value] : values)
        texts += name + u'=' + value;
    return texts.join(u", "_s);
}

/// Every field of a job with the name under which it is shown.
QList<std::pair<QString, QString>> FieldsOf(const Taskmill_JobRecord &job)
{
    return {
        {u"Job ID"_s, QString::number(job.JobID)},
        {u"Name"_s, job.Name},
        {u"Status"_s, Taskmill_JobStatusText(job.Status)},
        {u"Job Type"_s, job.JobType.Name},
        {u"Queue"_s, job.QueueName},
        {u"Job Class"_s, job.JobClass},
        {u"Executable Path"_s, job.JobType.ExecutablePath},
        {u"Command Line"_s, job.CommandLine()},
        {u"Input File"_s, job.InputFilePath},
        {u"Second Input File"_s, job.InputFilePath2},
        {u"Output File"_s, job.OutputFile},
        {u"Standard Input File"_s, job.StandardInputFile},
        {u"Standard Output File"_s, job.StandardOutputFile},
        {u"Checkpoint File"_s, job.CheckpointFile},
        {u"Second Checkpoint File"_s, job.CheckpointFile2},
        {u"Placeholders"_s, PlaceholderText(job.PlaceholderValues)},
        {u"Submitted"_s, Taskmill_TimeText(job.Submitted)},
        {u"Started"_s, Taskmill_TimeText(job.Started)},
        {u"Finished"_s, Taskmill_TimeText(job.Finished)},
        {u"Client"_s, job.ClientName},
        {u"Client Application"_s, job.ClientAppName},
        {u"Client Address"_s, job.ClientAddress + u':' + QString::number(job.ClientPort)},
        {u"Client User and Group"_s, u"%1:%2"_s.arg(job.ClientUID).arg(job.ClientGID)},
        {u"Client Is Notified"_s, job.ClientNotification ? u"yes"_s : u"no"_s},
    };
}
} // namespace

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
        rows.append(Taskmill_Listings::JobTypeRow(jobType));
    return Taskmill_Listings::Text(u"\nJob Types\n"_s, u"\nJob Types List is Empty\n\n"_s,
                                   Taskmill_Listings::JobTypeHeaders(), rows, width);
}

QString Taskmill_ConsoleActions::JobText(int jobID) const
{
    if (Taskmill_QueueOwner *owner = OwnerOfJob(jobID))
        owner->Jobs().FindByJobID(jobID)->GatherOutput();
    const Taskmill_JobRecord *job = FindRecord(jobID);
    if (!job)
        return u"\n<Taskmill> There is no job %1.\n\n"_s.arg(jobID);

    const QList<std::pair<QString, QString>> fields = FieldsOf(*job);
    qsizetype width = 0;
    for (const auto &[name, value] : fields)
        width = qMax(width, name.size());
    QString text = u"\n"_s;
    for (const auto &[name, value] : fields) {
        // A value of several lines goes on below its first one.
        QString shown = value;
        shown.replace("\n"_L1, u'\n' + QString{width + 2, u' '});
        text += name.leftJustified(width) + u"  "_s + shown + u'\n';
    }
    text += u"\nstdout and stderr:\n"_s + m_context.Manager.FinishedJobs().OutputOf(*job);
    if (!text.endsWith(u'\n'))
        text += u'\n';
    return text + u'\n';
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
    for (const Taskmill_JobType &jobType : jobTypes) {
        if (jobType.Name.compare(nameOrNumber, Qt::CaseInsensitive) == 0)
            return jobType;
    }
    bool isNumber = false;
    const int number = nameOrNumber.toInt(&isNumber);
    const auto found = std::ranges::find(jobTypes, number, &Taskmill_JobType::JobTypeID);
    return isNumber && found != jobTypes.end() ? *found : Taskmill_JobType{};
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

QString Taskmill_ConsoleActions::SetLimit(Taskmill_Destination queue, int maxRunningJobs) const
{
    m_context.Manager.Destinations().OwnerOf(queue)->Queue()->SetMaxRunningJobs(maxRunningJobs);
    return u"\n<Taskmill> The %1 runs at most %2 jobs at a time.\n\n"_s.arg(
        m_context.Manager.Destinations().OwnerOf(queue)->ListName(), QString::number(maxRunningJobs));
}

Taskmill_QueuelessJobsList &Taskmill_ConsoleActions::QueuelessJobs() const
{
    return *m_context.Manager.Destinations().Queueless().List();
}

QString Taskmill_ConsoleActions::RunHeldJobs() const
{
    return ReleasedText(QueuelessJobs().Release(QueuelessJobs().HeldJobIDs()));
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
    return QueuelessJobs().Release({jobID}) > 0 ? u"\n<Taskmill> Job %1 runs again.\n\n"_s.arg(jobID)
                                                : u"\n<Taskmill> Job %1 is not held back.\n\n"_s.arg(jobID);
}

bool Taskmill_ConsoleActions::CanJobsGoOn() const
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

const Taskmill_JobRecord *Taskmill_ConsoleActions::FindRecord(int jobID) const
{
    if (Taskmill_QueueOwner *owner = OwnerOfJob(jobID))
        return &owner->Jobs().FindByJobID(jobID)->Record();
    const QList<Taskmill_JobRecord> &finished = m_context.Manager.FinishedJobs().Jobs();
    const auto job = std::ranges::find(finished, jobID, &Taskmill_JobRecord::JobID);
    return job == finished.end() ? nullptr : &*job;
}
