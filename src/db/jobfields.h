// SPDX-License-Identifier: MIT
#pragma once

#include "db/addedfields.h"

struct Taskmill_JobRecord;

/// What the job tables have no columns for: files other than the input, and placeholders, the exit code. Only
/// what is there, and no output file that is derived again when the job is read.
[[nodiscard]] Taskmill_AddedFields::Fields Taskmill_FieldsOfJob(const Taskmill_JobRecord &job);
/// Puts such fields into the job; unknown ones are passed over.
void Taskmill_SetFieldsOfJob(Taskmill_JobRecord &job, const Taskmill_AddedFields::Fields &fields);
