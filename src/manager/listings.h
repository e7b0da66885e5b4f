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
[[nodiscard]] const Taskmill_Columns<Taskmill_JobType> &JobTypes();
[[nodiscard]] const Taskmill_Columns<Taskmill_ProcessRecord> &Processes();
} // namespace Taskmill_Listings
