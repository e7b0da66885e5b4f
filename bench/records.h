// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobrecord.h"
#include "manager/notifier.h"

class Taskmill_Database;

namespace Bench {
/// A finished job of that number, of a year in which no two ended at the same time.
[[nodiscard]] Taskmill_JobRecord FinishedJob(int number);

/// Makes a project file with so many of them, whose numbers begin with 1. False when it cannot be written.
[[nodiscard]] bool MakeProject(const QString &path, int jobs);

/// Copies a database with SQLite's own means.
void CopyDatabase(const QByteArray &from, const QByteArray &to);
/// Reads all columns of all finished jobs with SQLite's own means.
void SelectAll(const QByteArray &file);

/// Notifies nobody.
class NoNotifier final : public Taskmill_Notifier
{
public:
    void Send(const Taskmill_Notification &, std::chrono::milliseconds, Done) override {}
    void Abort() override {}
};
} // namespace Bench
