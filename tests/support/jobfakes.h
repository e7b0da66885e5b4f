// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/finishedjobstaker.h"
#include "jobs/jobrecord.h"
#include "kilnutil/filesys.h"
#include "support/testutil.h"

#include <QStringList>

/// Remembers the finished jobs that it is handed.
class RecordingFinishedJobsTaker : public Taskmill_FinishedJobsTaker
{
public:
    QList<Taskmill_JobRecord> Taken;

    bool AddJob(const Taskmill_JobRecord &job) override
    {
        Taken.append(job);
        return true;
    }

    /// "7 Killed", one text for each job.
    [[nodiscard]] QStringList Summary() const
    {
        QStringList texts;
        for (const Taskmill_JobRecord &job : Taken)
            texts += QString::number(job.JobID) + u' ' + Taskmill_JobStatusText(job.Status);
        return texts;
    }
};

/// A job that runs the test program with these arguments in that directory, which must exist. An empty text
/// is left out; lines after the first go to standard input.
[[nodiscard]] inline Taskmill_JobRecord MakeTestJob(int jobID, const QString &directory,
                                                    const QStringList &arguments,
                                                    const QString &standardInput = {})
{
    Taskmill_JobRecord job;
    job.JobID = jobID;
    job.Name = QStringLiteral("job %1").arg(jobID);
    job.JobType.Name = QStringLiteral("Test program");
    job.JobType.ExecutablePath = TestProgramPath();
    job.JobType.GenericCommandLine = QStringLiteral("@EXEFILE");
    for (const QString &argument : arguments)
        job.JobType.GenericCommandLine += u' ' + KilnUtil_FileSys::ConvertFilename(argument, true, false);
    if (!standardInput.isEmpty())
        job.JobType.GenericCommandLine += u'\n' + standardInput;
    job.JobType.OutputFileFilter = QStringLiteral("Output Files (*.out)");
    job.InputFilePath = directory + QStringLiteral("/x.in");
    return job;
}
