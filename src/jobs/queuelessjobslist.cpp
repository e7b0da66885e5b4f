// SPDX-License-Identifier: MIT
#include "jobs/queuelessjobslist.h"

#include "jobs/startbudget.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

Taskmill_QueuelessJobsList::Taskmill_QueuelessJobsList(const Taskmill_JobServices &services)
    : Taskmill_JobContainer{Taskmill_NamesOf(Taskmill_Destination::Queueless).Stored, services}
{
}

void Taskmill_QueuelessJobsList::Update()
{
    const auto isPending = [](const Taskmill_Job *job) {
        return job->Status() == Taskmill_JobStatus::Pending;
    };
    const auto isHeld = [](const Taskmill_Job *job) {
        return job->IsHeld();
    };
    // Pending jobs stand together at the end, and the copy stays as it is when one starts.
    const QList<Taskmill_Job *> jobs = Jobs();
    const auto firstPending = std::find_if_not(jobs.rbegin(), jobs.rend(), isPending).base();
    const auto firstHeld = std::find_if(firstPending, jobs.end(), isHeld);
    for (auto job = firstPending; job != firstHeld; ++job) {
        if ((*job)->MayStart())
            StartJob(**job);
    }
    if (IsBudgetOn())
        Services().Budget->Pass(this);
    Q_EMIT ListUpdatedSignal();
}

bool Taskmill_QueuelessJobsList::IsToBeHeld(const Taskmill_JobRecord &record) const
{
    return record.Status == Taskmill_JobStatus::Running;
}
