// SPDX-License-Identifier: MIT
#include "manager/projectrecovery.h"

#include "db/contentstamp.h"
#include "db/databasecopy.h"
#include "db/databasemanager.h"
#include "db/workingcopy.h"
#include "jobs/runmode.h"
#include "kilnutil/computerdata.h"
#include "kilnutil/filelock.h"
#include "kilnutil/logging.h"
#include "manager/outbox.h"
#include "manager/projectdatabase.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <array>

#include <sqlite3.h>

using namespace Qt::Literals::StringLiterals;

namespace {
// Names of values in the table WorkingCopy.
const QString projectValue = u"Project"_s;
const QString baseStampValue = u"BaseStamp"_s;       ///< of the file's content that the copy began with
const QString pendingStampValue = u"PendingStamp"_s; ///< of a content that is about to be written there
const QString givenUpValue = u"GivenUp"_s;           ///< its project was being closed
const QString modeValue = u"Mode"_s;
const QString changesValue = u"Changes"_s;
const QString bootValue = u"BootID"_s;

QString Mode()
{
    return Taskmill_IsGuiMode() ? u"window"_s : u"console"_s;
}

/// What says nothing about the content, but may be another thing later; a full disk above all, since reading
/// a database that was left open writes, too.
bool IsOutOfReach(int result)
{
    constexpr int primaryCode = 0xff;
    constexpr std::array codes{SQLITE_FULL, SQLITE_IOERR,  SQLITE_CANTOPEN, SQLITE_BUSY,
                               SQLITE_PERM, SQLITE_LOCKED, SQLITE_READONLY, SQLITE_NOMEM};
    return std::ranges::find(codes, result & primaryCode) != codes.end();
}

/// Open on the copy; nullptr when it cannot be read, or is none.
std::unique_ptr<Taskmill_Database> OpenCopy(const QString &path)
{
    auto database = Taskmill_Database_Manager::MakeMemoryDatabase();
    database->SetStoragePath(path);
    // What cannot be read is no reason to take it for unchanged.
    const bool isReadable = database->Open() && database->WorkingCopy().Exists() &&
                            !database->WorkingCopy().Value(changesValue).isEmpty();
    return isReadable ? std::move(database) : nullptr;
}

QString CountText(int changes)
{
    return changes == 1 ? u"1 change"_s : u"%1 changes"_s.arg(changes);
}
} // namespace

Taskmill_LeftProject::~Taskmill_LeftProject() = default;

struct Taskmill_ProjectRecovery::Candidate
{
    std::unique_ptr<Taskmill_WorkingCopy> copy;
    std::unique_ptr<Taskmill_Database> database; ///< nullptr when it cannot be read
    QString project;
    QString mode;
    int changes = 0;
    bool hasRuns = false;
    bool isGivenUp = false;
    bool isOutOfReach = false; ///< it cannot be read now, but it may be sound
    bool isDamaged = false;
    QList<Taskmill_Notification> notifications; ///< that were not delivered

    [[nodiscard]] bool IsNeverSaved() const { return project.isEmpty(); }
    /// Whether its project is to be taken up, and not only what its clients are to know.
    [[nodiscard]] bool HasUnsaved() const { return !database || changes > 0 || hasRuns; }
    void Remove()
    {
        if (database)
            database->GiveUpStorage();
        database.reset();
        copy->Remove();
        copy.reset();
    }
};

Taskmill_ProjectRecovery::Taskmill_ProjectRecovery(QStringList &notices)
    : m_notices{notices}
    , m_searchLocks{Taskmill_WorkingCopy::LockSearch()}
{
    for (auto &copy : Taskmill_WorkingCopy::TakeAbandoned())
        RemoveOrKeep(Open(std::move(copy)));
}

Taskmill_ProjectRecovery::~Taskmill_ProjectRecovery()
{
    if (!m_areNotificationsTaken)
        return;
    for (Candidate &candidate : m_closed)
        candidate.Remove();
}

void Taskmill_ProjectRecovery::EndSearch()
{
    m_candidates.clear();
    m_searchLocks.clear();
}

void Taskmill_ProjectRecovery::RemoveOrKeep(Candidate candidate)
{
    if (!candidate.copy->IsNoted()) {
        // Its manager was ended while it read the project: nothing is to be kept. Or the note was lost.
        if (candidate.isDamaged && candidate.copy->MayHoldChanges())
            m_notices += u"A working copy that cannot be read was kept as %1."_s.arg(
                QDir::toNativeSeparators(candidate.copy->SetAside()));
        return;
    }
    // What its manager ended in order with, or never began to change.
    const bool isClosed = candidate.database && (candidate.isGivenUp || !candidate.HasUnsaved());
    const auto isTooOld = [now = QDateTime::currentMSecsSinceEpoch()](const Taskmill_Notification &one) {
        return Taskmill_Outbox::IsTooOld(one, now);
    };
    if (isClosed && std::ranges::all_of(candidate.notifications, isTooOld)) {
        std::ranges::for_each(candidate.notifications, Taskmill_Outbox::LogTooOld);
        candidate.Remove();
    } else if (isClosed && candidate.isGivenUp) {
        m_closed.push_back(std::move(candidate));
    } else {
        m_candidates.push_back(std::move(candidate));
    }
}

QList<Taskmill_Notification> Taskmill_ProjectRecovery::TakeNotifications()
{
    m_areNotificationsTaken = true;
    QList<Taskmill_Notification> notifications;
    for (const Candidate &candidate : m_closed)
        notifications += candidate.notifications;
    return notifications;
}

Taskmill_ProjectRecovery::Candidate Taskmill_ProjectRecovery::Open(std::unique_ptr<Taskmill_WorkingCopy> copy)
{
    Candidate candidate;
    candidate.project = copy->NotedProject();
    auto database = OpenCopy(copy->Path());
    if (!database) {
        const int problem = Taskmill_CheckWorkingCopy(copy->Path());
        candidate.isOutOfReach = IsOutOfReach(problem);
        // The check applies the log beside the copy, which may be readable then.
        if (problem == SQLITE_OK)
            database = OpenCopy(copy->Path());
        candidate.isDamaged = problem != SQLITE_OK && !candidate.isOutOfReach;
        if (candidate.isOutOfReach)
            copy->LeaveInPlace();
    }
    if (database) {
        Taskmill_WorkingCopyStore &store = database->WorkingCopy();
        candidate.project = store.Value(projectValue);
        candidate.mode = store.Value(modeValue);
        candidate.hasRuns = !store.Runs().isEmpty();
        candidate.changes = store.Changes();
        candidate.isGivenUp = !store.Value(givenUpValue).isEmpty();
        const QString pending = store.Value(pendingStampValue);
        // The manager was ended behind the last step of saving and before it could write that down.
        if (!pending.isEmpty() && pending == Taskmill_ContentStamp(candidate.project)) {
            candidate.changes = 0;
            Taskmill_RecordSaving(*database, *copy, candidate.project, pending);
        }
        candidate.notifications = store.Notifications();
        candidate.database = std::move(database);
        if (!copy->IsNoted())
            copy->Note(candidate.project);
    }
    candidate.copy = std::move(copy);
    return candidate;
}

void Taskmill_ProjectRecovery::SetAsideUnfit(std::optional<Taskmill_LeftProject> &left)
{
    const QString problem = left ? Taskmill_ProblemOfProject(*left->Database) : QString{};
    if (problem.isEmpty())
        return;
    left->Database.reset();
    m_isAnySetAside = true;
    m_notices += u"The changes since the last save cannot be taken up, and stay in %1 (%2)."_s.arg(
        QDir::toNativeSeparators(left->Copy->SetAside()), problem);
    left.reset();
}

void Taskmill_ProjectRecovery::SetAside(Candidate &candidate)
{
    candidate.database.reset();
    m_isAnySetAside = true;
    const QString aside = QDir::toNativeSeparators(candidate.copy->SetAside());
    candidate.copy.reset();
    m_notices +=
        candidate.IsNeverSaved()
            ? u"A project that was never saved cannot be recovered: its working copy is damaged and was kept as %1."_s
                  .arg(aside)
            : u"The working copy of %1 is damaged and was kept as %2; the project file was opened."_s.arg(
                  QDir::toNativeSeparators(candidate.project), aside);
}

std::optional<Taskmill_LeftProject> Taskmill_ProjectRecovery::Take(Candidate &candidate)
{
    const int problem = Taskmill_CheckWorkingCopy(candidate.copy->Path());
    if (candidate.isOutOfReach || IsOutOfReach(problem)) {
        m_outOfReach = candidate.copy->Path();
        return std::nullopt;
    }
    if (!candidate.database || problem != SQLITE_OK) {
        SetAside(candidate);
        return std::nullopt;
    }
    Taskmill_WorkingCopyStore &store = candidate.database->WorkingCopy();
    Taskmill_LeftProject left;
    left.ProjectPath = candidate.project;
    left.Changes = candidate.changes;
    left.FileHasChanged =
        !candidate.IsNeverSaved() && store.Value(baseStampValue) != Taskmill_ContentStamp(candidate.project);
    const QString boot = KilnUtil_ComputerData::BootID();
    left.IsSameBoot = !boot.isEmpty() && store.Value(bootValue) == boot;
    left.Database = std::move(candidate.database);
    left.Copy = std::move(candidate.copy);
    return left;
}

std::optional<Taskmill_LeftProject> Taskmill_ProjectRecovery::Find(const Taskmill_ProjectLock &projectLock)
{
    for (Candidate &candidate : m_candidates) {
        if (candidate.copy && !candidate.IsNeverSaved() && projectLock.IsOf(candidate.project)) {
            auto left = Take(candidate);
            if (left || !m_outOfReach.isEmpty()) {
                EndSearch();
                return left;
            }
        }
    }
    EndSearch();
    return std::nullopt;
}

std::optional<Taskmill_LeftProject> Taskmill_ProjectRecovery::FindNeverSaved()
{
    std::optional<Taskmill_LeftProject> found;
    for (Candidate &candidate : m_candidates) {
        if (candidate.IsNeverSaved() && !found && (!candidate.database || candidate.mode == Mode())) {
            found = Take(candidate);
            if (candidate.copy)
                m_notices +=
                    u"A project that was never saved cannot be read now, perhaps because a disk is full. It stays in %1."_s
                        .arg(QDir::toNativeSeparators(candidate.copy->Path()));
            continue;
        }
        if (!candidate.HasUnsaved())
            continue;
        const QString path = QDir::toNativeSeparators(candidate.copy->Path());
        if (candidate.IsNeverSaved())
            m_notices +=
                u"Another project that was never saved was left behind, with %1: %2. %3 without a project file takes it up."_s
                    .arg(CountText(candidate.changes), path,
                         candidate.mode == u"window"_s ? u"taskmill"_s : u"taskmill -console"_s);
        else if (!QFileInfo::exists(candidate.project))
            m_notices += u"%1 of the project %2, whose file is gone, were left in %3."_s.arg(
                CountText(candidate.changes), QDir::toNativeSeparators(candidate.project), path);
    }
    EndSearch();
    return found;
}

bool Taskmill_BeginWorkingCopy(Taskmill_Database &database, Taskmill_WorkingCopy &copy,
                               const QString &projectPath, const QString &fileStamp)
{
    Taskmill_WorkingCopyStore &store = database.WorkingCopy();
    const bool begun = store.Begin() && database.Untracked([&] {
        return store.Set(projectValue, projectPath) && store.Set(baseStampValue, fileStamp) &&
               store.Set(modeValue, Mode()) && store.Set(bootValue, KilnUtil_ComputerData::BootID());
    });
    if (!begun)
        return false;
    copy.Note(projectPath);
    database.StartCheckpoints();
    return true;
}

bool Taskmill_TakeUpWorkingCopy(Taskmill_Database &database)
{
    Taskmill_WorkingCopyStore &store = database.WorkingCopy();
    const bool taken = database.Untracked([&] {
        return store.CompleteTables() && database.TakeUpStarts() && store.Set(modeValue, Mode()) &&
               store.Set(bootValue, KilnUtil_ComputerData::BootID());
    });
    if (taken)
        database.StartCheckpoints();
    return taken;
}

void Taskmill_AnnounceSaving(Taskmill_Database &database, const QString &fileStamp)
{
    // After a loss of power the file would else be newer than what is known of it.
    database.SyncNextChange();
    database.WorkingCopy().Set(pendingStampValue, fileStamp);
}

void Taskmill_GiveUpWorkingCopy(Taskmill_Database &database)
{
    database.WorkingCopy().Set(givenUpValue, u"yes"_s);
    database.GiveUpStorage();
}

void Taskmill_RecordSaving(Taskmill_Database &database, Taskmill_WorkingCopy &copy,
                           const QString &projectPath, const QString &fileStamp)
{
    Taskmill_WorkingCopyStore &store = database.WorkingCopy();
    const bool recorded = database.Untracked([&] {
        return store.Set(projectValue, projectPath) && store.Set(baseStampValue, fileStamp) &&
               store.Set(pendingStampValue, {}) && store.SetUnchanged();
    });
    if (recorded)
        copy.Note(projectPath);
    else
        qCWarning(Taskmill_ManagerLog, "The working copy cannot be told that the project was saved: %ls",
                  qUtf16Printable(database.LastErrorMessage()));
}

QString Taskmill_RecoveredNotice(int changes)
{
    return CountText(changes) + (changes == 1 ? u" since the last save was recovered"_s
                                              : u" since the last save were recovered"_s);
}
