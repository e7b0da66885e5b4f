#include "service/project.h"

#include "db/database.h"
#include "db/databasemanager.h"
#include "jobs/jobtypelist.h"
#include "kilnutil/idmanager.h"
#include "kilnutil/registry.h"
#include "service/finishedjobs.h"
#include "service/projectdatabase.h"
#include "service/queueowner.h"

#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace {
Taskmill_Database *CurrentDatabase()
{
    return Taskmill_Database_Manager::Global().CurrentDatabase();
}

Taskmill_Database *NewMemoryDatabase(bool create)
{
    return Taskmill_Database_Manager::Global().Database(KilnUtil_Database_Foundation::SQLiteMemory, {},
                                                        create);
}
} // namespace

Taskmill_Project::Taskmill_Project(Taskmill_JobTypeList &jobTypes, KilnUtil_IDManager &jobNumbers,
                                   const Taskmill_JobTabs &tabs)
    : m_jobTypes{jobTypes}
    , m_jobNumbers{jobNumbers}
    , m_tabs{tabs}
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
    CloseProject();
    RememberDirectory(path);
    const QString absolutePath = QFileInfo{path}.absoluteFilePath();
    Taskmill_Database *database = OpenDatabaseOfFile(absolutePath);
    if (!database || !Taskmill_IsProject(*database)) {
        Taskmill_Database_Manager::Global().CloseAll();
        return false;
    }
    m_jobNumbers = KilnUtil_IDManager{Taskmill_LastJobID(*database), 1};
    ReloadTabs(*database);
    database->MarkUnchanged();
    return true;
}

bool Taskmill_Project::NewProject()
{
    CloseProject();
    Taskmill_Database *database = NewMemoryDatabase(true);
    if (!database || !Taskmill_FillNewProject(*database, m_jobTypes)) {
        Taskmill_Database_Manager::Global().CloseAll();
        return false;
    }
    m_jobNumbers = KilnUtil_IDManager{0, 1};
    for (Taskmill_JobQueue *queue : {static_cast<Taskmill_JobQueue *>(&m_tabs.LongJobs.Jobs()),
                                     static_cast<Taskmill_JobQueue *>(&m_tabs.ShortJobs.Jobs())}) {
        queue->SetMaxRunningJobs(1);
        queue->SetPaused(false);
    }
    database->MarkUnchanged();
    return true;
}

bool Taskmill_Project::SaveProject()
{
    Taskmill_Database *database = CurrentDatabase();
    const QString path = FilePath();
    if (!database || path.isEmpty() || !database->SaveToFile(path))
        return false;
    Taskmill_Database_Manager::Global().CloseAll();
    RememberDirectory(path);
    database = OpenDatabaseOfFile(path);
    if (!database) {
        Taskmill_Database_Manager::Global().CloseAll();
        return false;
    }
    return true;
}

void Taskmill_Project::CloseProject()
{
    // Jobs are ended before the database goes: a killed one is recorded, and not in the next project.
    m_tabs.LongJobs.Stop();
    m_tabs.ShortJobs.Stop();
    m_tabs.QueuelessJobs.Stop();
    m_tabs.LongJobs.Clear();
    m_tabs.ShortJobs.Clear();
    m_tabs.QueuelessJobs.Clear();
    m_tabs.FinishedJobs.Clear();
    Taskmill_Database_Manager::Global().CloseAll();
}

Taskmill_Database *Taskmill_Project::OpenDatabaseOfFile(const QString &path)
{
    Taskmill_Database *database = NewMemoryDatabase(false);
    if (!database || !database->LoadFromFile(path))
        return nullptr;
    database->SetFilePath(path);
    database->MarkUnchanged();
    return database;
}

void Taskmill_Project::ReloadTabs(Taskmill_Database &database)
{
    m_jobTypes.Refresh();
    ReloadLimits(database);
    m_tabs.FinishedJobs.SetJobs(database.GetFinishedJobs());
    m_tabs.LongJobs.Replace(database.GetLongJobs());
    m_tabs.ShortJobs.Replace(database.GetShortJobs());
    // Jobs without a queue start at once, when everything else is in place.
    m_tabs.QueuelessJobs.Replace(database.GetQueuelessJobs());
}

void Taskmill_Project::ReloadLimits(Taskmill_Database &database)
{
    for (Taskmill_JobQueue *queue : {static_cast<Taskmill_JobQueue *>(&m_tabs.LongJobs.Jobs()),
                                     static_cast<Taskmill_JobQueue *>(&m_tabs.ShortJobs.Jobs())}) {
        const int stored = database.GetMaxRunningJobs(queue->Name());
        queue->SetMaxRunningJobs(stored >= 1 ? stored : 1);
    }
}

void Taskmill_Project::RememberDirectory(const QString &path)
{
    KilnUtil_Registry::SetValue(u"/Files/Last_Directory_Path"_s, QFileInfo{path}.absolutePath());
}
