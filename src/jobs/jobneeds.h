// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <optional>

struct Taskmill_JobRecord;

/// What a job takes while it runs, as far as somebody says it.
struct Taskmill_JobNeeds
{
    std::optional<qint32> Cores; ///< from 1 to Taskmill_MostCores
    std::optional<qint64>
        MemoryMB;       ///< of the whole job, in units of 2^20 bytes, from 1 to Taskmill_MostMemoryMB
    QString Checkpoint; ///< file name as the input has it
    QString Scratch;    ///< file or folder name as the input has it

    bool operator==(const Taskmill_JobNeeds &) const = default;
};

/// More than any machine has, and little enough for sums of many jobs.
constexpr qint32 Taskmill_MostCores = 1'000'000;
constexpr qint64 Taskmill_MostMemoryMB = qint64{1} << 40;

/// The number that a user or a client wrote; nothing for what is no such number.
[[nodiscard]] std::optional<qint32> Taskmill_CoresFromText(const QString &text);
[[nodiscard]] std::optional<qint64> Taskmill_MemoryFromText(const QString &text);

/// What an input file asks for. Only the beginning of a plain file is read, so this takes no longer for a
/// huge file, and never waits for what is no plain file.
[[nodiscard]] Taskmill_JobNeeds Taskmill_NeedsOfInput(const QString &filePath);
/// What the job's input file asks for, and its command line, which counts before it.
[[nodiscard]] Taskmill_JobNeeds Taskmill_NeedsOfJob(const Taskmill_JobRecord &job);
