// SPDX-License-Identifier: MIT
#pragma once

#include "manager/leavingdialogue.h"
#include "manager/projectfile.h"
#include "manager/projectruns.h"
#include "manager/spareproject.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

#include <array>
#include <memory>
#include <optional>

class KilnUtil_IDManager;
class Taskmill_Database;
class Taskmill_Destinations;
class Taskmill_FinishedJobs;
class Taskmill_JobTypeList;
class Taskmill_Outbox;
class Taskmill_ProjectLock;
class Taskmill_RunSource;
class Taskmill_WorkingCopy;
struct Taskmill_LeftProject;

/// The file filter of dialogs for project files.
extern const char *const Taskmill_ProjectFileFilter;
/// The title of what is asked and reported while a project is saved.
extern const char *const Taskmill_SavingTitle;

/// The one project that the manager has open: a database of its own, the working copy, which is saved to and
/// loaded from a ".mill" file. A working copy that a manager has left which was ended by force is taken up.
class Taskmill_Project : public QObject
{
    Q_OBJECT

public:
    /// All of them outlive the project; there may be no keepers.
    Taskmill_Project(Taskmill_JobTypeList &jobTypes, KilnUtil_IDManager &jobNumbers,
                     Taskmill_FinishedJobs &finishedJobs, Taskmill_Destinations &destinations,
                     Taskmill_Outbox &outbox, Taskmill_RunSource &runs,
                     Taskmill_ReadOnlyProjects readOnlyProjects, KilnUtil_RunKeepers *keepers);
    ~Taskmill_Project() override;
    Q_DISABLE_COPY_MOVE(Taskmill_Project)

    [[nodiscard]] bool IsOpen() const;
    /// Absolute; empty for a project never saved.
    [[nodiscard]] QString FilePath() const;
    [[nodiscard]] bool HasUnsavedChanges() const;

    /// Replaces the current project by that of the file; its two queues are paused. Asks through the prompt
    /// in force what Taskmill_LeavingDialogue asks. False when the user stays with the current one, when the
    /// file is no project, or when another manager of this computer has it open. Changes of the project that
    /// were left behind in a working copy are there again, and unsaved; the queues are as they were then,
    /// unless the computer was started again.
    [[nodiscard]] bool OpenProject(const QString &path);
    /// Takes up a project that was never saved and was left behind by a manager that was ended by force, if
    /// there is one, else makes a new one.
    [[nodiscard]] bool OpenWithoutFile();
    /// Replaces the current project by an empty one with the default job types, whose queues run.
    [[nodiscard]] bool NewProject();
    /// The same after asking what Taskmill_LeavingDialogue asks.
    [[nodiscard]] bool AskForNewProject();
    /// Whether another program has changed the project's file since it was opened or saved here.
    [[nodiscard]] bool FileHasChanged() const;
    /// Writes the project to the file of that name, which becomes its own, without asking; a failure is
    /// reported. What must be asked before is up to Taskmill_SaveDialogue.
    bool SaveProjectAs(const QString &path);
    /// The same without a report: why it could not be written, or nothing when it was.
    [[nodiscard]] std::optional<QString> TrySaveProjectAs(const QString &path);
    /// Writes unsaved changes to the project's own file without asking or reporting anything but to the debug
    /// log, for a program that ends on a signal. When that file has changed, they stay in the working copy,
    /// or are written beside the file where there is none. False when they could not be written there: they
    /// are in a spare file then, which the log and a notice at the next start name, if any place took it.
    bool SaveUnattended();
    /// The trimmed name with ".mill" at its end; empty for an empty one.
    [[nodiscard]] static QString ProjectFileName(const QString &name);

    /// The version of the program and the project's name or state.
    [[nodiscard]] QString WindowTitle() const;

    /// Whether a job runs that can go on without the program.
    [[nodiscard]] bool IsAnyJobKept();
    /// To be called before such jobs go on: without a working copy a spare file is written, where the
    /// project's own does not know them.
    void StoreJobsThatGoOn();
    /// Ends all jobs, empties the lists and closes the database, whose working copy is removed.
    void CloseProject();
    /// The same, but changes that were saved nowhere stay for the next start: for an end at which nobody
    /// could be asked. With `letsJobsGoOn` the jobs that keepers run do not end, and what the database knows
    /// of them stays too: whoever opens the project again finds them.
    void LeaveProject(bool letsJobsGoOn = false);
    /// The jobs that ran were ended by this program, and wait again in the project, as after quitting.
    void RecordEndedRuns();

    /// What the user must know of how the project was opened, a line each.
    [[nodiscard]] QStringList Notices() const { return m_notices; }
    /// Whether changes were recovered and are in no file.
    [[nodiscard]] bool IsRecovered() const { return m_isRecovered; }
    /// Whether changes were recovered while another program has changed the project's file, and nobody has
    /// decided yet which of them counts. The changes do until then.
    [[nodiscard]] bool HasChangedFile() const { return m_hasChangedFile; }
    void KeepRecovered() { m_hasChangedFile = false; }
    /// Opens the file as it is instead. What was recovered is written to a new file beside it, whose name is
    /// returned; empty, and nothing done, when that fails, which is reported.
    QString OpenFileInstead();

Q_SIGNALS:
    /// Another project, another name, or the unsaved changes are others.
    void StateChangedSignal();

private:
    [[nodiscard]] bool Open(const QString &path, Taskmill_LeavingDialogue::Jobs jobs);
    bool Begin(Taskmill_OpenedFile opened, const QString &path);
    bool TakeUp(Taskmill_LeftProject left, const QString &path);
    /// The database is the current one.
    void Install(Taskmill_Database &database, const QString &path);
    /// Everything that is still to be written to the database is. False when some of it cannot be.
    [[nodiscard]] bool MakeWhole();
    [[nodiscard]] bool WriteFile(const QString &path);
    [[nodiscard]] bool WriteOwnFile(const QString &path);
    void StorePauses();
    /// The working copy is that of a project that is open now.
    void CarryOverNotifications();
    void ForgetProject();
    void ReloadJobs(Taskmill_Database &database);
    void ReloadLimits(Taskmill_Database &database);
    void Adopt(Taskmill_Database &database, const QString &path);
    void Follow(const Taskmill_Database &database) const;
    void WriteSpareFile();

    Taskmill_JobTypeList &m_jobTypes;
    KilnUtil_IDManager &m_jobNumbers;
    Taskmill_FinishedJobs &m_finishedJobs;
    Taskmill_Destinations &m_destinations;
    Taskmill_Outbox &m_outbox;
    Taskmill_RunSource &m_runs;
    Taskmill_ProjectRuns m_keptRuns;
    const Taskmill_ReadOnlyProjects m_readOnlyProjects;

    std::unique_ptr<Taskmill_ProjectLock> m_lock; ///< of the project's file
    std::unique_ptr<Taskmill_WorkingCopy> m_copy; ///< nullptr for a project in memory
    /// Of the project before, until its notifications are in the next one's.
    std::unique_ptr<Taskmill_WorkingCopy> m_closedCopy;
    std::array<std::optional<bool>, 2> m_storedPauses; ///< of the two queues, as the working copy has them
    QStringList m_notices;
    bool m_isRecovered = false;
    bool m_hasChangedFile = false;

    Taskmill_FileStamp m_fileStamp;
    Taskmill_SpareFile m_spareFile; ///< for changes that could not be saved unattended
};
