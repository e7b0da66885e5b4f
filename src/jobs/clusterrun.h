// SPDX-License-Identifier: MIT
#pragma once

#include "wire/clusterrun.h"

#include <QString>

#include <optional>

/// A run whose program has handed a job to a cluster by taskmill-slurm, seen from its record. The job of the
/// cluster outlives the run: it is followed by another run when nobody follows it any more.
class Taskmill_ClusterRun
{
public:
    /// The folder in which a job with that input works.
    [[nodiscard]] static QString WorkFolderOf(const QString &inputFile);

    /// The folder in which the job works, and the run as Taskmill_RunOfJob knows it.
    Taskmill_ClusterRun(QString workFolder, QString runID);

    /// None for a run of another kind.
    [[nodiscard]] std::optional<Taskmill_ClusterState> State() const;
    /// Whether it has not ended, and nobody wants it to.
    [[nodiscard]] bool IsToBeFollowed() const;
    /// Makes it known as that run, too. False when that cannot be stored.
    [[nodiscard]] bool PassTo(const QString &runID) const;

    /// What follows it, started in the job's folder: taskmill-slurm beside this program, else the job's own.
    [[nodiscard]] static QString Program(const QString &programOfJob);
    /// Its arguments.
    [[nodiscard]] QString Arguments() const;
    /// Has its job cancelled, for as long as that takes, by a process of its own.
    void Cancel() const;
    /// Whether that program is the one that hands jobs to a cluster, which needs time to have its job
    /// cancelled when it is to end.
    [[nodiscard]] static bool IsFollower(const QString &program);

private:
    [[nodiscard]] std::string Folder() const;

    QString m_workFolder;
    QString m_runID;
};

/// Where a job is, in one line: number, Slurm's state and reason, node, since when, host.
[[nodiscard]] QString Taskmill_ClusterText(const Taskmill_ClusterState &state);

/// Has those cancellations repeated that a cluster may not have confirmed, if there are any, by a process of
/// its own.
void Taskmill_RepeatCancellations();
