// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

class Taskmill_Database;
class Taskmill_JobTypeList;

/// Makes an empty project of an empty database: tables, version, the queues "Long" and "Short", and the
/// default job types through the list, which must write to the same database. False when the database
/// refuses.
[[nodiscard]] bool Taskmill_FillNewProject(Taskmill_Database &database, Taskmill_JobTypeList &jobTypes);

/// Whether the database says that it is a project of the version that this program reads.
[[nodiscard]] bool Taskmill_IsProject(Taskmill_Database &database);

/// The highest job number given out so far: the stored one or, when none is stored, the highest of all jobs.
[[nodiscard]] int Taskmill_LastJobID(Taskmill_Database &database);
