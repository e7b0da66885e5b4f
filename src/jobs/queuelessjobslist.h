#pragma once

#include "jobs/jobcontainer.h"

/// The jobs that run at once, without waiting for a slot: every Pending one is started at each change.
class Taskmill_QueuelessJobsList final : public Taskmill_JobContainer
{
    Q_OBJECT

public:
    explicit Taskmill_QueuelessJobsList(const Taskmill_JobServices &services);

Q_SIGNALS:
    void ListUpdatedSignal();

protected:
    void Update() override;
};
