// SPDX-License-Identifier: MIT
#include "manager/runsource.h"

using namespace Qt::Literals::StringLiterals;

namespace {
/// Clients take 0 for success.
constexpr int unknownExitCode = -1;
} // namespace

Taskmill_JobRecord Taskmill_LostRuns::EndOf(const Taskmill_JobRecord &job)
{
    Taskmill_JobRecord ended = job;
    ended.ExitCode = unknownExitCode;
    ended.StdOutAndStdErr = u"The manager ended while this job was running.\n"_s;
    ended.SetStatus(Taskmill_JobStatus::Crashed, true);
    return ended;
}
