#include "jobs/queuelessjobslist.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

Taskmill_QueuelessJobsList::Taskmill_QueuelessJobsList(const Taskmill_JobServices &services)
    : Taskmill_JobContainer{u"Queueless"_s, services}
{
}

void Taskmill_QueuelessJobsList::Update()
{
    const auto isPending = [](const Taskmill_Job *job) {
        return job->Status() == Taskmill_JobStatus::Pending;
    };
    // Pending jobs stand together at the end, and starting one changes nothing in the list.
    const QList<Taskmill_Job *> jobs = Jobs();
    const auto firstPending = std::find_if_not(jobs.rbegin(), jobs.rend(), isPending).base();
    for (auto job = firstPending; job != jobs.end(); ++job)
        StartJob(**job);
    Q_EMIT ListUpdatedSignal();
}
