// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobrecord.h"
#include "manager/columns.h"
#include "processes/processinspector.h"

/// The columns of the tables in the window, of the console's listings and of what the client prints of
/// project files.
namespace Taskmill_Listings {
/// Every field of a job, also those that no table has room for.
[[nodiscard]] const Taskmill_Columns<Taskmill_JobRecord> &JobFields();
[[nodiscard]] const Taskmill_Columns<Taskmill_JobRecord> &Queue();
[[nodiscard]] const Taskmill_Columns<Taskmill_JobRecord> &FinishedJobs();
/// The same with those that only the tables of the window have, behind them.
[[nodiscard]] const Taskmill_Columns<Taskmill_JobRecord> &QueueTable();
[[nodiscard]] const Taskmill_Columns<Taskmill_JobRecord> &FinishedJobsTable();
[[nodiscard]] const Taskmill_Columns<Taskmill_JobType> &JobTypes();
[[nodiscard]] const Taskmill_Columns<Taskmill_ProcessRecord> &Processes();
} // namespace Taskmill_Listings
