// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/destination.h"

#include <QList>
#include <QString>

/// How one kind of input file is turned into a running process. A plain value; every job keeps a copy of its
/// own.
struct Taskmill_JobType
{
    qint32 JobTypeID = 0; ///< key in the database; 0 in a record not yet stored, and also a real key
    QString Name;
    QString ApplicationName; ///< file name part of ExecutablePath
    QString ExecutablePath;
    QString DefaultQueue;       ///< "Long", "Short", "Queueless" or "None"
    QString GenericCommandLine; ///< template; the lines after the first go to the program's standard input
    QString InputFileFilter;    ///< file-dialog filter such as "Gaussian Input Files (*.gjf)"
    QString OutputFileFilter;
    QString EnvironmentVariables; ///< lines NAME=VALUE
    /// How long what a kill is to end has to end by itself, where jobs are run by keepers; seconds.
    qint32 KillGraceSeconds = DefaultKillGrace;

    qint32 TimeLimitMinutes = 0; ///< a job is ended that runs longer; 0 for no limit
    /// Of a job whose output and processor time have both stood still for so long the user is told; 0 for
    /// never.
    qint32 NoProgressMinutes = 0;

    static constexpr qint32 LongestMinutes = 366 * 24 * 60;
    /// What a job takes that neither its submitter nor its input says; 0 where this says nothing either.
    qint32 Cores = 0;
    qint64 MemoryMB = 0; ///< in units of 2^20 bytes
    /// What is to be free on the drive of its output before a job starts, in the same units; 0 for any.
    qint64 LeastFreeMB = 0;
    bool HoldsChangedInput = false; ///< a job waits whose input has changed since it was submitted

    static constexpr qint32 DefaultKillGrace = 2;
    static constexpr qint32 LongestKillGrace = 60;

    bool operator==(const Taskmill_JobType &) const = default;

    /// An empty record stands for "no such job type". The key does not show it: 0 is a real one.
    [[nodiscard]] bool IsEmpty() const { return Name.isEmpty(); }
    /// As requests and the console name job types: in any case.
    [[nodiscard]] bool IsNamed(const QString &name) const;
    /// Whether a job may be made from this type: named, its executable a file that exists, "@EXEFILE" in the
    /// template.
    [[nodiscard]] bool IsValid() const;
    [[nodiscard]] bool UsesInputFile() const;
    /// Whether its program is the one that hands jobs to a cluster.
    [[nodiscard]] bool RunsOnCluster() const;
    [[nodiscard]] Taskmill_QueueKey DefaultQueueIndex() const;
    /// Whether the suffix of the file name is one of InputFileFilter's patterns "*.suffix", ignoring case.
    [[nodiscard]] bool MatchesFile(const QString &filePath) const;
};

/// The pieces of a file-dialog filter, split at blanks and parentheses: "Files (*.a *.b)" gives "Files",
/// "*.a", "*.b".
[[nodiscard]] QStringList Taskmill_FilterPieces(const QString &filter);

/// The first type of that name; an empty record when there is none.
[[nodiscard]] Taskmill_JobType Taskmill_JobTypeNamed(const QList<Taskmill_JobType> &jobTypes,
                                                     const QString &name);
/// The type of that number; an empty record when there is none.
[[nodiscard]] Taskmill_JobType Taskmill_JobTypeWithID(const QList<Taskmill_JobType> &jobTypes, int jobTypeID);
/// The first type of the list whose filter matches the file; an empty record when none does.
[[nodiscard]] Taskmill_JobType Taskmill_JobTypeForFile(const QList<Taskmill_JobType> &jobTypes,
                                                       const QString &filePath);

/// The names in the same order, for the user to choose from: those that would be mistaken for another one, or
/// for the given further item of the choice, with the job type's number.
[[nodiscard]] QStringList Taskmill_DistinctNames(const QList<Taskmill_JobType> &jobTypes,
                                                 const QString &furtherItem);
