// SPDX-License-Identifier: MIT
#include "manager/project.h"

#include "db/database.h"
#include "db/databasemanager.h"
#include "jobs/jobtypelist.h"
#include "jobs/runmode.h"
#include "kilnutil/error.h"
#include "kilnutil/idmanager.h"
#include "kilnutil/logging.h"
#include "kilnutil/registry.h"
#include "manager/closingdialogue.h"
#include "manager/destinations.h"
#include "manager/finishedjobs.h"
#include "manager/projectdatabase.h"
#include "manager/recentprojects.h"
#include "manager/spareproject.h"
#include "manager/version.h"
#include "processes/processtree.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::Literals::StringLiterals;

const char *const Taskmill_ProjectFileFilter = "Taskmill Project Files (*.mill)";
const char *const Taskmill_SavingTitle = "Saving a Taskmill Project File";

namespace {
Taskmill_Database *CurrentDatabase()
{
    return Taskmill_Database_Manager::Global().CurrentDatabase();
}

/// What stands against the file before it is read, with %1 for its path; empty when nothing does.
QString ProblemOfFile(const QString &path)
{
    const QFileInfo file{path};
    if (!file.exists())
        return u"The specified file does not exist:\n\n%1"_s;
    if (!file.isReadable())
        return u"The specified file is not readable:\n\n%1"_s;
    // A console has nobody at hand to choose another file, and can work on without saving.
    if (Taskmill_IsGuiMode() && !file.isWritable())
        return u"The specified file is not writable:\n\n%1"_s;
    return {};
}

/// The same for its content, which the database in memory is to take over.
QString ProblemOfLoading(Taskmill_Database &database, const QString &path)
{
    QString reason;
    const bool loaded = database.LoadFromFile(path, &reason);
    if (!loaded && !reason.isEmpty())
        return u"The specified file cannot be opened as a Taskmill project:\n\n%1\n\n%2"_s.arg(u"%1"_s,
                                                                                               reason);
    if (!loaded)
        return u"The specified file is not a Taskmill project, is damaged or is in use by another program:\n\n%1\n\n(%2)"_s
            .arg(u"%1"_s, database.LastErrorMessage());
    QString version;
    if (!database.GetGeneralData(u"Version"_s, version))
        return u"The specified file is not a Taskmill project:\n\n%1"_s;
    if (!Taskmill_IsProject(database))
        return u"The specified file is a Taskmill project of another version:\n\n%1"_s;
    // Without one of them jobs would be lost.
    if (!database.CompleteTables())
        return u"The specified file is a damaged Taskmill project:\n\n%1"_s;
    return {};
}

QString ProblemOf(Taskmill_Database &database, const QString &path)
{
    const QString problem = ProblemOfFile(path);
    return problem.isEmpty() ? ProblemOfLoading(database, path) : problem;
}

/// The name of a new file beside a project's own.
QString FileBeside(const QString &path)
{
    const QFileInfo file{path};
    return file.dir().filePath(u"%1-%2.mill"_s.arg(file.completeBaseName(), Taskmill_FileTimeStamp()));
}

Taskmill_Question ClosingQuestion(const QString &title, const QString &text, const QString &consoleText)
{
    return {.title = title,
            .text = text,
            .consoleText = consoleText,
            .kind = Taskmill_Question::Kind::YesNoCancel,
            .defaultAnswer = KilnUtil_UserPrompt::WarnAnswer::Yes,
            .takesShortWords = false};
}

void RememberDirectory(const QString &path)
{
    KilnUtil_Registry::SetValue(u"/Files/Last_Directory_Path"_s, QFileInfo{path}.absolutePath());
}
} // namespace

Taskmill_Project::Taskmill_Project(Taskmill_JobTypeList &jobTypes, KilnUtil_IDManager &jobNumbers,
                                   Taskmill_FinishedJobs &finishedJobs, Taskmill_Destinations &destinations,
                                   KilnUtil_RunKeepers *keepers)
    : m_jobTypes{jobTypes}
    , m_jobNumbers{jobNumbers}
    , m_finishedJobs{finishedJobs}
    , m_destinations{destinations}
    , m_runs{keepers}
{
}

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
    if (path.isEmpty())
        return false;
    const QString title = u"Opening a Taskmill Project File"_s;
    const QString absolutePath = QFileInfo{path}.absoluteFilePath();
    // A bad file is not to cost the project that is open.
    auto loaded = Taskmill_Database_Manager::MakeMemoryDatabase();
    FileStamp stamp = FileStamp::Of(absolutePath);
    QString problem = ProblemOf(*loaded, absolutePath);
    if (problem.isEmpty()) {
        Taskmill_ClosingDialogue closing{*this};
        Taskmill_AskThroughPrompt(closing);
        if (!closing.MayClose())
            return false;
        // The open project may have been written to this very file.
        if (closing.IsSaved()) {
            stamp = FileStamp::Of(absolutePath);
            problem = ProblemOfLoading(*loaded, absolutePath);
        }
    }
    if (!problem.isEmpty()) {
        KilnUtil_Error::ReportWarning(title, problem.arg(path));
        return false;
    }

    CloseProject();
    RememberDirectory(absolutePath);
    Taskmill_Database *database = Taskmill_Database_Manager::Global().Adopt(std::move(loaded));
    Adopt(*database, absolutePath);
    m_fileStamp = stamp;
    m_jobNumbers = KilnUtil_IDManager{Taskmill_LastJobID(*database), 1};
    m_runs.BelongTo(*database, absolutePath);
    ReloadJobs(*database);
    database->MarkUnchanged();
    Taskmill_AddToRecentProjects(absolutePath);
    Q_EMIT StateChangedSignal();
    return true;
}

bool Taskmill_Project::NewProject()
{
    CloseProject();
    Taskmill_Database *database =
        Taskmill_Database_Manager::Global().Database(KilnUtil_Database_Foundation::SQLiteMemory, {}, true);
    if (!database || !Taskmill_FillNewProject(*database, m_jobTypes)) {
        Taskmill_Database_Manager::Global().CloseAll();
        return false;
    }
    m_jobNumbers = KilnUtil_IDManager{0, 1};
    m_runs.BelongTo(*database, {});
    for (Taskmill_JobQueue *queue : m_destinations.Queues()) {
        queue->SetMaxRunningJobs(1);
        queue->SetPaused(false);
    }
    Follow(*database);
    database->MarkUnchanged();
    Q_EMIT StateChangedSignal();
    return true;
}

QString Taskmill_Project::ProjectFileName(const QString &name)
{
    QString file = name.trimmed();
    if (!file.isEmpty() && !file.endsWith(".mill"_L1, Qt::CaseInsensitive))
        file += u".mill"_s;
    return file;
}

Taskmill_Project::FileStamp Taskmill_Project::FileStamp::Of(const QString &path)
{
    const QFileInfo file{path};
    return {.Modified = file.lastModified(), .Size = file.size()};
}

bool Taskmill_Project::FileHasChanged() const
{
    const QString path = FilePath();
    return QFileInfo::exists(path) && FileStamp::Of(path) != m_fileStamp;
}

bool Taskmill_Project::SaveProjectAs(const QString &path)
{
    Taskmill_Database *database = CurrentDatabase();
    const QString absolutePath = QFileInfo{path}.absoluteFilePath();
    if (!WriteFile(absolutePath)) {
        KilnUtil_Error::ReportError(
            QString::fromLatin1(Taskmill_SavingTitle),
            u"The project could not be written to the following file, which is as it was before:\n\n%1\n\n(%2)"_s
                .arg(absolutePath, database ? database->LastErrorMessage() : QString{}));
        return false;
    }
    // The database in memory is what the file holds now; it is not closed, so that nothing can go wrong in
    // reading the file back while jobs run.
    RememberDirectory(absolutePath);
    m_fileStamp = FileStamp::Of(absolutePath);
    database->SetFilePath(absolutePath);
    database->MarkUnchanged();
    m_runs.MoveTo(absolutePath);
    m_runs.ForgetResults();
    RemoveSpareFile();
    Taskmill_AddToRecentProjects(absolutePath);
    Q_EMIT StateChangedSignal();
    return true;
}

bool Taskmill_Project::WriteFile(const QString &path)
{
    for (Taskmill_QueueOwner *owner : m_destinations.All())
        owner->CollectAllFinished();
    Taskmill_Database *database = CurrentDatabase();
    return database && database->SaveToFile(path);
}

bool Taskmill_Project::SaveUnattended()
{
    if (FilePath().isEmpty() || !HasUnsavedChanges())
        return true;
    const QString path = FileHasChanged() ? FileBeside(FilePath()) : FilePath();
    if (!WriteFile(path)) {
        WriteSpareFile();
        return false;
    }
    if (path == FilePath())
        m_fileStamp = FileStamp::Of(path);
    else
        qCWarning(Taskmill_ManagerLog,
                  "The project file was changed by another program; this project was written to %ls",
                  qUtf16Printable(path));
    CurrentDatabase()->MarkUnchanged();
    m_runs.ForgetResults();
    RemoveSpareFile();
    return true;
}

void Taskmill_Project::WriteSpareFile()
{
    const auto write = [this](const QString &path) {
        return WriteFile(path);
    };
    // A log-out may be called off, and come again.
    if (!QFileInfo::exists(m_spareFile) || !write(m_spareFile))
        m_spareFile = Taskmill_WriteSpareProject(FilePath(), write);
    // The changes are still to be saved where they belong.
    if (m_spareFile.isEmpty())
        qCWarning(Taskmill_ManagerLog,
                  "The project could not be written to %ls, nor anywhere else: its changes are lost",
                  qUtf16Printable(FilePath()));
    else
        qCWarning(Taskmill_ManagerLog, "The project could not be written to %ls; it was written to %ls",
                  qUtf16Printable(FilePath()), qUtf16Printable(m_spareFile));
}

void Taskmill_Project::RemoveSpareFile()
{
    if (const QString path = std::exchange(m_spareFile, {}); !path.isEmpty() && path != FilePath())
        QFile::remove(path);
}

std::optional<Taskmill_Question> Taskmill_Project::QuestionBeforeClosing() const
{
    const Taskmill_Database *database = CurrentDatabase();
    if (!database || !database->HasUnsavedChanges())
        return std::nullopt;
    const QString changesTitle = u"Save Changes to Current Project?"_s;
    const QString changesConsoleText = u"Save Changes Made to Current Project Before Closing it?"_s;
    if (!database->FilePath().isEmpty()) {
        return ClosingQuestion(
            changesTitle,
            u"Would you like to save changes to the current Taskmill project before closing it?\n\n"
            "If you choose No, the changes to the database will be lost."_s,
            changesConsoleText);
    }
    if (!database->Title().isEmpty()) {
        return ClosingQuestion(
            changesTitle,
            u"Would you like to save changes made to the current Taskmill project before closing it?\n\n"
            "If you choose No, the changes made to the project since the last save will be lost."_s,
            changesConsoleText);
    }
    return ClosingQuestion(
        u"Save Current Project?"_s,
        u"Would you like to save the current Taskmill project to a file before closing it?\n\n"
        "If you choose No, the project will be lost."_s,
        u"Save Current Project to a File Before Closing it?"_s);
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
    const auto owners = m_destinations.All();
    const bool isAnyRunning = std::ranges::any_of(
        owners, [](const Taskmill_QueueOwner *owner) { return owner->Jobs().IsAnyKept(); });
    if (!isAnyRunning || !HasUnsavedChanges())
        return;
    WriteSpareFile();
    if (!m_spareFile.isEmpty())
        m_runs.MoveTo(m_spareFile);
}

void Taskmill_Project::CloseProject(bool letsJobsGoOn)
{
    if (letsJobsGoOn)
        StoreJobsThatGoOn();
    for (Taskmill_QueueOwner *owner : m_destinations.All()) {
        if (letsJobsGoOn)
            owner->LetJobsGoOn();
        else
            owner->Jobs().BeginToKillRunning();
    }
    // All at once: telling the client of one job may take a while, and none is to go on running meanwhile.
    KilnUtil_ProcessTree::KillRegisteredChildren();
    // Before the database goes: a killed job is recorded, and not in the next project.
    for (Taskmill_QueueOwner *owner : m_destinations.All())
        owner->Stop();
    for (Taskmill_QueueOwner *owner : m_destinations.All())
        owner->Clear();
    m_finishedJobs.Clear();
    m_spareFile.clear();
    m_runs.ForgetResults();
    Taskmill_Database_Manager::Global().CloseAll();
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
    m_finishedJobs.SetJobs(
        database.GetFinishedJobsWithShortOutputs(Taskmill_FinishedJobs::LongestOutputKept + 1));
    m_destinations.Long().Replace(database.GetLongJobs());
    m_destinations.Short().Replace(database.GetShortJobs());
    // Jobs without a queue start at once, when everything else is in place; those that ran are held.
    m_destinations.Queueless().Replace(database.GetQueuelessJobs());
}

void Taskmill_Project::ReloadLimits(Taskmill_Database &database)
{
    for (Taskmill_JobQueue *queue : m_destinations.Queues()) {
        const int stored = database.GetMaxRunningJobs(queue->Name());
        queue->SetMaxRunningJobs(stored >= 1 ? stored : 1);
    }
}
