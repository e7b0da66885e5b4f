// SPDX-License-Identifier: MIT
#include "manager/jobsubmitter.h"

#include "jobs/job.h"
#include "jobs/jobstore.h"
#include "jobs/runmode.h"
#include "kilnutil/computerdata.h"
#include "kilnutil/error.h"
#include "kilnutil/idmanager.h"
#include "manager/destinations.h"
#include "manager/namelist.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {
const QString noJobType = u"None"_s;

/// No file has such a name, and Qt warns when it is asked for one.
bool HoldsNul(const QString &path)
{
    return path.contains(QChar::Null);
}

bool Exists(const QString &path)
{
    return !HoldsNul(path) && QFileInfo::exists(path);
}
const QString cannotBeStored =
    u"The job cannot be stored in the working copy of the project: its disk is full, or it cannot be written."_s;
const QString fileIsGone = u"The file is no longer there."_s;
const QString noTypeChosen = u"No job type was chosen."_s;

/// As a sentence for the user, what clients get as the end of a line.
QString AsSentence(const QString &reason)
{
    return reason.endsWith(u'.') ? reason : reason.first(1).toUpper() + reason.sliced(1) + u'.';
}

Taskmill_JobNeeds AskedIn(const Taskmill_JobRequest &request)
{
    Taskmill_JobNeeds needs;
    needs.Cores = Taskmill_CoresFromText(request.JobCores);
    needs.MemoryMB = Taskmill_MemoryFromText(request.JobMemory);
    return needs;
}

/// What is wrong with the numbers of the request; empty for nothing.
QString ProblemOfNeeds(const Taskmill_JobRequest &request)
{
    const Taskmill_JobNeeds asked = AskedIn(request);
    const QString problem = u"%1 is a number from 1 to %2: %3"_s;
    if (!asked.Cores && !request.JobCores.isEmpty())
        return problem.arg(u"jobcores"_s).arg(Taskmill_MostCores).arg(request.JobCores);
    if (!asked.MemoryMB && !request.JobMemory.isEmpty())
        return problem.arg(u"jobmemory"_s).arg(Taskmill_MostMemoryMB).arg(request.JobMemory);
    return {};
}

/// Empty stays empty; the manager's current directory may change before the job runs.
QString AbsolutePath(const QString &path)
{
    return path.isEmpty() || HoldsNul(path) ? path : QDir::cleanPath(QFileInfo{path}.absoluteFilePath());
}

Taskmill_Destination DestinationOf(const QString &queueName, const Taskmill_JobType &jobType)
{
    const Taskmill_QueueKey requested = Taskmill_QueueKeyFromName(queueName);
    return Taskmill_DestinationFromQueueKey(requested == Taskmill_QueueKey::None ? jobType.DefaultQueueIndex()
                                                                                 : requested);
}

Taskmill_SubmitResult Refused(const QString &reason)
{
    Taskmill_SubmitResult result;
    result.Refusal = reason;
    return result;
}

/// Names the job types that would do instead: those for such files or, when there is none, all.
QString NoSuchJobType(const QList<Taskmill_JobType> &jobTypes, const Taskmill_JobRequest &request)
{
    QStringList all;
    QStringList fitting;
    for (const Taskmill_JobType &jobType : jobTypes) {
        all += jobType.Name;
        if (jobType.MatchesFile(request.JobInputFile))
            fitting += jobType.Name;
    }
    const QString refusal = u"there is no job type \"%1\""_s.arg(request.JobTypeName);
    if (all.isEmpty())
        return refusal + u", nor any other"_s;
    return fitting.isEmpty() ? refusal + u"; there are: "_s + all.join(u", "_s)
                             : refusal + u"; for this file there are: "_s + fitting.join(u", "_s);
}

/// A job whose client is the manager itself, which needs no notification.
Taskmill_JobRecord JobOfThisUser(const Taskmill_JobType &jobType, const QString &inputFile)
{
    Taskmill_JobRecord job;
    job.JobType = jobType;
    job.ClientName = KilnUtil_ComputerData::HostName();
    job.ClientAppName = Taskmill_ServerName();
    job.ClientAddress = u"127.0.0.1"_s;
    job.ClientPort = Taskmill_ServerPort();
    job.ClientUID = KilnUtil_ComputerData::UID();
    job.ClientGID = KilnUtil_ComputerData::GID();
    job.InputFilePath = inputFile;
    return job;
}

/// The program opens its output and checkpoint files itself, seen from its own directory; the others are
/// opened here.
void SetExtraFiles(Taskmill_JobRecord &job, const Taskmill_JobRequest &request)
{
    job.StandardInputFile = AbsolutePath(request.JobStandardInputFile);
    job.OutputFile = request.JobOutputFile;
    job.StandardOutputFile = AbsolutePath(request.JobStandardOutputFile);
    job.CheckpointFile = request.JobChkFile;
    job.CheckpointFile2 = request.JobChkFile1;
}
} // namespace

Taskmill_JobSubmitter::Taskmill_JobSubmitter(Taskmill_JobStore &store, KilnUtil_IDManager &jobNumbers,
                                             Taskmill_Destinations &destinations)
    : m_store{store}
    , m_jobNumbers{jobNumbers}
    , m_destinations{destinations}
{
    m_waitingTimer.setSingleShot(true);
    QObject::connect(&m_waitingTimer, &QTimer::timeout, &m_waitingTimer, [this] { SubmitWaitingFiles(); });
}

Taskmill_SubmitResult Taskmill_JobSubmitter::Submit(const Taskmill_JobRequest &request)
{
    if (m_asking && WouldAsk(request))
        return Refused(u"the user is being asked about another job"_s);
    if (const QString problem = ProblemOfNeeds(request); !problem.isEmpty())
        return Refused(problem);
    if (request.ExactJobType) {
        const QList<Taskmill_JobType> jobTypes = m_store.GetJobTypes();
        if (Taskmill_JobTypeNamed(jobTypes, request.JobTypeName).IsEmpty())
            return Refused(NoSuchJobType(jobTypes, request));
    }
    Choice choice{.jobType = {}, .confirm = request.ConfirmAction};
    if (!ChooseJobType(request, choice))
        return Refused(u"no job type was chosen for %1"_s.arg(request.JobInputFile));
    if (choice.jobType.UsesInputFile() && !Exists(request.JobInputFile))
        return Refused(u"the input file does not exist: %1"_s.arg(request.JobInputFile));

    const Taskmill_Destination destination = DestinationOf(request.JobQueue, choice.jobType);
    Taskmill_SubmitResult result;
    if (choice.confirm && m_dialog)
        SubmitConfirmed(request, choice.jobType, destination, result);
    else if (choice.jobType.IsEmpty())
        result.Refusal = u"no job type is named"_s;
    else
        MakeJob(request, choice.jobType, destination, AbsolutePath(request.JobInputFile), AskedIn(request),
                result);
    if (result.JobIDs.isEmpty() && result.Refusal.isEmpty())
        result.Refusal = u"no file was chosen that can be submitted"_s;
    return result;
}

bool Taskmill_JobSubmitter::WouldAsk(const Taskmill_JobRequest &request) const
{
    const bool namesKnownType = !Taskmill_JobTypeNamed(m_store.GetJobTypes(), request.JobTypeName).IsEmpty();
    if (request.ExactJobType && !namesKnownType)
        return false;
    if (request.ConfirmAction && m_dialog)
        return true;
    return !request.JobTypeName.isEmpty() && !namesKnownType;
}

std::shared_ptr<void> Taskmill_JobSubmitter::BeginAsking()
{
    m_asking = true;
    return {nullptr, [this](void *) {
                m_asking = false;
                if (!m_waiting.isEmpty())
                    m_waitingTimer.start(0);
            }};
}

bool Taskmill_JobSubmitter::ChooseJobType(const Taskmill_JobRequest &request, Choice &choice)
{
    if (request.JobTypeName.isEmpty())
        return true;
    const QList<Taskmill_JobType> jobTypes = m_store.GetJobTypes();
    choice.jobType = Taskmill_JobTypeNamed(jobTypes, request.JobTypeName);
    if (!choice.jobType.IsEmpty())
        return true;

    // A type that was found by other means than its name is shown to the user before anything runs.
    choice.confirm = true;
    choice.jobType = Taskmill_JobTypeForFile(jobTypes, request.JobInputFile);
    if (!choice.jobType.IsEmpty())
        return true;
    const auto asking = BeginAsking();
    const auto asked =
        AskForJobType(jobTypes, u"Auto determination of Job Type was attempted"_s, request.JobInputFile);
    choice.jobType = asked.value_or(Taskmill_JobType{});
    return !choice.jobType.IsEmpty();
}

std::optional<Taskmill_JobType> Taskmill_JobSubmitter::AskForJobType(const QList<Taskmill_JobType> &jobTypes,
                                                                     const QString &labelBegin,
                                                                     const QString &inputFile)
{
    const QStringList items = QStringList{noJobType} + Taskmill_DistinctNames(jobTypes, noJobType);
    const QString label =
        labelBegin +
        u" but an appropriate Job Type for the\nfollowing input file cannot be determined from its extension:\n\n"_s +
        inputFile +
        u"\n\nPlease select a Job Type for this input file or select None to skip this input file.\n"_s;
    const auto chosen = KilnUtil_Error::UserPrompt().ChooseFromList(u"Submit Job, Select Job Type"_s, label,
                                                                    items, noJobType);
    if (!chosen)
        return std::nullopt;
    // Names may differ in case alone, so the exact one counts.
    const qsizetype item = items.indexOf(*chosen);
    return item > 0 ? jobTypes[item - 1] : Taskmill_JobType{};
}

bool Taskmill_JobSubmitter::AskForFiles(const Taskmill_SubmitChoice &preset, const FileTaker &take,
                                        RefusedFiles &refused)
{
    const auto asking = BeginAsking();
    const auto chosen = m_dialog ? m_dialog->AskForJobs(u"Job Input Files"_s, preset) : std::nullopt;
    if (!chosen)
        return false;
    TakeFiles(*chosen, take, refused);
    return true;
}

void Taskmill_JobSubmitter::TakeFiles(const Taskmill_SubmitChoice &chosen, const FileTaker &take,
                                      RefusedFiles &refused)
{
    const QList<Taskmill_JobType> jobTypes = m_store.GetJobTypes();
    bool asks = true;
    for (const QString &file : chosen.Files) {
        if (!Exists(file)) {
            refused[fileIsGone].append(QFileInfo{file}.fileName());
            continue;
        }
        Taskmill_JobType jobType = chosen.JobTypeID < 0 ? Taskmill_JobTypeForFile(jobTypes, file)
                                                        : Taskmill_JobTypeWithID(jobTypes, chosen.JobTypeID);
        if (jobType.IsEmpty() && chosen.JobTypeID < 0 && asks) {
            const auto asked =
                AskForJobType(jobTypes, u"Auto determination of Job Type was requested"_s, file);
            // Whoever cancels is not asked about hundreds of further files.
            asks = asked.has_value();
            jobType = asked.value_or(Taskmill_JobType{});
        } else if (jobType.IsEmpty()) {
            refused[noTypeChosen].append(QFileInfo{file}.fileName());
        }
        // The program may have been quit while a question was open.
        if (!m_store.IsOpen())
            return;
        if (!jobType.IsEmpty()) {
            const Taskmill_Destination destination =
                chosen.Destination == Taskmill_Destination::JobTypeDefault
                    ? Taskmill_DestinationFromQueueKey(jobType.DefaultQueueIndex())
                    : chosen.Destination;
            take(file, jobType, destination, chosen.Needs.value(file));
        }
    }
}

void Taskmill_JobSubmitter::SubmitConfirmed(const Taskmill_JobRequest &request,
                                            const Taskmill_JobType &jobType, Taskmill_Destination destination,
                                            Taskmill_SubmitResult &result)
{
    const Taskmill_SubmitChoice preset{.Files = {request.JobInputFile},
                                       .Destination = destination,
                                       .JobTypeID = jobType.IsEmpty() ? -1 : jobType.JobTypeID,
                                       .Needs = {{request.JobInputFile, AskedIn(request)}}};
    const auto take = [&](const QString &file, const Taskmill_JobType &fileType,
                          Taskmill_Destination fileDestination, const Taskmill_JobNeeds &asked) {
        MakeJob(request, fileType, fileDestination, AbsolutePath(file), asked, result);
    };
    RefusedFiles refused;
    if (!AskForFiles(preset, take, refused))
        result.Refusal = u"the submission was not confirmed"_s;
    else if (result.JobIDs.isEmpty() && !refused.isEmpty() && result.Refusal.isEmpty())
        result.Refusal = refused.firstKey() + u' ' + refused.first().join(u", "_s);
    // The client does not wait until the user has read it.
    if (!refused.isEmpty())
        QTimer::singleShot(0, qApp, [refused] { Report(refused); });
}

QList<int> Taskmill_JobSubmitter::SubmitFiles(const QStringList &files, Taskmill_Destination destination,
                                              int jobTypeID)
{
    const Taskmill_SubmitChoice preset{
        .Files = files, .Destination = destination, .JobTypeID = jobTypeID, .CheckAll = true};
    if (m_asking) {
        if (!files.isEmpty())
            m_waiting.append(preset);
        return {};
    }
    if (!m_store.IsOpen())
        return {};

    QList<int> jobIDs;
    RefusedFiles refused;
    const auto take = [&](const QString &file, const Taskmill_JobType &jobType,
                          Taskmill_Destination fileDestination, const Taskmill_JobNeeds &asked) {
        QString reason;
        if (const auto jobID = AddJob(file, jobType, fileDestination, asked, reason))
            jobIDs.append(*jobID);
        else
            refused[reason].append(QFileInfo{file}.fileName());
    };
    (void)AskForFiles(preset, take, refused);
    Report(refused);
    return jobIDs;
}

/// Once for each reason, not for each file.
void Taskmill_JobSubmitter::Report(const RefusedFiles &refused)
{
    for (const auto &[reason, files] : refused.asKeyValueRange()) {
        const bool isForTheFiles =
            reason == fileIsGone || reason == noTypeChosen || reason.contains(Taskmill_LargerThanBudgetText);
        KilnUtil_Error::ReportError(isForTheFiles ? u"Submit Jobs"_s : u"Invalid Job Type"_s,
                                    reason + u"\n\nNo job was made of:\n"_s + Taskmill_NameList(files));
    }
}

void Taskmill_JobSubmitter::SubmitWaitingFiles()
{
    // What asks now starts this again when it is done.
    if (m_asking || m_waiting.isEmpty())
        return;
    const Taskmill_SubmitChoice preset = m_waiting.takeFirst();
    SubmitFiles(preset.Files, preset.Destination, preset.JobTypeID);
}

void Taskmill_JobSubmitter::MakeJob(const Taskmill_JobRequest &request, const Taskmill_JobType &jobType,
                                    Taskmill_Destination destination, const QString &inputFile,
                                    const Taskmill_JobNeeds &asked, Taskmill_SubmitResult &result)
{
    Taskmill_StartConditions conditions;
    result.Refusal = m_readConditions ? m_readConditions(request, conditions) : QString{};
    if (!result.Refusal.isEmpty())
        return;
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
    job.ClientResult = request.ClientResult;
    job.RunNumber = static_cast<int>(destination);
    job.QueueName = Taskmill_QueueNameOfNewJob(destination);
    job.InputFilePath = inputFile;
    job.InputFilePath2 = AbsolutePath(request.JobInputFile2);
    if (inputFile == AbsolutePath(request.JobInputFile))
        SetExtraFiles(job, request);
    job.PlaceholderValues = request.PlaceholderValues;
    job.Conditions = conditions;
    job.AskedNeeds = asked;

    Taskmill_QueueOwner *owner = m_destinations.OwnerOf(destination);
    if (!owner) {
        result.Refusal = u"the job type %1 has no queue"_s.arg(jobType.Name);
    } else if (!job.IsValid()) {
        result.Refusal =
            u"the job type %1 or the input file %2 cannot be used"_s.arg(jobType.Name, inputFile);
    } else if (const auto jobID = HandIn(*owner, std::move(job), result.Refusal)) {
        result.JobIDs.append(*jobID);
    }
}

std::optional<int> Taskmill_JobSubmitter::HandIn(Taskmill_QueueOwner &owner, Taskmill_JobRecord job,
                                                 QString &reason)
{
    job.InputNeeds = Taskmill_NeedsOfJob(job);
    // What waits in no queue starts at once, whatever the budget is.
    if (const auto refusal = owner.Queue() ? m_destinations.Budget().RefusalOf(job) : std::nullopt) {
        reason = *refusal;
        return std::nullopt;
    }
    const int jobID = job.JobID;
    if (owner.Submit(new Taskmill_Job{std::move(job)}))
        return jobID;
    reason = cannotBeStored;
    return std::nullopt;
}

std::optional<int> Taskmill_JobSubmitter::AddFile(const QString &filePath, int jobTypeID,
                                                  Taskmill_Destination destination)
{
    if (filePath.isEmpty() || !Exists(filePath) || filePath.trimmed().isEmpty())
        return std::nullopt;
    const QString path = AbsolutePath(filePath.trimmed());
    const QList<Taskmill_JobType> jobTypes = m_store.GetJobTypes();
    if (jobTypes.isEmpty())
        return std::nullopt;
    QString reason;
    const auto jobID = AddJob(path,
                              jobTypeID < 0 ? Taskmill_JobTypeForFile(jobTypes, path)
                                            : Taskmill_JobTypeWithID(jobTypes, jobTypeID),
                              destination, {}, reason);
    if (!jobID)
        Report({{reason, {QFileInfo{path}.fileName()}}});
    return jobID;
}

std::optional<int> Taskmill_JobSubmitter::AddJob(const QString &path, const Taskmill_JobType &jobType,
                                                 Taskmill_Destination destination,
                                                 const Taskmill_JobNeeds &asked, QString &reason)
{
    Taskmill_QueueOwner *owner = m_destinations.OwnerOf(destination);
    if (!owner || !jobType.IsValid()) {
        reason = (owner ? u"Job Type %1 is invalid."_s : u"Job Type %1 has no queue."_s).arg(jobType.Name);
        return std::nullopt;
    }
    Taskmill_JobRecord job = JobOfThisUser(jobType, QDir::toNativeSeparators(AbsolutePath(path)));
    job.JobID = m_jobNumbers.NewID();
    job.Name = QFileInfo{path}.fileName();
    if (job.Name.isEmpty())
        job.Name = QString::number(job.JobID);
    job.RunNumber = static_cast<int>(destination);
    job.QueueName = Taskmill_QueueNameOfNewJob(destination);
    if (!job.IsValid()) {
        reason = u"Job Type %1 cannot use a file of that name."_s.arg(jobType.Name);
        return std::nullopt;
    }
    job.AskedNeeds = asked;
    const auto jobID = HandIn(*owner, std::move(job), reason);
    if (!jobID)
        reason = AsSentence(reason);
    return jobID;
}

Taskmill_JobType Taskmill_JobSubmitter::JobTypeOfToday(const Taskmill_JobRecord &job) const
{
    const QList<Taskmill_JobType> jobTypes = m_store.GetJobTypes();
    Taskmill_JobType sameNumber = Taskmill_JobTypeWithID(jobTypes, job.JobType.JobTypeID);
    if (!sameNumber.IsEmpty() && (job.JobType.IsEmpty() || sameNumber.IsNamed(job.JobType.Name)))
        return sameNumber;
    Taskmill_JobType sameName = Taskmill_JobTypeNamed(jobTypes, job.JobType.Name);
    return sameName.IsEmpty() ? sameNumber : sameName;
}

Taskmill_JobRecord Taskmill_JobSubmitter::SameAgain(const Taskmill_JobRecord &job,
                                                    const Taskmill_JobType &jobType)
{
    Taskmill_JobRecord again = JobOfThisUser(jobType, job.InputFilePath);
    again.JobClass = job.JobClass;
    again.Name = job.Name;
    again.QueueName = job.QueueName;
    again.InputFilePath2 = job.InputFilePath2;
    again.StandardInputFile = job.StandardInputFile;
    again.StandardOutputFile = job.StandardOutputFile;
    again.CheckpointFile = job.CheckpointFile;
    again.CheckpointFile2 = job.CheckpointFile2;
    again.PlaceholderValues = job.PlaceholderValues;
    again.AskedNeeds = job.AskedNeeds;
    again.OutputFile = job.OutputFile == job.DerivedOutputFile() ? again.DerivedOutputFile() : job.OutputFile;
    return again;
}

std::optional<int> Taskmill_JobSubmitter::SubmitAgain(Taskmill_JobRecord job, QString &reason)
{
    const Taskmill_Destination destination = DestinationOf(job.QueueName, job.JobType);
    Taskmill_QueueOwner *owner = m_store.IsOpen() ? m_destinations.OwnerOf(destination) : nullptr;
    if (!owner || !job.IsValid()) {
        reason = u"The job type %1 cannot be used now: its program or its queue is not there."_s.arg(
            job.JobType.Name);
        return std::nullopt;
    }
    job.JobID = m_jobNumbers.NewID();
    job.RunNumber = static_cast<int>(destination);
    job.QueueName = Taskmill_QueueNameOfNewJob(destination);
    const auto jobID = HandIn(*owner, std::move(job), reason);
    if (!jobID)
        reason = AsSentence(reason);
    return jobID;
}
