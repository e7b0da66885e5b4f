// SPDX-License-Identifier: MIT
#pragma once

#include "wire/protocol.h"

#include <QString>
#include <QStringList>

#include <optional>

struct Taskmill_JobRecord;

/// What a job takes while it runs, as far as somebody says it.
struct Taskmill_JobNeeds
{
    std::optional<qint32> Cores; ///< from 1 to Taskmill_MostCores
    std::optional<qint64>
        MemoryMB;        ///< of the whole job, in units of 2^20 bytes, from 1 to Taskmill_MostMemoryMB
    QStringList Written; ///< checkpoint and scratch files by the names that the program gives them

    bool operator==(const Taskmill_JobNeeds &) const = default;
};

constexpr qint32 Taskmill_MostCores{Taskmill_WireMostCores};
constexpr qint64 Taskmill_MostMemoryMB{Taskmill_WireMostMemoryMB};

/// The number that a user or a client wrote; nothing for what is no such number.
[[nodiscard]] std::optional<qint32> Taskmill_CoresFromText(const QString &text);
[[nodiscard]] std::optional<qint64> Taskmill_MemoryFromText(const QString &text);

/// What an input file asks for. Only the beginning of a plain file is read, so this takes no longer for a
/// huge file, and never waits for what is no plain file.
[[nodiscard]] Taskmill_JobNeeds Taskmill_NeedsOfInput(const QString &filePath);
/// What the job's input file asks for, and its command line, which counts before it.
[[nodiscard]] Taskmill_JobNeeds Taskmill_NeedsOfJob(const Taskmill_JobRecord &job);
