// SPDX-License-Identifier: MIT
#include "manager/runsource.h"

using namespace Qt::Literals::StringLiterals;

namespace {
/// Clients take 0 for success.
constexpr int unknownExitCode = -1;
} // namespace

Taskmill_EndedRun Taskmill_LostRuns::EndOf(const Taskmill_JobRecord &job)
{
    Taskmill_EndedRun end{.Job = job, .ExitCode = unknownExitCode};
    end.Job.StdOutAndStdErr = u"The manager ended while this job was running.\n"_s;
    end.Job.SetStatus(Taskmill_JobStatus::Crashed, true);
    return end;
}
