#pragma once

#include "db/database.h"
#include "db/databasejobstore.h"
#include "db/databasemanager.h"
#include "jobs/jobtypelist.h"
#include "jobs/runmode.h"
#include "kilnutil/idmanager.h"
#include "manager/finishedjobs.h"
#include "manager/jobsubmitter.h"
#include "manager/jobtabs.h"
#include "manager/project.h"
#include "manager/queueowner.h"
#include "processes/processinspector.h"
#include "support/scriptedprompt.h"
#include "support/testutil.h"

#include <QFileInfo>
#include <QTemporaryDir>

/// The manager without window and server, in a console mode and with an empty directory of its own, which
/// also takes the settings. No project is open at first, and no program is installed.
class TestManager
{
public:
    TestManager()
    {
        Taskmill_SetRunMode(Taskmill_RunMode::Console);
        KeepSettingsIn(directory.path());
        qputenv("GAUSS_EXEDIR", directory.path().toLocal8Bit());
        qputenv("VELTRA_EXE", Path(QStringLiteral("veltra")).toLocal8Bit());
    }
    ~TestManager()
    {
        project.CloseProject();
        Taskmill_SetRunMode(Taskmill_RunMode::Gui);
    }
    Q_DISABLE_COPY_MOVE(TestManager)

    QTemporaryDir directory;
    ScriptedPrompt prompt;
    Taskmill_DatabaseJobStore store;
    const std::unique_ptr<Taskmill_ProcessInspector> inspector = Taskmill_MakeProcessInspector();
    Taskmill_JobTypeList jobTypes{store};
    KilnUtil_IDManager jobNumbers;
    Taskmill_FinishedJobs finishedJobs;
    Taskmill_LongJobsOwner longJobs{store, finishedJobs, *inspector};
    Taskmill_ShortJobsOwner shortJobs{store, finishedJobs, *inspector};
    Taskmill_QueuelessJobsOwner queuelessJobs{finishedJobs, *inspector};
    const Taskmill_JobTabs tabs{finishedJobs, longJobs, shortJobs, queuelessJobs};
    Taskmill_Project project{jobTypes, jobNumbers, tabs};
    Taskmill_JobSubmitter submitter{store, jobNumbers, tabs};

    /// Opens a new project, which must succeed.
    void NewProject()
    {
        if (!project.NewProject())
            qFatal("no new project could be made");
    }
    /// The open database.
    [[nodiscard]] static Taskmill_Database &Database()
    {
        return *Taskmill_Database_Manager::Global().CurrentDatabase();
    }

    [[nodiscard]] QString Path(const QString &name) const { return directory.filePath(name); }
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
        jobTypes.Add(jobType);
        return jobTypes.GetAll().last();
    }
    /// A job type "Gated" whose jobs run until Release() of their input file.
    Taskmill_JobType AddGatedJobType(const QString &queue = QStringLiteral("Long"))
    {
        return AddJobType(QStringLiteral("Gated"), QStringLiteral("waitfor @INFILE.go"), queue);
    }
    static void Release(const QString &inputFile) { WriteTestFile(inputFile + QStringLiteral(".go"), {}); }

    /// A request for one job.
    [[nodiscard]] static Taskmill_RequestMessage Request(const QString &jobTypeName,
                                                         const QString &inputFile = {})
    {
        Taskmill_RequestMessage request;
        request.Action = QStringLiteral("submitjob");
        request.JobTypeName = jobTypeName;
        request.JobInputFile = inputFile;
        return request;
    }
    /// A new job of the stored type, not yet in a queue, numbered by jobNumbers.
    [[nodiscard]] Taskmill_Job *NewJob(const Taskmill_JobType &jobType, const QString &inputFile = {})
    {
        Taskmill_JobRecord job;
        job.JobID = jobNumbers.NewID();
        job.Name = QStringLiteral("job %1").arg(job.JobID);
        job.JobType = jobType;
        job.QueueName = jobType.DefaultQueue;
        job.InputFilePath = inputFile;
        return new Taskmill_Job{std::move(job)};
    }
};
