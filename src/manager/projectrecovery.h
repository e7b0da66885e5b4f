// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobnotification.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>
#include <vector>

class KilnUtil_FileLock;
class Taskmill_Database;
class Taskmill_ProjectLock;
class Taskmill_WorkingCopy;

/// A project as a manager that was ended by force has left it.
struct Taskmill_LeftProject
{
    std::unique_ptr<Taskmill_WorkingCopy> Copy;
    std::unique_ptr<Taskmill_Database> Database; ///< open on the copy; goes before it
    QString ProjectPath;                         ///< empty for one that was never saved
    int Changes = 0;                             ///< since it was opened or saved
    bool FileHasChanged = false;                 ///< another program has changed the project's file meanwhile
    bool IsSameBoot = false;                     ///< the computer was not started again since then

    Taskmill_LeftProject() = default;
    Taskmill_LeftProject(Taskmill_LeftProject &&) = default;
    ~Taskmill_LeftProject();
    Taskmill_LeftProject &operator=(Taskmill_LeftProject &&) = default;
    Q_DISABLE_COPY(Taskmill_LeftProject)
};

/// Finds the working copies that were left behind. Those without anything that their project files lack are
/// removed on the way, damaged ones set aside. The one search gives back what it does not take up. `notices`
/// receives what the user must know, line by line.
class Taskmill_ProjectRecovery
{
public:
    explicit Taskmill_ProjectRecovery(QStringList &notices);
    ~Taskmill_ProjectRecovery();
    Q_DISABLE_COPY_MOVE(Taskmill_ProjectRecovery)

    /// The one of the project file that the lock is of.
    [[nodiscard]] std::optional<Taskmill_LeftProject> Find(const Taskmill_ProjectLock &projectLock);
    /// Sets one aside whose content is no whole project, as after an error of its disk, and forgets it.
    void SetAsideUnfit(std::optional<Taskmill_LeftProject> &left);
    /// Whether that was done, or a damaged one was set aside: jobs may run that nobody knows.
    [[nodiscard]] bool IsAnySetAside() const { return m_isAnySetAside; }
    /// The path of the one that Find() was to return, when it cannot be read now: the project must not be
    /// opened without it. Empty as a rule.
    [[nodiscard]] QString OutOfReach() const { return m_outOfReach; }
    /// The last used one of a project that was never saved, of a manager that had a window if this one has,
    /// else of one without. The others, and those whose project files are gone, are listed in the notices.
    [[nodiscard]] std::optional<Taskmill_LeftProject> FindNeverSaved();
    /// The notifications that managers could not deliver before they ended in order. Their working copies go
    /// with this object: the caller must have stored them by then.
    [[nodiscard]] QList<Taskmill_Notification> TakeNotifications();

private:
    struct Candidate;
    void RemoveOrKeep(Candidate candidate);
    void EndSearch();
    [[nodiscard]] static Candidate Open(std::unique_ptr<Taskmill_WorkingCopy> copy);
    [[nodiscard]] std::optional<Taskmill_LeftProject> Take(Candidate &candidate);
    void SetAside(Candidate &candidate);

    QStringList &m_notices;
    std::vector<std::unique_ptr<KilnUtil_FileLock>>
        m_searchLocks; ///< of the folders, until the search is done
    std::vector<Candidate> m_candidates;
    std::vector<Candidate> m_closed; ///< whose projects were closed, with notifications
    bool m_areNotificationsTaken = false;
    bool m_isAnySetAside = false;
    QString m_outOfReach;
};

/// Writes what the working copy has to say of itself: which project it is of, which content of its file it
/// began with, who has it. Done for one that is new, empty but for the project, and for one that is taken up.
/// False when that fails.
[[nodiscard]] bool Taskmill_BeginWorkingCopy(Taskmill_Database &database, Taskmill_WorkingCopy &copy,
                                             const QString &projectPath, const QString &fileStamp);
[[nodiscard]] bool Taskmill_TakeUpWorkingCopy(Taskmill_Database &database);
/// The project is about to be written to its file, whose content will have that stamp.
void Taskmill_AnnounceSaving(Taskmill_Database &database, const QString &fileStamp);
/// It has been written.
void Taskmill_RecordSaving(Taskmill_Database &database, Taskmill_WorkingCopy &copy,
                           const QString &projectPath, const QString &fileStamp);

/// Nothing of it is to be recovered from now on, since its project is being closed.
void Taskmill_GiveUpWorkingCopy(Taskmill_Database &database);

/// "12 changes since the last save were recovered".
[[nodiscard]] QString Taskmill_RecoveredNotice(int changes);
