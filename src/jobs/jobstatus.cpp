// SPDX-License-Identifier: MIT
#include "jobs/jobstatus.h"

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr std::array<QLatin1StringView, 8> statusWords{"Unknown"_L1,  "Pending"_L1,   "Running"_L1,
                                                       "Finished"_L1, "Completed"_L1, "Crashed"_L1,
                                                       "Failed"_L1,   "Killed"_L1};
}

QString Taskmill_JobStatusText(Taskmill_JobStatus status)
{
    const auto index = static_cast<size_t>(status);
    return index < statusWords.size() ? QString{statusWords[index]} : QString{};
}

Taskmill_JobStatus Taskmill_JobStatusFromText(const QString &text)
{
    for (size_t index = 0; index < statusWords.size(); ++index) {
        if (text.compare(statusWords[index], Qt::CaseInsensitive) == 0)
            return static_cast<Taskmill_JobStatus>(index);
    }
    return Taskmill_JobStatus::Unknown;
}

bool Taskmill_IsFinalStatus(Taskmill_JobStatus status)
{
    return status >= Taskmill_JobStatus::Finished && status <= Taskmill_JobStatus::Killed;
}
