#pragma once

#include "service/jobtabs.h"

#include <QObject>
#include <QString>

class KilnUtil_IDManager;
class Taskmill_Database;
class Taskmill_JobTypeList;

/// The one project that the manager has open: a database in memory, saved to and loaded from a ".mill" file.
class Taskmill_Project : public QObject
{
    Q_OBJECT

public:
    /// All of them outlive the project.
    Taskmill_Project(Taskmill_JobTypeList &jobTypes, KilnUtil_IDManager &jobNumbers,
                     const Taskmill_JobTabs &tabs);

    [[nodiscard]] bool IsOpen() const;
    /// Absolute; empty for a project never saved.
    [[nodiscard]] QString FilePath() const;
    [[nodiscard]] bool HasUnsavedChanges() const;

    /// Replaces the current project by that of the file; its two queues are paused. False when the file is no
    /// project.
    [[nodiscard]] bool OpenProject(const QString &path);
    /// Replaces the current project by an empty one with the default job types, whose queues run.
    [[nodiscard]] bool NewProject();
    /// Writes the project to its file. False when it has none or the file could not be written, which then is
    /// as it was before.
    [[nodiscard]] bool SaveProject();
    /// Ends all jobs, empties the lists and closes the database.
    void CloseProject();

private:
    void ReloadTabs(Taskmill_Database &database);
    void ReloadLimits(Taskmill_Database &database);
    [[nodiscard]] static Taskmill_Database *OpenDatabaseOfFile(const QString &path);
    static void RememberDirectory(const QString &path);

    Taskmill_JobTypeList &m_jobTypes;
    KilnUtil_IDManager &m_jobNumbers;
    const Taskmill_JobTabs m_tabs;
};
