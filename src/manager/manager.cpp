// SPDX-License-Identifier: MIT
#include "manager/manager.h"

#include "db/database.h"
#include "db/databasemanager.h"
#include "jobs/queuelessjobslist.h"
#include "jobs/runofjob.h"
#include "kilnutil/error.h"
#include "kilnutil/registry.h"
#include "kilnutil/statefolder.h"
#include "manager/budget.h"
#include "manager/changedfiledialogue.h"
#include "manager/heldjobsdialogue.h"
#include "manager/recentprojects.h"
#include "manager/spareproject.h"
#include "processes/processinspector.h"
#include "processes/processtree.h"
#include "processes/runkeepers.h"

#include <QDir>
#include <QFileInfo>
#include <QTimer>

#include <algorithm>
#include <memory>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
const Taskmill_Database *CurrentDatabase()
{
    return Taskmill_Database_Manager::Global().CurrentDatabase();
}

void ReportRemains(const Taskmill_JobRecord &job, const QList<qint64> &processIDs)
{
    QStringList numbers;
    for (const qint64 processID : processIDs)
        numbers += QString::number(processID);
    KilnUtil_Error::UserPrompt().ShowNotice(
        u"Killing a Job"_s,
        u"Job %1, %2, cannot be ended yet: its processes %3 still run. It counts as running "
        "until they have ended."_s.arg(QString::number(job.JobID), job.Name, numbers.join(u", "_s)));
}

/// And forgets them.
void ReportHeldJobs(QStringList &jobIDs)
{
    const bool isOne = jobIDs.size() == 1;
    const QString who = isOne ? u"Job %1 ran"_s : u"Jobs %1 ran"_s;
    const QString why =
        isOne
            ? u" when the project was saved, and what became of it is not known here. It is held: \"run job N\", or Run Again in the menu of its tab, starts it anew."_s
            : u" when the project was saved, and what became of them is not known here. They are held: \"run held jobs\" or \"run job N\", or Run Again in the menu of their tabs, starts them anew."_s;
    const QString text = who.arg(jobIDs.join(u", "_s)) + why;
    jobIDs.clear();
    KilnUtil_Error::UserPrompt().ShowNotice(u"Jobs That Are Held"_s, text);
}

/// What keepers of an earlier start have stored is there without keepers, too.
KilnUtil_StoredOutput StoredOutputOfRun(const QString &runID)
{
    const QStringList folders = KilnUtil_MachineFolderPaths();
    for (const QString &folder : folders) {
        if (!KilnUtil_IsMachineFolder(folder))
            continue;
        auto output = KilnUtil_RunKeepers::OutputIn(KilnUtil_RunKeepers::FolderIn(folder), runID);
        if (!output.IsWhole || !output.Bytes.isEmpty())
            return output;
    }
    return {};
}

/// Reads, on any thread, what the run of a job wrote.
std::function<KilnUtil_StoredOutput()> ReaderOfRun(const KilnUtil_RunKeepers *keepers, const QString &runID)
{
    if (keepers)
        return keepers->OutputOf(runID);
    return [runID] {
        return StoredOutputOfRun(runID);
    };
}
} // namespace

Taskmill_Manager::Taskmill_Manager(Taskmill_Notifier &notifier, Taskmill_ReadOnlyProjects readOnlyProjects)
    : Taskmill_Manager{notifier, readOnlyProjects, nullptr}
{
}

Taskmill_Manager::Taskmill_Manager(Taskmill_Notifier &notifier, Taskmill_ReadOnlyProjects readOnlyProjects,
                                   std::unique_ptr<KilnUtil_RunKeepers> keepers)
    : m_inspector{Taskmill_MakeProcessInspector()}
    , m_keepers{std::move(keepers)}
    , m_jobTypes{m_store}
    , m_results{m_keepers.get()}
    , m_outbox{notifier}
    , m_finishedJobs{m_outbox}
    , m_destinations{m_finishedJobs,
                     {.Store = m_store,
                      .FinishedJobs = m_finishedJobs,
                      .Inspector = *m_inspector,
                      .Keepers = m_keepers.get(),
                      .Starts = &m_results,
                      .Judge = &m_startRules}}
    , m_inputHashes{m_destinations}
    , m_jobWatch{m_destinations, Taskmill_JobWatch::LookThrough(m_inspector)}
    , m_project{m_jobTypes, m_jobNumbers, m_finishedJobs,   m_destinations,
                m_outbox,   m_runs,       readOnlyProjects, m_keepers.get()}
    , m_submitter{m_store, m_jobNumbers, m_destinations}
    , m_runningJobs{*m_inspector, m_jobTypes}
{
    m_finishedJobs.SetResults(m_results);
    m_startRules.Follow(m_destinations, m_finishedJobs);
    m_submitter.SetConditionReader([this](const auto &request, auto &conditions) {
        return m_startRules.ReadConditions(request, conditions);
    });
    m_destinations.Budget().SetLimits(Taskmill_StoredBudget());
    ConnectJobs();
}

void Taskmill_Manager::ConnectJobs()
{
    const auto held = std::make_shared<QStringList>();
    for (Taskmill_QueueOwner *owner : m_destinations.All()) {
        QObject::connect(&owner->Jobs(), &Taskmill_JobContainer::RunsElsewhereSignal, owner,
                         [this](const Taskmill_JobRecord &job, const QString &ownerText) {
                             NoticeJobElsewhere(job, ownerText);
                         });
        QObject::connect(&owner->Jobs(), &Taskmill_JobContainer::FateUnknownSignal, owner,
                         [this, held](const Taskmill_JobRecord &job) {
                             if (held->isEmpty())
                                 QTimer::singleShot(0, &m_project, [held] { ReportHeldJobs(*held); });
                             held->append(QString::number(job.JobID));
                         });
        QObject::connect(&owner->Jobs(), &Taskmill_JobContainer::RemainsSignal, owner, ReportRemains);
    }
    m_finishedJobs.Outputs().SetReaderOfRuns([this](const QString &run) {
        return [read = ReaderOfRun(m_keepers.get(), Taskmill_RunOfJob{run}.RunID)] {
            const KilnUtil_StoredOutput output = read();
            return Taskmill_FinishedOutputs::OutputOfRun{.Text = Taskmill_Job::TextOfOutput(output.Bytes),
                                                         .IsWhole = output.IsWhole};
        };
    });
    if (!m_keepers)
        return;
    m_keepers->SetStorage({.LastChange =
                               [] {
                                   const Taskmill_Database *database = CurrentDatabase();
                                   return database ? database->LastCommit() : 0;
                               },
                           .IsStored =
                               [](qint64 change) {
                                   const Taskmill_Database *database = CurrentDatabase();
                                   return !database || database->IsStored(change);
                               }});
    QObject::connect(&m_finishedJobs, &Taskmill_FinishedJobs::RunStoredSignal, m_keepers.get(),
                     [this](const QString &run) { m_keepers->TakeResult(Taskmill_RunOfJob{run}.RunID); });
}

void Taskmill_Manager::NoticeJobElsewhere(const Taskmill_JobRecord &job, const QString &ownerText)
{
    const QString path = Taskmill_PathOfRunOwner(ownerText);
    const QString place = !Taskmill_RunOfJob{job.Run}.IsOfThisMachine() ? u"on another computer"_s
                          : path.isEmpty()                              ? u"in another Taskmill"_s
                                                                        : u"in "_s + path;
    if (m_jobsElsewhere.isEmpty())
        QTimer::singleShot(0, &m_project, [this] {
            KilnUtil_Error::UserPrompt().ShowNotice(u"Jobs That Run Elsewhere"_s,
                                                    u"These jobs of the project are not started here:\n\n"_s +
                                                        m_jobsElsewhere.join(u'\n'));
            m_jobsElsewhere.clear();
        });
    m_jobsElsewhere.append(u"%1, job %2, runs %3"_s.arg(job.Name, QString::number(job.JobID), place));
}

Taskmill_Manager::~Taskmill_Manager()
{
    ShutDown();
}

bool Taskmill_Manager::OpenStartUpProject(const QString &startUpFile)
{
    const QString lastDirectory = KilnUtil_Registry::Value(u"/Files/Last_Directory_Path"_s).toString();
    const QString file = startUpFile.isEmpty() ? QString{} : QFileInfo{startUpFile}.absoluteFilePath();
    if (!lastDirectory.isEmpty() && QFileInfo{lastDirectory}.isDir())
        QDir::setCurrent(lastDirectory);
    Taskmill_DropMissingRecentProjects();
    return file.isEmpty() ? m_project.OpenWithoutFile() : m_project.OpenProject(file);
}

QStringList Taskmill_Manager::NoticesAtStart(bool asks)
{
    QStringList notices = m_project.Notices();
    if (!asks)
        notices += {Taskmill_ChangedFileDialogue::Notice(m_project),
                    Taskmill_HeldJobsDialogue::Notice(m_destinations)};
    notices.removeAll(QString{});
    const QStringList spareProjects = Taskmill_SpareProjects();
    for (const QString &path : spareProjects) {
        if (path != m_project.FilePath())
            notices += Taskmill_SpareProjectNotice(path);
    }
    return notices;
}

std::optional<Taskmill_JobRecord> Taskmill_Manager::FindJobWithOutput(int jobID)
{
    std::optional<Taskmill_JobRecord> job = FindJob(jobID);
    // A copy has the output: kept with the job, the outputs of all that were asked about would fill the
    // memory.
    if (Taskmill_QueueOwner *owner = m_destinations.OwnerOfJob(jobID))
        job->StdOutAndStdErr = owner->Jobs().FindByJobID(jobID)->OutputNow();
    else if (job)
        job->StdOutAndStdErr = m_finishedJobs.OutputOf(*job);
    return job;
}

std::optional<Taskmill_JobRecord> Taskmill_Manager::FindJob(int jobID)
{
    if (Taskmill_QueueOwner *owner = m_destinations.OwnerOfJob(jobID)) {
        Taskmill_JobRecord job = owner->Jobs().FindByJobID(jobID)->Record();
        if (const Taskmill_ResultState state = m_results.StateOf(jobID))
            job.Result = Taskmill_ResultOf(*state);
        return job;
    }
    const qsizetype position = m_finishedJobs.PositionOf(jobID);
    return position < 0 ? std::nullopt : std::optional{m_finishedJobs.JobAt(position)};
}

void Taskmill_Manager::ShutDown(End end)
{
    if (std::exchange(m_isShutDown, true))
        return;
    const bool anyGoesOn = DoJobsGoOn() && m_destinations.IsAnyJobKept();
    m_outbox.SetEnding();
    if (end == End::InOrder && !anyGoesOn)
        m_project.CloseProject();
    else
        m_project.LeaveProject(anyGoesOn);
    m_outbox.Drain();
    m_outbox.Stop();
}

void Taskmill_Manager::SaveBeforeAbruptEnd()
{
    if (m_isShutDown)
        return;
    m_project.SaveUnattended();
    const bool anyGoesOn = DoJobsGoOn() && m_destinations.IsAnyJobKept();
    if (anyGoesOn)
        m_project.StoreJobsThatGoOn();
    else
        KilnUtil_RunKeepers::EndRunsAtOnce();
    KilnUtil_ProcessTree::KillRegisteredChildren();
    if (!anyGoesOn)
        m_project.RecordEndedRuns();
}
