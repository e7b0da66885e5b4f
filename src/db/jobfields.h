// SPDX-License-Identifier: MIT
#pragma once

#include "db/addedfields.h"

struct Taskmill_JobRecord;
struct Taskmill_JobResult;

/// The fields that jobs are found and sorted by. The first is the verdict alone.
inline constexpr QLatin1StringView Taskmill_ResultField{"Result"};
inline constexpr QLatin1StringView Taskmill_RunField{"Run"};
inline constexpr QLatin1StringView Taskmill_InputHashField{"InputHash"};
inline constexpr QLatin1StringView Taskmill_ExitCodeField{"ExitCode"};
inline constexpr QLatin1StringView Taskmill_ProcessorTimeField{"ProcessorMs"};
inline constexpr QLatin1StringView Taskmill_PeakMemoryField{"PeakMemoryKB"};

/// What the job tables have no columns for: files other than the input, and placeholders, how it ended. Only
/// what is there, and no output file that is derived again when the job is read.
[[nodiscard]] Taskmill_AddedFields::Fields Taskmill_FieldsOfJob(const Taskmill_JobRecord &job);
/// Makes the result another one.
void Taskmill_SetResultField(Taskmill_AddedFields::Fields &fields, const Taskmill_JobResult &result);
/// Puts such fields into the job; unknown ones are passed over.
void Taskmill_SetFieldsOfJob(Taskmill_JobRecord &job, const Taskmill_AddedFields::Fields &fields);
