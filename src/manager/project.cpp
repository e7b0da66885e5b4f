// SPDX-License-Identifier: MIT
#include "manager/project.h"

#include "db/database.h"
#include "db/databasecopy.h"
#include "db/databasemanager.h"
#include "db/workingcopy.h"
#include "jobs/joborder.h"
#include "jobs/jobtypelist.h"
#include "kilnutil/error.h"
#include "kilnutil/idmanager.h"
#include "kilnutil/logging.h"
#include "kilnutil/registry.h"
#include "manager/destinations.h"
#include "manager/finishedjobs.h"
#include "manager/leftruns.h"
#include "manager/outbox.h"
#include "manager/ownjobnumbers.h"
#include "manager/projectdatabase.h"
#include "manager/projectopening.h"
#include "manager/projectrecovery.h"
#include "manager/recentprojects.h"
#include "manager/version.h"
#include "processes/processtree.h"

#include <QFileInfo>

#include <array>
#include <chrono>
#include <limits>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
/// Whoever saves or closes a project does not wait longer for outputs that are still being read.
constexpr std::chrono::milliseconds longestWaitForResults{500};

Taskmill_Database *CurrentDatabase()
{
    return Taskmill_Database_Manager::Global().CurrentDatabase();
}

void ReportWriteError(const QString &path, const QString &error)
{
    KilnUtil_Error::ReportError(
        QString::fromLatin1(Taskmill_SavingTitle),
        u"The project could not be written to the following file, which is as it was before:\n\n%1\n\n(%2)"_s
            .arg(path, error));
}

void RememberDirectory(const QString &path)
{
    KilnUtil_Registry::SetValue(u"/Files/Last_Directory_Path"_s, QFileInfo{path}.absolutePath());
}
} // namespace

Taskmill_Project::Taskmill_Project(Taskmill_JobTypeList &jobTypes, KilnUtil_IDManager &jobNumbers,
                                   Taskmill_FinishedJobs &finishedJobs, Taskmill_Destinations &destinations,
                                   Taskmill_Outbox &outbox, Taskmill_RunSource &runs,
                                   Taskmill_ReadOnlyProjects readOnlyProjects, KilnUtil_RunKeepers *keepers)
    : m_jobTypes{jobTypes}
    , m_jobNumbers{jobNumbers}
    , m_finishedJobs{finishedJobs}
    , m_destinations{destinations}
    , m_outbox{outbox}
    , m_runs{runs}
    , m_keptRuns{keepers}
    , m_readOnlyProjects{readOnlyProjects}
    , m_storedPauses{destinations}
{
    for (Taskmill_JobQueue *queue : m_destinations.Queues())
        connect(queue, &Taskmill_JobQueue::QueueUpdatedSignal, this, [this] {
            if (Taskmill_Database *database = CurrentDatabase(); database && m_copy)
                m_storedPauses.Store(*database);
        });
}

Taskmill_Project::~Taskmill_Project() = default;

bool Taskmill_Project::IsOpen() const
{
    return CurrentDatabase() != nullptr;
}

QString Taskmill_Project::FilePath() const
{
    const Taskmill_Database *database = CurrentDatabase();
    return database ? database->FilePath() : QString{};
}

bool Taskmill_Project::HasUnsavedChanges() const
{
    const Taskmill_Database *database = CurrentDatabase();
    return database && database->HasUnsavedChanges();
}

bool Taskmill_Project::OpenProject(const QString &path)
{
    // Jobs can go on only while another project is open: they are found again when this one is opened next.
    const bool isOpenHere = m_lock && m_lock->IsOf(QFileInfo{path}.absoluteFilePath());
    return Open(path, isOpenHere ? Taskmill_LeavingDialogue::Jobs::MayEnd
                                 : Taskmill_LeavingDialogue::Jobs::MayGoOn);
}

bool Taskmill_Project::Open(const QString &path, Taskmill_LeavingDialogue::Jobs jobs)
{
    if (path.isEmpty())
        return false;
    const QString absolutePath = QFileInfo{path}.absoluteFilePath();
    const auto report = [&path](const QString &problem) {
        KilnUtil_Error::ReportWarning(u"Opening a Taskmill Project File"_s, problem.arg(path));
        return false;
    };
    Taskmill_ProjectOpening opening{absolutePath};
    if (const QString problem = opening.Read(m_readOnlyProjects, m_lock.get()); !problem.isEmpty())
        return report(problem);
    Taskmill_LeavingDialogue leaving{*this, m_destinations, jobs};
    Taskmill_AskThroughPrompt(leaving);
    if (!leaving.MayLeave())
        return false;
    if (leaving.IsSaved()) {
        if (const QString problem = opening.ReadAgain(); !problem.isEmpty())
            return report(problem);
    }

    auto lock = opening.TakeLock();
    if (!lock)
        lock = std::move(m_lock);
    if (leaving.DoJobsGoOn())
        LeaveProject(true);
    else
        CloseProject();
    m_lock = std::move(lock);
    RememberDirectory(absolutePath);
    auto left = opening.TakeLeft();
    const bool isThere =
        left ? TakeUp(std::move(*left), absolutePath) : Begin(opening.TakeFile(), absolutePath);
    m_notices += opening.Notices();
    if (!isThere)
        return report(
            u"The specified project cannot be opened, as its working copy cannot be written:\n\n%1"_s);
    TakeWhatElseIsLeft(opening.Recovery());
    Taskmill_AddToRecentProjects(absolutePath);
    Q_EMIT StateChangedSignal();
    return true;
}

void Taskmill_Project::TakeWhatElseIsLeft(Taskmill_ProjectRecovery &recovery)
{
    if (recovery.IsAnySetAside())
        SkipLostJobs();
    m_outbox.AddLeft(recovery.TakeNotifications());
}

bool Taskmill_Project::Begin(Taskmill_OpenedFile opened, const QString &path)
{
    m_copy = std::move(opened.Copy);
    Taskmill_Database *database = Taskmill_Database_Manager::Global().Adopt(std::move(opened.Database));
    if (m_copy && !Taskmill_BeginWorkingCopy(*database, *m_copy, path, opened.ContentStamp)) {
        Taskmill_Database_Manager::Global().CloseAll();
        ForgetProject();
        return false;
    }
    m_fileStamp = opened.FileStamp;
    Install(*database, path);
    database->MarkUnchanged();
    return true;
}

bool Taskmill_Project::TakeUp(Taskmill_LeftProject left, const QString &path)
{
    m_copy = std::move(left.Copy);
    Taskmill_Database *database = Taskmill_Database_Manager::Global().Adopt(std::move(left.Database));
    const bool isTaken = Taskmill_TakeUpWorkingCopy(*database);
    const auto ends = isTaken ? Taskmill_LeftRuns{*database, m_runs}.End() : std::nullopt;
    if (!ends) {
        // The working copy stays as it was, for a later start.
        Taskmill_Database_Manager::Global().CloseAll();
        ForgetProject();
        return false;
    }
    // Of a file that was changed elsewhere nothing is known here: it is replaced only when the user says so.
    m_fileStamp = left.FileHasChanged ? Taskmill_FileStamp{} : Taskmill_FileStamp::Of(path);
    m_hasChangedFile = left.FileHasChanged;
    const int changes = left.Changes > 0 ? left.Changes : *ends;
    m_isRecovered = changes > 0;
    if (m_isRecovered)
        m_notices += Taskmill_RecoveredNotice(changes);
    const QList<Taskmill_JobQueue *> running =
        left.IsSameBoot ? m_storedPauses.QueuesThatRan(*database) : QList<Taskmill_JobQueue *>{};
    Install(*database, path);
    if (m_isRecovered)
        database->MarkChanged();
    m_finishedJobs.ReadLostResults();
    for (Taskmill_JobQueue *queue : running)
        queue->SetPaused(false);
    return true;
}

bool Taskmill_Project::OpenWithoutFile()
{
    QStringList notices;
    Taskmill_ProjectRecovery recovery{notices};
    auto left = recovery.FindNeverSaved();
    recovery.SetAsideUnfit(left);
    CloseProject();
    const bool isOpen = (left && TakeUp(std::move(*left), {})) || NewProject();
    m_notices += notices;
    if (isOpen)
        TakeWhatElseIsLeft(recovery);
    Q_EMIT StateChangedSignal();
    return isOpen;
}

void Taskmill_Project::SkipLostJobs()
{
    constexpr int skipped = 1000;
    const int last = m_jobNumbers.LastID();
    if (last > std::numeric_limits<int>::max() - 2 * skipped)
        return;
    m_jobNumbers = KilnUtil_IDManager{last + skipped, 1};
    // Also at the next start.
    if (!FilePath().isEmpty())
        CurrentDatabase()->SetGeneralData(u"LastJobID"_s, QString::number(m_jobNumbers.LastID()));
    m_notices += m_keptRuns.LostJobsNotice(m_jobNumbers.LastID() + 1);
}

void Taskmill_Project::Install(Taskmill_Database &database, const QString &path)
{
    Adopt(database, path);
    m_jobNumbers = KilnUtil_IDManager{Taskmill_LastJobID(database), 1};
    m_keptRuns.BelongTo(database, path);
    m_keptRuns.SetDurable(m_copy != nullptr);
    CarryOverNotifications();
    ReloadJobs(database);
}

bool Taskmill_Project::NewProject()
{
    CloseProject();
    m_copy = Taskmill_WorkingCopy::Make();
    auto made = Taskmill_MakeProjectDatabase(m_copy.get());
    if (m_copy && !made->Open()) {
        m_copy.reset();
        made = Taskmill_MakeProjectDatabase(nullptr);
    }
    if (!m_copy)
        m_notices += Taskmill_NoWorkingCopyNotice();
    Taskmill_Database *database = Taskmill_Database_Manager::Global().Adopt(std::move(made));
    if (!Taskmill_FillNewProject(*database, m_jobTypes) ||
        (m_copy && !Taskmill_BeginWorkingCopy(*database, *m_copy, {}, {}))) {
        Taskmill_Database_Manager::Global().CloseAll();
        ForgetProject();
        return false;
    }
    m_jobNumbers = KilnUtil_IDManager{0, 1};
    m_keptRuns.BelongTo(*database, {});
    m_keptRuns.SetDurable(m_copy != nullptr);
    CarryOverNotifications();
    for (Taskmill_JobQueue *queue : m_destinations.Queues()) {
        queue->SetMaxRunningJobs(1);
        queue->SetPaused(false);
    }
    Follow(*database);
    database->MarkUnchanged();
    Q_EMIT StateChangedSignal();
    return true;
}

bool Taskmill_Project::AskForNewProject()
{
    Taskmill_LeavingDialogue leaving{*this, m_destinations, Taskmill_LeavingDialogue::Jobs::MayGoOn};
    Taskmill_AskThroughPrompt(leaving);
    if (!leaving.MayLeave())
        return false;
    if (leaving.DoJobsGoOn())
        LeaveProject(true);
    return NewProject();
}

QString Taskmill_Project::OpenFileInstead()
{
    const QString path = FilePath();
    QString beside = Taskmill_FileBeside(path);
    if (!WriteFile(beside)) {
        ReportWriteError(beside, CurrentDatabase()->LastErrorMessage());
        return {};
    }
    const int lastJobID = m_jobNumbers.LastID();
    CurrentDatabase()->MarkUnchanged();
    if (!Open(path, Taskmill_LeavingDialogue::Jobs::End))
        return {};
    // Numbers of jobs that clients already know are not given out again.
    if (m_jobNumbers.LastID() < lastJobID)
        m_jobNumbers = KilnUtil_IDManager{lastJobID, 1};
    return beside;
}

bool Taskmill_Project::FileHasChanged() const
{
    const QString path = FilePath();
    return QFileInfo::exists(path) && Taskmill_FileStamp::Of(path) != m_fileStamp;
}

bool Taskmill_Project::SaveProjectAs(const QString &path)
{
    const std::optional<QString> error = TrySaveProjectAs(path);
    if (error)
        ReportWriteError(QFileInfo{path}.absoluteFilePath(), *error);
    return !error;
}

std::optional<QString> Taskmill_Project::TrySaveProjectAs(const QString &path)
{
    Taskmill_Database *database = CurrentDatabase();
    const QString absolutePath = QFileInfo{path}.absoluteFilePath();
    std::unique_ptr<Taskmill_ProjectLock> lock;
    if (!m_lock || !m_lock->IsOf(absolutePath))
        lock = std::make_unique<Taskmill_ProjectLock>(absolutePath);
    if (lock && lock->IsHeldElsewhere())
        return u"another Taskmill manager, %1, has this project open"_s.arg(lock->Holder());
    if (!WriteOwnFile(absolutePath))
        return database ? database->LastErrorMessage() : u"no project is open"_s;
    // The database is what the file holds now; it is not closed, so that nothing can go wrong in reading the
    // file back while jobs run.
    if (lock)
        m_lock = std::move(lock);
    RememberDirectory(absolutePath);
    database->SetFilePath(absolutePath);
    database->MarkUnchanged();
    m_keptRuns.MoveTo(absolutePath);
    m_keptRuns.ForgetResults();
    m_spareFile.Remove(absolutePath);
    Taskmill_AddToRecentProjects(absolutePath);
    Q_EMIT StateChangedSignal();
    return std::nullopt;
}

bool Taskmill_Project::MakeWhole()
{
    for (Taskmill_QueueOwner *owner : m_destinations.All()) {
        owner->CollectAllFinished();
        owner->DeleteKeptRows();
    }
    m_finishedJobs.RecordMissing();
    m_finishedJobs.WaitForResults(longestWaitForResults);
    m_finishedJobs.FinishRemovals();
    return m_finishedJobs.Outputs().TakeLeft();
}

bool Taskmill_Project::WriteFile(const QString &path)
{
    Taskmill_Database *database = CurrentDatabase();
    return database && MakeWhole() && database->SaveToFile(path);
}

bool Taskmill_Project::WriteOwnFile(const QString &path)
{
    Taskmill_Database *database = CurrentDatabase();
    QString contentStamp;
    const auto announce = [&](const QString &stamp) {
        contentStamp = stamp;
        if (m_copy)
            Taskmill_AnnounceSaving(*database, stamp);
        return true;
    };
    if (!database || !MakeWhole() || !database->SaveToFile(path, announce))
        return false;
    m_fileStamp = Taskmill_FileStamp::Of(path);
    m_isRecovered = false;
    m_hasChangedFile = false;
    if (m_copy)
        Taskmill_RecordSaving(*database, *m_copy, path, contentStamp);
    return true;
}

bool Taskmill_Project::SaveUnattended()
{
    if (FilePath().isEmpty() || !HasUnsavedChanges())
        return true;
    const QString ownPath = FilePath();
    const bool hasChanged = FileHasChanged();
    if (hasChanged && m_copy) {
        // The next start asks whether the file or these changes are to count.
        qCWarning(Taskmill_ManagerLog,
                  "%ls was changed by another program and stays as it is; the changes of this project are "
                  "recovered at the next start",
                  qUtf16Printable(ownPath));
        return true;
    }
    const QString path = hasChanged ? Taskmill_FileBeside(ownPath) : ownPath;
    if (!(path == ownPath ? WriteOwnFile(path) : WriteFile(path))) {
        WriteSpareFile();
        return false;
    }
    if (path != ownPath)
        qCWarning(Taskmill_ManagerLog,
                  "The project file was changed by another program; this project was written to %ls",
                  qUtf16Printable(path));
    CurrentDatabase()->MarkUnchanged();
    m_keptRuns.ForgetResults();
    m_spareFile.Remove(ownPath);
    return true;
}

void Taskmill_Project::WriteSpareFile()
{
    const QString path = FilePath();
    // The changes are still to be saved where they belong.
    if (m_spareFile.Write(path, [this](const QString &spare) { return WriteFile(spare); }))
        qCWarning(Taskmill_ManagerLog, "The project could not be written to %ls; it was written to %ls",
                  qUtf16Printable(path), qUtf16Printable(m_spareFile.Path()));
    else
        qCWarning(Taskmill_ManagerLog,
                  "The project could not be written to %ls, nor anywhere else: its changes are lost",
                  qUtf16Printable(path));
}

QString Taskmill_Project::WindowTitle() const
{
    const Taskmill_Database *database = CurrentDatabase();
    QString state = database ? database->Title() : QString{};
    if (state.isEmpty())
        state = HasUnsavedChanges() ? u"Unsaved Project"_s : u"New Project"_s;
    return Taskmill_VersionText() + u", "_s + state;
}

void Taskmill_Project::StoreJobsThatGoOn()
{
    if (m_copy || !HasUnsavedChanges())
        return;
    WriteSpareFile();
    if (!m_spareFile.IsEmpty())
        m_keptRuns.MoveTo(m_spareFile.Path());
}

void Taskmill_Project::CloseProject()
{
    const Taskmill_JobBudget::Rest rest{m_destinations.Budget()};
    // What was saved says that they run. They wait now, and whoever opens the file is to know that. While the
    // same file is being opened anew, it was read already.
    const QString path = FilePath();
    const bool isSaved = m_lock && !path.isEmpty() && !HasUnsavedChanges() && !FileHasChanged();
    const QStringList runs = isSaved ? m_destinations.KeptRuns() : QStringList{};
    // They end side by side.
    for (Taskmill_QueueOwner *owner : m_destinations.All())
        owner->Jobs().BeginToKillRunning();
    KilnUtil_ProcessTree::KillRegisteredChildren();
    // From here on nothing is to be recovered: the user has closed the project, even if this program is ended
    // before it is done.
    if (Taskmill_Database *database = CurrentDatabase(); database && m_copy)
        Taskmill_GiveUpWorkingCopy(*database);
    // Jobs are ended before the database is closed, so that a killed one is recorded in this project and not
    // in the next.
    for (Taskmill_QueueOwner *owner : m_destinations.All())
        owner->Stop();
    for (Taskmill_QueueOwner *owner : m_destinations.All())
        owner->Clear();
    m_finishedJobs.WaitForResults(longestWaitForResults);
    m_finishedJobs.Outputs().GiveUpLeft();
    m_finishedJobs.Clear();
    if (m_outbox.IsEnding())
        m_outbox.Drain();
    // Notifications that are not delivered stay in this copy until the next project's copy, or the next
    // manager, has them.
    if (m_copy && m_outbox.IsAnyStored())
        m_closedCopy = std::move(m_copy);
    if (m_outbox.IsEnding())
        m_outbox.LeaveStored();
    else
        m_outbox.KeepStored();
    Taskmill_Database_Manager::Global().CloseAll();
    if (!runs.isEmpty() && !Taskmill_ForgetRunsInFile(path, runs))
        qCInfo(Taskmill_ManagerLog, "%ls still says that jobs run", qUtf16Printable(path));
    m_keptRuns.ForgetResults();
    if (m_copy)
        m_copy->Remove();
    ForgetProject();
}

void Taskmill_Project::CarryOverNotifications()
{
    m_outbox.Join();
    if (auto closed = std::exchange(m_closedCopy, {}))
        closed->Remove();
}

void Taskmill_Project::LeaveProject(bool letsJobsGoOn)
{
    const Taskmill_JobBudget::Rest rest{m_destinations.Budget()};
    if (letsJobsGoOn)
        StoreJobsThatGoOn();
    for (Taskmill_QueueOwner *owner : m_destinations.All()) {
        if (letsJobsGoOn)
            owner->LetJobsGoOn();
        else
            owner->Jobs().BeginToKillRunning();
    }
    const bool isStored = !HasUnsavedChanges() || !m_spareFile.IsEmpty();
    if (!m_copy || (isStored && !letsJobsGoOn)) {
        CloseProject();
        return;
    }
    KilnUtil_ProcessTree::KillRegisteredChildren();
    if (!letsJobsGoOn)
        RecordEndedRuns();
    m_finishedJobs.WaitForResults(longestWaitForResults);
    m_finishedJobs.FinishRemovals();
    m_finishedJobs.Clear();
    m_outbox.Drain();
    m_outbox.LeaveStored();
    // The database is closed first: the jobs that are killed now wait again in the project, and their ends
    // are not recorded.
    Taskmill_Database_Manager::Global().CloseAll();
    for (Taskmill_QueueOwner *owner : m_destinations.All())
        owner->Stop();
    for (Taskmill_QueueOwner *owner : m_destinations.All())
        owner->Clear();
    m_finishedJobs.Clear();
    m_keptRuns.ForgetResults();
    ForgetProject();
}

void Taskmill_Project::RecordEndedRuns()
{
    Taskmill_Database *database = CurrentDatabase();
    if (!database || !m_copy)
        return;
    database->WorkingCopy().RemoveAllRuns();
    m_storedPauses.StoreAllPaused(*database);
}

void Taskmill_Project::ForgetProject()
{
    m_copy.reset();
    m_lock.reset();
    m_storedPauses.Forget();
    m_notices.clear();
    m_isRecovered = false;
    m_hasChangedFile = false;
    m_spareFile = {};
}

void Taskmill_Project::Adopt(Taskmill_Database &database, const QString &path)
{
    database.SetFilePath(path);
    database.MarkUnchanged();
    Follow(database);
}

void Taskmill_Project::Follow(const Taskmill_Database &database) const
{
    connect(&database, &KilnUtil_Database_Foundation::StateChangedSignal, this,
            &Taskmill_Project::StateChangedSignal);
}

void Taskmill_Project::ReloadJobs(Taskmill_Database &database)
{
    m_jobTypes.Refresh();
    ReloadLimits(database);
    m_finishedJobs.Load();
    std::array jobs{database.GetLongJobs(), database.GetShortJobs(), database.GetQueuelessJobs()};
    Taskmill_GiveOwnJobNumbers(database, jobs, m_finishedJobs, m_jobNumbers);
    const QHash<qint32, QString> runs = database.WorkingCopy().Runs();
    const QSet<int> recorded{runs.keyBegin(), runs.keyEnd()};
    m_destinations.Long().Replace(Taskmill_InWaitingOrder(jobs[0]), recorded);
    m_destinations.Short().Replace(Taskmill_InWaitingOrder(jobs[1]), recorded);
    // Jobs without a queue start at once, when everything else is in place; those that ran are held.
    m_destinations.Queueless().Replace(jobs[2], recorded);
}

void Taskmill_Project::ReloadLimits(Taskmill_Database &database)
{
    for (Taskmill_JobQueue *queue : m_destinations.Queues()) {
        const int stored = database.GetMaxRunningJobs(queue->Name());
        queue->SetMaxRunningJobs(stored >= 1 ? stored : 1);
    }
}
