// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobrecord.h"

/// With every field set.
[[nodiscard]] inline Taskmill_JobType SampleJobType(const QString &name)
{
    return {
        .JobTypeID = 0,
        .Name = name,
        .ApplicationName = QStringLiteral("mopac"),
        .ExecutablePath = QStringLiteral("/opt/it's/mopac"),
        .DefaultQueue = QStringLiteral("Short"),
        .GenericCommandLine = QStringLiteral("@EXEFILE @INFILE\nline two"),
        .InputFileFilter = QStringLiteral("Input (*.mop)"),
        .OutputFileFilter = QStringLiteral("Output (*.out)"),
        .EnvironmentVariables = QStringLiteral("A=1\nB=\"zwei\""),
    };
}

/// A finished job of the long queue with every field set that the job tables store.
[[nodiscard]] inline Taskmill_JobRecord SampleJob(const Taskmill_JobType &jobType, qint32 jobID)
{
    Taskmill_JobRecord job;
    job.JobClass = QStringLiteral("class o'9");
    job.Name = QStringLiteral("Wasser – 水's");
    job.ClientName = QStringLiteral("host");
    job.ClientAppName = QStringLiteral("app");
    job.ClientAddress = QStringLiteral("127.0.0.1");
    job.ClientPort = 4711;
    job.ClientUID = 1000;
    job.ClientGID = 100;
    job.ClientNotification = true;
    job.JobType = jobType;
    job.QueueName = QStringLiteral("Long");
    job.InputFilePath = QStringLiteral("/tmp/Größe's.mop");
    job.InputFilePath2 = QStringLiteral("/tmp/second");
    job.Status = Taskmill_JobStatus::Completed;
    job.StdOutAndStdErr = QStringLiteral("out\n'err' ü");
    job.Submitted = QDateTime{QDate{2024, 2, 29}, QTime{1, 2, 3}};
    job.Started = QDateTime{QDate{2024, 2, 29}, QTime{1, 2, 4}};
    job.Finished = QDateTime{QDate{2024, 3, 1}, QTime{0, 0, 0}};
    job.JobID = jobID;
    job.DeriveOutputFile();
    return job;
}

/// Sets what is stored of an end besides.
inline void AddSampleEnd(Taskmill_JobRecord &job)
{
    job.ProcessorMs = 123'456'789'012;
    job.PeakMemoryKB = 0;
    job.Result = {.Verdict = Taskmill_Verdict::NotConverged,
                  .Message = QStringLiteral("\"Größe\" not converged"),
                  .Program = QStringLiteral("ORCA"),
                  .Version = QStringLiteral("5.0.4"),
                  .Converged = false,
                  .Steps = 2,
                  .Energies = {-76.123456789012, -76.2}};
}

/// Sets what is stored besides.
inline void AddSampleFields(Taskmill_JobRecord &job)
{
    job.StandardInputFile = QStringLiteral("/tmp/stdin's");
    job.StandardOutputFile = QStringLiteral("/tmp/stdout");
    job.OutputFile = QStringLiteral("other.log");
    job.CheckpointFile = QStringLiteral("a.chk");
    job.CheckpointFile2 = QStringLiteral("b.chk");
    job.ClientResult = true;
    job.InputHasChanged = true;
    job.AskedNeeds.Cores = 3;
    job.AskedNeeds.MemoryMB = 5000;
    job.InputNeeds = {.Cores = 2,
                      .MemoryMB = 1,
                      .Written = {QStringLiteral("input's.chk"), QStringLiteral("/tmp/Größe x")}};
    // Their order counts, also beyond the ninth.
    for (int number = 12; number > 0; --number)
        job.PlaceholderValues.append(
            {QStringLiteral("@A %1").arg(number), QStringLiteral("Größe\n'%1'").arg(number)});
    job.PlaceholderValues.append({QStringLiteral("@EMPTY"), QStringLiteral("")});
}
