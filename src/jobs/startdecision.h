// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/waitreason.h"

#include <QtGlobal>

#include <chrono>
#include <cstddef>
#include <vector>

/// What the jobs of a manager may take together while they run. 0 stands for any number.
struct Taskmill_BudgetLimits
{
    qint32 Cores = 0;
    qint64 MemoryMB = 0; ///< in units of 2^20 bytes

    bool operator==(const Taskmill_BudgetLimits &) const = default;
    [[nodiscard]] bool IsOn() const { return Cores > 0 || MemoryMB > 0; }
    /// Whether a job fits when nothing else runs.
    [[nodiscard]] bool CanHold(qint32 cores, qint64 memoryMB) const
    {
        return (Cores == 0 || cores <= Cores) && (MemoryMB == 0 || memoryMB <= MemoryMB);
    }
};

/// A job that waits in a queue.
struct Taskmill_WaitingJob
{
    qint32 JobID = 0;
    qint32 Cores = 1;
    qint64 MemoryMB = 0;
    /// When it became the first of its queue that could start, in ms of the question's clock; negative when
    /// it was not the first before.
    qint64 AtHeadSince = -1;
    bool IsHeld = false; ///< for a reason of its own, which stays
};

/// A queue as the decision sees it.
struct Taskmill_WaitingQueue
{
    std::vector<Taskmill_WaitingJob> Waiting; ///< in their order
    int Running = 0;
    int MaxRunningJobs = 1;
    bool IsPaused = false;
};

/// Everything that decides which jobs start.
struct Taskmill_StartQuestion
{
    Taskmill_BudgetLimits Budget;
    qint64 CoresInUse = 0; ///< by everything that runs, also without a queue
    qint64 MemoryInUseMB = 0;
    std::vector<Taskmill_WaitingQueue> Queues;
    qint64 Now = 0; ///< in ms of a clock that does not go back
};

/// What is to become of the waiting jobs of one queue; positions are those of Taskmill_WaitingQueue::Waiting.
struct Taskmill_QueueDecision
{
    static constexpr std::size_t NoHead = static_cast<std::size_t>(-1);

    std::vector<std::size_t> Starts;          ///< in the order in which they start
    std::vector<Taskmill_WaitReason> Reasons; ///< one for each waiting job; None for those that are held
    std::size_t Head = NoHead;                ///< the first one that could start and is left
};

struct Taskmill_StartDecision
{
    std::vector<Taskmill_QueueDecision> Queues;
};

/// How long a job is overtaken by smaller ones before what becomes free is kept for it.
constexpr std::chrono::milliseconds Taskmill_LongestOvertaken = std::chrono::minutes{10};

/// All jobs that fit start, in the order of their queue; those that do not fit are passed over. The queues
/// take turns: the one comes first whose first job has been the first for longest. A job that has been the
/// first for Taskmill_LongestOvertaken, and does not fit, keeps what is free of what it needs, and a place
/// in its queue.
[[nodiscard]] Taskmill_StartDecision Taskmill_DecideStarts(const Taskmill_StartQuestion &question);
