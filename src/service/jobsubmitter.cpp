#include "service/jobsubmitter.h"

#include "jobs/job.h"
#include "jobs/jobstore.h"
#include "jobs/runmode.h"
#include "kilnutil/computerdata.h"
#include "kilnutil/error.h"
#include "kilnutil/idmanager.h"
#include "service/queueowner.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {
/// Empty stays empty; the manager's current directory may change before the job runs.
QString AbsolutePath(const QString &path)
{
    return path.isEmpty() ? path : QDir::cleanPath(QFileInfo{path}.absoluteFilePath());
}

Taskmill_Destination DestinationOf(const QString &queueName, const Taskmill_JobType &jobType)
{
    const Taskmill_QueueKey requested = Taskmill_QueueKeyFromName(queueName);
    return Taskmill_DestinationFromQueueKey(requested == Taskmill_QueueKey::None ? jobType.DefaultQueueIndex()
                                                                                 : requested);
}

Taskmill_JobType JobTypeNamed(const QList<Taskmill_JobType> &jobTypes, const QString &name)
{
    const auto named = std::ranges::find_if(jobTypes, [&name](const Taskmill_JobType &jobType) {
        return jobType.Name.compare(name, Qt::CaseInsensitive) == 0;
    });
    return named == jobTypes.end() ? Taskmill_JobType{} : *named;
}

/// An empty record when there is none.
Taskmill_JobType JobTypeWithID(const QList<Taskmill_JobType> &jobTypes, int jobTypeID)
{
    const auto found = std::ranges::find(jobTypes, jobTypeID, &Taskmill_JobType::JobTypeID);
    return found == jobTypes.end() ? Taskmill_JobType{} : *found;
}

/// A job whose client is the manager itself, which needs no notification.
Taskmill_JobRecord JobOfThisUser(const Taskmill_JobType &jobType, const QString &inputFile)
{
    Taskmill_JobRecord job;
    job.JobType = jobType;
    job.ClientName = KilnUtil_ComputerData::HostName();
    job.ClientAppName = Taskmill_ServerName();
    job.ClientAddress = u"127.0.0.1"_s;
    job.ClientPort = Taskmill_IsConsoleMode() ? KilnUtil_ComputerData::TaskmillConsolePortNumber()
                                              : KilnUtil_ComputerData::TaskmillGUIPortNumber();
    job.ClientUID = KilnUtil_ComputerData::UID();
    job.ClientGID = KilnUtil_ComputerData::GID();
    job.InputFilePath = inputFile;
    return job;
}

/// The program opens its output and checkpoint files itself, seen from its own directory; the others are
/// opened here.
void SetExtraFiles(Taskmill_JobRecord &job, const Taskmill_RequestMessage &request)
{
    job.StandardInputFile = AbsolutePath(request.JobStandardInputFile);
    job.OutputFile = request.JobOutputFile;
    job.StandardOutputFile = AbsolutePath(request.JobStandardOutputFile);
    job.CheckpointFile = request.JobChkFile;
    job.CheckpointFile2 = request.JobChkFile1;
}
} // namespace

Taskmill_JobSubmitter::Taskmill_JobSubmitter(Taskmill_JobStore &store, KilnUtil_IDManager &jobNumbers,
                                             const Taskmill_JobTabs &tabs)
    : m_store{store}
    , m_jobNumbers{jobNumbers}
    , m_tabs{tabs}
{
}

Taskmill_SubmitResult Taskmill_JobSubmitter::Submit(const Taskmill_RequestMessage &request)
{
    Choice choice{.jobType = {}, .confirm = request.ConfirmAction};
    if (!ChooseJobType(request, choice))
        return {.JobIDs = {}, .Refusal = u"no job type was chosen for %1"_s.arg(request.JobInputFile)};
    if (choice.jobType.UsesInputFile() && !QFileInfo::exists(request.JobInputFile))
        return {.JobIDs = {}, .Refusal = u"the input file does not exist: %1"_s.arg(request.JobInputFile)};

    const Taskmill_Destination destination = DestinationOf(request.JobQueue, choice.jobType);
    Taskmill_SubmitResult result;
    if (choice.confirm && Taskmill_IsGuiMode())
        SubmitConfirmed(request, choice.jobType, destination, result);
    else if (choice.jobType.IsEmpty())
        result.Refusal = u"no job type is named"_s;
    else
        MakeJob(request, choice.jobType, destination, AbsolutePath(request.JobInputFile), result);
    if (result.JobIDs.isEmpty() && result.Refusal.isEmpty())
        result.Refusal = u"no file was chosen that can be submitted"_s;
    return result;
}

bool Taskmill_JobSubmitter::ChooseJobType(const Taskmill_RequestMessage &request, Choice &choice) const
{
    if (request.JobTypeName.isEmpty())
        return true;
    const QList<Taskmill_JobType> jobTypes = m_store.GetJobTypes();
    choice.jobType = JobTypeNamed(jobTypes, request.JobTypeName);
    if (!choice.jobType.IsEmpty())
        return true;

    // A type that was found by other means than its name is shown to the user before anything runs.
    choice.confirm = true;
    choice.jobType = Taskmill_JobTypeForFile(jobTypes, request.JobInputFile);
    if (!choice.jobType.IsEmpty())
        return true;
    const auto asked = AskForJobType(u"Auto determination of Job Type was attempted"_s, request.JobInputFile);
    choice.jobType = asked.value_or(Taskmill_JobType{});
    return asked.has_value();
}

std::optional<Taskmill_JobType> Taskmill_JobSubmitter::AskForJobType(const QString &labelBegin,
                                                                     const QString &inputFile) const
{
    const QList<Taskmill_JobType> jobTypes = m_store.GetJobTypes();
    QStringList items{u"None"_s};
    for (const Taskmill_JobType &jobType : jobTypes)
        items += jobType.Name;
    const QString label =
        labelBegin +
        u" but an appropriate Job Type for the\nfollowing input file cannot be determined from its extension:\n\n"_s +
        inputFile +
        u"\n\nPlease select a Job Type for this input file or select None to skip this input file.\n"_s;
    const auto chosen = KilnUtil_Error::UserPrompt().ChooseFromList(u"Submit Job, Select Job Type"_s, label,
                                                                    items, u"None"_s);
    if (!chosen || *chosen == "None"_L1)
        return std::nullopt;
    // Names may differ in case alone, so the exact one counts.
    const auto named = std::ranges::find(jobTypes, *chosen, &Taskmill_JobType::Name);
    return named == jobTypes.end() || named->IsEmpty() ? std::nullopt : std::optional{*named};
}

std::optional<Taskmill_JobType> Taskmill_JobSubmitter::JobTypeOfFile(int jobTypeID,
                                                                     const QString &inputFile) const
{
    const QList<Taskmill_JobType> jobTypes = m_store.GetJobTypes();
    if (jobTypeID >= 0) {
        Taskmill_JobType chosen = JobTypeWithID(jobTypes, jobTypeID);
        return chosen.IsEmpty() ? std::nullopt : std::optional{std::move(chosen)};
    }
    Taskmill_JobType matching = Taskmill_JobTypeForFile(jobTypes, inputFile);
    if (!matching.IsEmpty())
        return matching;
    return AskForJobType(u"Auto determination of Job Type was requested"_s, inputFile);
}

void Taskmill_JobSubmitter::SubmitConfirmed(const Taskmill_RequestMessage &request,
                                            const Taskmill_JobType &jobType, Taskmill_Destination destination,
                                            Taskmill_SubmitResult &result)
{
    const Taskmill_SubmitChoice preset{.Files = {request.JobInputFile},
                                       .Destination = destination,
                                       .JobTypeID = jobType.IsEmpty() ? -1 : jobType.JobTypeID};
    const auto chosen = m_dialog ? m_dialog->AskForJobs(u"Job Input Files"_s, preset) : std::nullopt;
    if (!chosen) {
        result.Refusal = u"the submission was not confirmed"_s;
        return;
    }
    for (const QString &file : chosen->Files) {
        if (!QFileInfo::exists(file))
            continue;
        const auto fileType = JobTypeOfFile(chosen->JobTypeID, file);
        if (!fileType)
            continue;
        const Taskmill_Destination fileDestination =
            chosen->Destination == Taskmill_Destination::JobTypeDefault
                ? Taskmill_DestinationFromQueueKey(fileType->DefaultQueueIndex())
                : chosen->Destination;
        MakeJob(request, *fileType, fileDestination, AbsolutePath(file), result);
    }
}

void Taskmill_JobSubmitter::MakeJob(const Taskmill_RequestMessage &request, const Taskmill_JobType &jobType,
                                    Taskmill_Destination destination, const QString &inputFile,
                                    Taskmill_SubmitResult &result)
{
    Taskmill_JobRecord job;
    job.JobID = m_jobNumbers.NewID();
    job.Name = !request.JobName.isEmpty() ? request.JobName : QFileInfo{inputFile}.fileName();
    if (job.Name.isEmpty())
        job.Name = QString::number(job.JobID);
    job.JobType = jobType;
    job.ClientName = request.ClientName;
    job.ClientAppName = request.ClientAppName;
    job.ClientAddress = request.ClientAddress;
    job.ClientPort = request.ClientPort;
    job.ClientUID = request.ClientUID;
    job.ClientGID = request.ClientGID;
    job.ClientNotification = request.ClientNotification.value_or(false);
    job.RunNumber = static_cast<int>(destination);
    job.QueueName = Taskmill_QueueNameOfNewJob(destination);
    job.InputFilePath = inputFile;
    job.InputFilePath2 = AbsolutePath(request.JobInputFile2);
    if (inputFile == AbsolutePath(request.JobInputFile))
        SetExtraFiles(job, request);
    job.PlaceholderValues = request.PlaceholderValues;

    Taskmill_QueueOwner *owner = m_tabs.OwnerOf(destination);
    if (!owner) {
        result.Refusal = u"the job type %1 has no queue"_s.arg(jobType.Name);
    } else if (!job.IsValid()) {
        result.Refusal =
            u"the job type %1 or the input file %2 cannot be used"_s.arg(jobType.Name, inputFile);
    } else {
        result.JobIDs.append(job.JobID);
        owner->Submit(new Taskmill_Job{std::move(job)});
    }
}

std::optional<int> Taskmill_JobSubmitter::AddFile(const QString &filePath, int jobTypeID,
                                                  Taskmill_Destination destination)
{
    if (filePath.isEmpty() || !QFileInfo::exists(filePath) || filePath.trimmed().isEmpty())
        return std::nullopt;
    const QString path = QDir::toNativeSeparators(AbsolutePath(filePath.trimmed()));
    const QList<Taskmill_JobType> jobTypes = m_store.GetJobTypes();
    Taskmill_QueueOwner *owner = m_tabs.OwnerOf(destination);
    if (jobTypes.isEmpty() || !owner)
        return std::nullopt;

    const Taskmill_JobType jobType =
        jobTypeID < 0 ? Taskmill_JobTypeForFile(jobTypes, path) : JobTypeWithID(jobTypes, jobTypeID);
    if (!jobType.IsValid()) {
        if (Taskmill_IsGuiMode())
            KilnUtil_Error::ReportError(u"Invalid Job Type"_s,
                                        u"Job Type %1 is invalid."_s.arg(jobType.Name));
        return std::nullopt;
    }
    Taskmill_JobRecord job = JobOfThisUser(jobType, path);
    job.JobID = m_jobNumbers.NewID();
    job.Name = QFileInfo{path}.fileName();
    if (job.Name.isEmpty())
        job.Name = QString::number(job.JobID);
    job.RunNumber = static_cast<int>(destination);
    job.QueueName = Taskmill_QueueNameOfNewJob(destination);
    if (!job.IsValid())
        return std::nullopt;
    const int jobID = job.JobID;
    owner->Submit(new Taskmill_Job{std::move(job)});
    return jobID;
}
