// SPDX-License-Identifier: MIT
#pragma once

#include "manager/dialogue.h"
#include "manager/projectruns.h"

#include <QDateTime>
#include <QObject>
#include <QString>

#include <optional>

class KilnUtil_IDManager;
class Taskmill_Database;
class Taskmill_Destinations;
class Taskmill_FinishedJobs;
class Taskmill_JobTypeList;

/// The file filter of dialogs for project files.
extern const char *const Taskmill_ProjectFileFilter;
/// The title of what is asked and reported while a project is saved.
extern const char *const Taskmill_SavingTitle;

/// The one project that the manager has open: a database in memory, saved to and loaded from a ".mill" file.
class Taskmill_Project : public QObject
{
    Q_OBJECT

public:
    /// All of them outlive the project; there may be no keepers.
    Taskmill_Project(Taskmill_JobTypeList &jobTypes, KilnUtil_IDManager &jobNumbers,
                     Taskmill_FinishedJobs &finishedJobs, Taskmill_Destinations &destinations,
                     KilnUtil_RunKeepers *keepers);

    [[nodiscard]] bool IsOpen() const;
    /// Absolute; empty for a project never saved.
    [[nodiscard]] QString FilePath() const;
    [[nodiscard]] bool HasUnsavedChanges() const;

    /// Replaces the current project by that of the file; its two queues are paused. Asks through the prompt
    /// in force whether the current one is to be saved. False when the file is no project.
    [[nodiscard]] bool OpenProject(const QString &path);
    /// Replaces the current project by an empty one with the default job types, whose queues run.
    [[nodiscard]] bool NewProject();
    /// Whether another program has changed the project's file since it was opened or saved here.
    [[nodiscard]] bool FileHasChanged() const;
    /// Writes the project to the file of that name, which becomes its own, without asking; a failure is
    /// reported. What must be asked before is up to Taskmill_SaveDialogue.
    bool SaveProjectAs(const QString &path);
    /// Writes unsaved changes to the project's own file without asking or reporting anything but to the debug
    /// log, for a program that ends on a signal; beside the file when that has changed. False when they could
    /// not be written there: they are in a spare file then, which the log names and the next start speaks of,
    /// if any place took it.
    bool SaveUnattended();
    /// The trimmed name with ".mill" at its end; empty for an empty one.
    [[nodiscard]] static QString ProjectFileName(const QString &name);

    /// The question to be asked before an unsaved project is closed; nothing when there is nothing to save.
    [[nodiscard]] std::optional<Taskmill_Question> QuestionBeforeClosing() const;

    /// The version of the program and the project's name or state.
    [[nodiscard]] QString WindowTitle() const;

    /// Ends all jobs, empties the lists and closes the database. With `letsJobsGoOn` the jobs that keepers
    /// run do not end: whoever opens the project again finds them.
    void CloseProject(bool letsJobsGoOn = false);
    /// To be called before jobs go on without the program: where the project's file does not know them, a
    /// spare file is written that does.
    void StoreJobsThatGoOn();

Q_SIGNALS:
    /// Another project, another name, or the unsaved changes are others.
    void StateChangedSignal();

private:
    [[nodiscard]] bool WriteFile(const QString &path);
    void ReloadJobs(Taskmill_Database &database);
    void ReloadLimits(Taskmill_Database &database);
    void Adopt(Taskmill_Database &database, const QString &path);
    void Follow(const Taskmill_Database &database) const;
    void WriteSpareFile();
    void RemoveSpareFile();

    Taskmill_JobTypeList &m_jobTypes;
    KilnUtil_IDManager &m_jobNumbers;
    Taskmill_FinishedJobs &m_finishedJobs;
    Taskmill_Destinations &m_destinations;
    Taskmill_ProjectRuns m_runs;

    /// What shows that a file is still the one that was read or written.
    struct FileStamp
    {
        QDateTime Modified;
        qint64 Size = 0;

        static FileStamp Of(const QString &path);
        bool operator==(const FileStamp &) const = default;
    };
    FileStamp m_fileStamp;
    QString m_spareFile; ///< holds changes that could not be saved unattended; empty for none
};
