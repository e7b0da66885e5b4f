#include "support/testmanager.h"

#include "db/databasemanager.h"
#include "jobs/runmode.h"
#include "support/testutil.h"

#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

TestManager::TestManager()
{
    Taskmill_SetRunMode(Taskmill_RunMode::Console);
    KeepSettingsIn(directory.path());
    qputenv("GAUSS_EXEDIR", directory.path().toLocal8Bit());
    qputenv("VELTRA_EXE", Path(u"veltra"_s).toLocal8Bit());
}

TestManager::~TestManager()
{
    project.CloseProject();
    Taskmill_SetRunMode(Taskmill_RunMode::Gui);
}

void TestManager::NewProject()
{
    if (!project.NewProject())
        qFatal("no new project could be made");
}

Taskmill_Database &TestManager::Database()
{
    Taskmill_Database *database = Taskmill_Database_Manager::Global().CurrentDatabase();
    if (!database)
        qFatal("no database is open");
    return *database;
}

QString TestManager::InputFile(const QString &name) const
{
    return WriteTestFile(Path(name), "input\n");
}

Taskmill_JobType TestManager::AddJobType(const QString &name, const QString &arguments, const QString &queue,
                                         const QString &inputFileFilter)
{
    Taskmill_JobType jobType;
    jobType.Name = name;
    jobType.ExecutablePath = TestProgramPath();
    jobType.ApplicationName = QFileInfo{TestProgramPath()}.fileName();
    jobType.DefaultQueue = queue;
    jobType.GenericCommandLine = u"@EXEFILE "_s + arguments;
    jobType.InputFileFilter = inputFileFilter;
    jobTypes.Add(jobType);
    return jobTypes.GetAll().last();
}

Taskmill_JobType TestManager::AddGatedJobType(const QString &queue)
{
    return AddJobType(u"Gated"_s, u"waitfor @INFILE.go"_s, queue);
}

void TestManager::Release(const QString &inputFile)
{
    WriteTestFile(inputFile + u".go"_s, {});
}

Taskmill_RequestMessage TestManager::Request(const QString &jobTypeName, const QString &inputFile)
{
    Taskmill_RequestMessage request;
    request.Action = u"submitjob"_s;
    request.JobTypeName = jobTypeName;
    request.JobInputFile = inputFile;
    return request;
}

Taskmill_Job *TestManager::NewJob(const Taskmill_JobType &jobType, const QString &inputFile)
{
    Taskmill_JobRecord job;
    job.JobID = jobNumbers.NewID();
    job.Name = u"job %1"_s.arg(job.JobID);
    job.JobType = jobType;
    job.QueueName = jobType.DefaultQueue;
    job.InputFilePath = inputFile;
    return new Taskmill_Job{std::move(job)};
}
