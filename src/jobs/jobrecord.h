// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobneeds.h"
#include "jobs/jobresult.h"
#include "jobs/jobstatus.h"
#include "jobs/jobtime.h"
#include "jobs/jobtype.h"
#include "jobs/startconditions.h"
#include "jobs/waitreason.h"

#include <QList>
#include <QPair>
#include <QString>

#include <optional>

/// Extra placeholders and their values, in the order in which they are applied.
using Taskmill_PlaceholderValues = QList<QPair<QString, QString>>;

/// More than any program's template uses; each one costs a search of the whole command line.
constexpr qsizetype Taskmill_MaxPlaceholders = 128;

/// Everything that is known of one run of a job type, apart from its process: what queues, the finished list
/// and the database pass around by value. Two records are equal when all fields are.
struct Taskmill_JobRecord
{
    QString JobClass; ///< a free word of the submitter, returned in the notification
    QString Name;
    QString ClientName;
    QString ClientAppName;
    QString ClientAddress; ///< where the notification goes
    qint32 ClientPort = 0;
    qint32 ClientUID = 0; ///< stored and reported only, as ClientGID
    qint32 ClientGID = 0;
    bool ClientNotification = false;
    bool ClientResult = false; ///< the notification is to say the result
    Taskmill_JobType JobType;
    qint32 RunNumber = 0;
    QString QueueName; ///< "Long", "Short", "None" or "Queueless"; see Taskmill_QueueKeyFromName
    QString InputFilePath;
    QString InputFilePath2;
    QString StandardInputFile;
    QString StandardOutputFile; ///< when set, the output goes there and is not captured
    QString OutputFile;
    QString CheckpointFile;
    QString CheckpointFile2;
    Taskmill_JobStatus Status = Taskmill_JobStatus::Unknown;
    QString StdOutAndStdErr; ///< what the process wrote, gathered when it ends
    /// StdOutAndStdErr is only what was said of it: what the process wrote is still where its run is.
    bool IsOutputLeft = false;
    Taskmill_JobTime Submitted;
    Taskmill_JobTime Started;
    Taskmill_JobTime Finished;
    qint32 JobID = 0;
    Taskmill_PlaceholderValues PlaceholderValues;
    Taskmill_JobNeeds AskedNeeds;   ///< what its submitter says of it, without files
    Taskmill_JobNeeds InputNeeds;   ///< what its input and its command line said when it was submitted
    QString InputHash;              ///< of a waiting job; see Taskmill_HashOfInput(); empty when not known
    bool InputHasChanged = false;   ///< it was started although its input was another when it was submitted
    Taskmill_WaitReason WaitReason; ///< of a job that waits; not stored
    std::optional<qint32> ExitCode; ///< of a run that has ended; nothing when it is not known
    std::optional<qint64> ProcessorMs;  ///< of everything that the run started; nothing when it is not known
    std::optional<qint64> PeakMemoryKB; ///< of the largest process of the run; nothing when it is not known
    Taskmill_JobResult Result;          ///< of a run that has ended
    qint64 EndMs = 0; ///< when the run ended, in ms since 1970, for its notification; no part of a stored job
    /// Where the run is found that the job has, or had when its project was saved; empty for none. No part of
    /// a finished job.
    QString Run;
    /// Of a waiting job that was moved, its order number; see Taskmill_OrderNumber.
    std::optional<qint64> Place;
    Taskmill_StartConditions Conditions; ///< of a waiting job
    /// The command line as a project file stores it; empty for a job that has not been read from one as
    /// finished, or whose job type is still there to make it from.
    QString RecordedCommandLine;

    bool operator==(const Taskmill_JobRecord &) const = default;

    [[nodiscard]] bool IsFinished() const { return Taskmill_IsFinalStatus(Status); }

    /// Stores the status; with `stamp`, also the current time as Submitted (Pending), Started (Running) or
    /// Finished (any final status).
    void SetStatus(Taskmill_JobStatus status, bool stamp);

    /// By what it is ordered among the jobs that wait in its queue.
    [[nodiscard]] qint64 OrderNumber() const;

    /// How long the job ran, in s; for one that runs, until now. Nothing for one that has not been started.
    [[nodiscard]] std::optional<qint64> ElapsedSeconds() const;
    /// What it takes while it runs: as its submitter says, else its input, else its job type; at least 1.
    [[nodiscard]] qint32 Cores() const;
    /// The same in units of 2^20 bytes; 0 when nobody says it.
    [[nodiscard]] qint64 MemoryMB() const;
    /// Why it waits, or what the user is to know of one that does not; empty for nothing.
    [[nodiscard]] QString WhyItWaits() const;
    /// Whether it came to nothing: its program failed or crashed, or its calculation did not converge or
    /// ended with an error. What was killed has not failed.
    [[nodiscard]] bool HasFailed() const;
    /// Where its input file is; of a job without one, its output file. Empty when it has neither.
    [[nodiscard]] QString Folder() const;

    /// The output file that follows from the input file and the first pattern of the job type's output
    /// filter; empty when there is no input file or no pattern.
    [[nodiscard]] QString DerivedOutputFile() const;
    /// Sets OutputFile to it.
    void DeriveOutputFile() { OutputFile = DerivedOutputFile(); }

    /// The output file as the program sees it: a relative one lies beside the input file. Empty for none.
    [[nodiscard]] QString OutputFilePath() const;

    /// Whether the path of one of the job's files holds a NUL, as no file's does.
    [[nodiscard]] bool HoldsNulInFileName() const;

    /// Whether the job can be run: named, its job type valid, its input file there when the template uses
    /// one, no more than Taskmill_MaxPlaceholders, no line feed in any file name, since a template is
    /// line-based, and no NUL.
    [[nodiscard]] bool IsValid() const;

    /// The template with every known placeholder replaced: executable, arguments and standard-input lines. Of
    /// a recorded job what was recorded, whatever its job type has become since.
    [[nodiscard]] QString CommandLine() const;
};

// Long lists of them grow without moving each field.
Q_DECLARE_TYPEINFO(Taskmill_JobRecord, Q_RELOCATABLE_TYPE);
