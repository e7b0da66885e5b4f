// SPDX-License-Identifier: MIT
#pragma once

#include "endtoend/managerprocess.h"
#include "jobs/jobrecord.h"
#include "support/testcase.h"

#include <QTemporaryDir>

#include <memory>

/// Whether the manager was built with them.
#ifdef TASKMILL_HAS_KEEPERS
constexpr bool hasKeepers = true;
#else
constexpr bool hasKeepers = false;
#endif

/// The jobs of a project file, list by list.
struct ProjectRows
{
    QList<Taskmill_JobRecord> longJobs;
    QList<Taskmill_JobRecord> shortJobs;
    QList<Taskmill_JobRecord> queuelessJobs;
    QList<Taskmill_JobRecord> finishedJobs;
    QString lastJobID;
};

/// A directory of its own with a project file, made by the client, and the manager that works on it. Whatever
/// managers have left behind is gone when this is destroyed.
class ProjectFixture
{
public:
    ProjectFixture();
    ~ProjectFixture();
    Q_DISABLE_COPY_MOVE(ProjectFixture)

    [[nodiscard]] QString Path(const QString &name) const { return m_directory.filePath(name); }
    [[nodiscard]] QString ProjectPath() const { return Path(QStringLiteral("jobs.mill")); }
    /// Writes a file in the directory; returns its path.
    [[nodiscard]] QString InputFile(const QString &name, const QByteArray &content = "input\n") const
    {
        return WriteTestFile(Path(name), content);
    }

    /// Adds a job type to the project, made when it is not there; no manager may have it open. False when the
    /// client refuses.
    bool AddType(const QString &name, const QString &program, const QString &commandLine,
                 const QString &filter = {}) const;
    /// The same for the small program that stands in for a calculation.
    bool AddTestType(const QString &name, const QString &arguments, const QString &filter = {}) const;

    /// Starts a manager on the project, in place of the one before, which must have ended.
    [[nodiscard]] bool Start(ManagerProcess::Input input = ManagerProcess::Input::Pipe,
                             const QStringList &options = {});
    /// The same with the manager's window on the desktop that these variables (NAME=VALUE) name.
    [[nodiscard]] bool StartOnDesktop(const QStringList &variables);
    [[nodiscard]] ManagerProcess &Manager() { return *m_manager; }
    /// Ends the manager if it still runs.
    void EndManager() { m_manager.reset(); }

    /// What the project file holds.
    [[nodiscard]] ProjectRows Rows() const;
    /// The files of working copies that managers have left.
    [[nodiscard]] QStringList WorkingCopies() const;

private:
    QTemporaryDir m_directory;
    std::unique_ptr<ManagerProcess> m_manager;
};

/// Gives each test function a project of its own.
class ManagerTest : public TestCase
{
    Q_OBJECT

protected:
    [[nodiscard]] ProjectFixture &Project() const { return *m_project; }
    [[nodiscard]] ManagerProcess &Manager() const { return m_project->Manager(); }

    void init() override;
    void cleanup() override;

private:
    std::unique_ptr<ProjectFixture> m_project;
};
