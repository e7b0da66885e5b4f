// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

#include <optional>

struct Taskmill_JobType;

/// For the program in a template.
constexpr QLatin1StringView Taskmill_ExecutablePlaceholder{"@EXEFILE"};

/// The options of taskmill-slurm for the jobs of a type; a text is empty where its option is not given.
struct Taskmill_ClusterOptions
{
    /// In place of a number: as many as the job takes, see Taskmill_JobRecord::Cores().
    static constexpr QLatin1StringView OfInput{"input"};

    QString Host{}; ///< USER@LOGIN; empty where the cluster's commands are here
    QString Partition{};
    QString Cores{};  ///< digits, or OfInput
    QString Memory{}; ///< the same, in units of 2^20 bytes
    QString Time{};
    QStringList PrepareLines{}; ///< of the shell, before the program
    QStringList Others{};       ///< further words

    bool operator==(const Taskmill_ClusterOptions &) const = default;
    /// As they stand in a command line.
    [[nodiscard]] QString ToText() const;
};

/// The command line, or template of one, of a job that a cluster runs: "@EXEFILE" (for taskmill-slurm), its
/// options, "--", the program and its arguments.
struct Taskmill_ClusterCall
{
    Taskmill_ClusterOptions Options;
    QString Program; ///< as the cluster calls it, without quotes; empty when there is none
    QString Rest;    ///< all that follows, as it stands there

    /// None for a text without "@EXEFILE".
    [[nodiscard]] static std::optional<Taskmill_ClusterCall> Of(const QString &commandLine);
    /// The text with the options and the program of this call in place of its own. What this call has in
    /// common with the text stays as it is written there.
    [[nodiscard]] QString In(const QString &commandLine) const;
};

/// The job type with its program on a cluster, or with another call where it is there already.
[[nodiscard]] Taskmill_JobType
Taskmill_OnCluster(Taskmill_JobType jobType, const Taskmill_ClusterOptions &options, const QString &program);
/// The job type with its program on this computer.
[[nodiscard]] Taskmill_JobType Taskmill_OnThisComputer(Taskmill_JobType jobType);

/// Words of a command line as one text, and back.
[[nodiscard]] QString Taskmill_JoinWords(const QStringList &words);
