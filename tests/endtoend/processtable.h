// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>

/// What the system reports of processes, and the orphans that a manager under test may leave behind.
namespace ProcessTable {
/// From now on a process whose parent ends becomes a child of this one, so that nothing can get away.
void AdoptOrphans();
/// Living children of this process. Once a manager has ended, these are what it left behind.
[[nodiscard]] QList<int> LivingChildren();
/// These children are not counted, and not killed by the next: what several tests use.
void Spare(const QList<int> &processIDs);
/// Kills and buries the children; to be called when no other child of this process is needed any more.
void EndChildren();
/// Takes the results of children that have ended.
void Bury();

/// As it was at the start on Windows.
[[nodiscard]] int ParentOf(int processID);
/// By force, whoever started it.
void Kill(int processID);
/// How many processes of jobs belong to that folder: it is their directory, or on Windows in their arguments.
[[nodiscard]] int JobsIn(const QString &folder);

/// A process that has ended but was not waited for does not live.
[[nodiscard]] bool IsAlive(int processID);
/// The processor time used so far, in clock ticks of the system (hundredths of a second).
[[nodiscard]] qint64 ProcessorTicks(int processID);
} // namespace ProcessTable
