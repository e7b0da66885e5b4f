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

/// What stands against the content of a database as a project, in a text for the user with %1 for the path of
/// its file; empty when nothing does. Tables that are missing are made.
[[nodiscard]] QString Taskmill_ProblemOfProject(Taskmill_Database &database);

/// Takes over the content of a project file; the same result.
[[nodiscard]] QString Taskmill_LoadProject(Taskmill_Database &database, const QString &path);
