// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobrecord.h"

#include <QList>

#include <array>

class KilnUtil_IDManager;
class Taskmill_Database;
class Taskmill_FinishedJobs;

/// Gives the waiting jobs of a project that is opened new numbers where one is there twice, among them or the
/// finished ones, as in files that other programs or people have written: by its number a job is removed, has
/// its run and its result. A run belongs to one of them. `jobs` are all of the database, in the order of the
/// queues. Nobody has to save because of that.
void Taskmill_GiveOwnJobNumbers(Taskmill_Database &database, std::array<QList<Taskmill_JobRecord>, 3> &jobs,
                                const Taskmill_FinishedJobs &finishedJobs, KilnUtil_IDManager &numbers);
