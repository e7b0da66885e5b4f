// SPDX-License-Identifier: MIT
#pragma once

#include "db/database.h"
#include "db/databasemanager.h"
#include "jobs/jobnotification.h"
#include "jobs/runmode.h"
#include "manager/manager.h"
#include "manager/savedialogue.h"
#include "processes/processinspector.h"
#include "support/jobfakes.h"
#include "support/scriptedprompt.h"
#include "support/testcase.h"

#include <QByteArrayList>
#include <QDir>
#include <QTemporaryDir>
#include <QTimer>

#include <memory>

/// Remembers the messages that it is to send, which are delivered at once.
class RecordingNotifier : public Taskmill_Notifier
{
public:
    QByteArrayList Messages;

    void Send(const Taskmill_Notification &notification, std::chrono::milliseconds, Done done) override
    {
        Messages.append(notification.Message);
        QTimer::singleShot(0, m_sending.get(), [done] { done(Outcome::Delivered, {}); });
    }
    void Abort() override { m_sending = std::make_unique<QObject>(); }

private:
    std::unique_ptr<QObject> m_sending = std::make_unique<QObject>();
};

/// What a manager in a test finds around it: a console mode and an empty directory of its own, which also
/// takes the settings. No program is installed.
struct TestSurroundings
{
    QTemporaryDir directory;
    ScriptedPrompt prompt;
    RecordingNotifier notifier;

    TestSurroundings()
    {
        Taskmill_SetRunMode(Taskmill_RunMode::Console);
        KeepSettingsIn(directory.path());
        KeepStateIn(directory.path());
        qputenv("GAUSS_EXEDIR", directory.path().toLocal8Bit());
        qputenv("VELTRA_EXE", Path(QStringLiteral("veltra")).toLocal8Bit());
    }
    ~TestSurroundings() { Taskmill_SetRunMode(Taskmill_RunMode::Gui); }
    Q_DISABLE_COPY_MOVE(TestSurroundings)

    [[nodiscard]] QString Path(const QString &name) const { return directory.filePath(name); }
};

/// The manager as every front end has it. No project is open at first.
class TestManager : public TestSurroundings, public Taskmill_Manager
{
public:
    TestManager()
        : Taskmill_Manager{notifier, Taskmill_ReadOnlyProjects::Open}
    {
    }
    ~TestManager() { Project().CloseProject(); }
    Q_DISABLE_COPY_MOVE(TestManager)

    /// Opens a new project, which must succeed.
    void NewProject()
    {
        if (!Project().NewProject())
            qFatal("no new project could be made");
    }
    /// Saves the project as the window does, with the answers of the prompt.
    bool Save()
    {
        Taskmill_SaveDialogue saving{Project()};
        Taskmill_AskThroughPrompt(saving);
        return saving.IsSaved();
    }
    Taskmill_QueueOwner &Long() { return Destinations().Long(); }
    Taskmill_QueueOwner &Short() { return Destinations().Short(); }
    Taskmill_QueueOwner &Queueless() { return Destinations().Queueless(); }
    /// The open database.
    [[nodiscard]] static Taskmill_Database &Database()
    {
        return *Taskmill_Database_Manager::Global().CurrentDatabase();
    }

    /// Makes an input file; returns its path.
    QString InputFile(const QString &name) const { return WriteTestFile(Path(name), "input\n"); }

    /// Adds a job type that runs the test program with these arguments, which may hold placeholders, and
    /// returns it as stored.
    Taskmill_JobType AddJobType(const QString &name, const QString &arguments,
                                const QString &queue = QStringLiteral("Long"),
                                const QString &inputFileFilter = {})
    {
        Taskmill_JobType jobType;
        jobType.Name = name;
        jobType.ExecutablePath = TestProgramPath();
        jobType.ApplicationName = QFileInfo{TestProgramPath()}.fileName();
        jobType.DefaultQueue = queue;
        jobType.GenericCommandLine = QStringLiteral("@EXEFILE ") + arguments;
        jobType.InputFileFilter = inputFileFilter;
        JobTypes().Add(jobType);
        return JobTypes().GetAll().last();
    }
    /// A job type "Gated" whose jobs run until Release() of their input file.
    Taskmill_JobType AddGatedJobType(const QString &queue = QStringLiteral("Long"))
    {
        return AddJobType(QStringLiteral("Gated"), QStringLiteral("waitfor @INFILE.go"), queue);
    }
    /// Submits a job of that type, the first one, which is added when it is missing; returns its input file.
    QString SubmitGated(Taskmill_QueueOwner &owner, const QString &fileName = QStringLiteral("a.in"))
    {
        const Taskmill_JobType gated =
            JobTypes().Names().isEmpty() ? AddGatedJobType() : JobTypes().GetAll().first();
        QString file = InputFile(fileName);
        owner.Submit(NewJob(gated, file));
        return file;
    }
    static void Release(const QString &inputFile) { WriteTestFile(inputFile + QStringLiteral(".go"), {}); }

    /// A request for one job.
    [[nodiscard]] static Taskmill_JobRequest Request(const QString &jobTypeName,
                                                     const QString &inputFile = {})
    {
        Taskmill_JobRequest request;
        request.JobTypeName = jobTypeName;
        request.JobInputFile = inputFile;
        return request;
    }
    /// The record of a completed job of the stored type.
    [[nodiscard]] static Taskmill_JobRecord JobOf(const Taskmill_JobType &jobType, int jobID,
                                                  const QString &inputFile = {})
    {
        Taskmill_JobRecord job;
        job.JobID = jobID;
        job.Name = QStringLiteral("job %1").arg(jobID);
        job.JobType = jobType;
        job.QueueName = jobType.DefaultQueue;
        job.InputFilePath = inputFile;
        job.Status = Taskmill_JobStatus::Completed;
        return job;
    }
    /// A new job of the stored type, not yet in a queue, with the next number.
    [[nodiscard]] Taskmill_Job *NewJob(const Taskmill_JobType &jobType, const QString &inputFile = {})
    {
        Taskmill_JobRecord job = JobOf(jobType, JobNumbers().NewID(), inputFile);
        job.Status = {};
        return new Taskmill_Job{std::move(job)};
    }
};

/// Base of tests of one manager, which is new in each test function, as the current directory is.
class ManagerTestCase : public TestCase
{
protected:
    void init() override
    {
        TestCase::init();
        m_manager = std::make_unique<TestManager>();
        QDir::setCurrent(m_manager->directory.path());
    }
    void cleanup() override
    {
        m_manager.reset();
        TestCase::cleanup();
    }

    std::unique_ptr<TestManager> m_manager;
};
