// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobcontainer.h"

/// The jobs that run at once, without waiting for a slot: every Pending one is started at each change. Only
/// those that ran when their project was closed wait, held, until they are released: what they have written
/// is not to be overwritten unasked.
class Taskmill_QueuelessJobsList final : public Taskmill_JobContainer
{
    Q_OBJECT

public:
    explicit Taskmill_QueuelessJobsList(const Taskmill_JobServices &services);

Q_SIGNALS:
    void ListUpdatedSignal();

protected:
    /// Of those that were running.
    [[nodiscard]] bool IsToBeHeld(const Taskmill_JobRecord &record) const override;
    void Update() override;
};
