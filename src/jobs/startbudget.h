// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <optional>

class Taskmill_JobContainer;
struct Taskmill_JobRecord;

/// Whoever shares the machine among the jobs of all queues.
class Taskmill_StartBudget
{
public:
    virtual ~Taskmill_StartBudget() = default;

    /// Off, each queue starts jobs as its own limit says.
    [[nodiscard]] virtual bool IsOn() const = 0;
    /// Why the job would never start in a queue; nothing for one that may have to wait.
    [[nodiscard]] virtual std::optional<QString> RefusalOf(const Taskmill_JobRecord &job) const = 0;
    /// Something has changed: starts every waiting job that fits and says of the others why they wait. Each
    /// queue in which something changes reports it, but not `reporting`, which does so by itself.
    virtual void Pass(const Taskmill_JobContainer *reporting) = 0;
};
