// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobrecord.h"
#include "manager/followedoutput.h"

#include <QPointer>

#include <functional>
#include <optional>

class KilnUtil_Process;
class KilnUtil_TableWidget;
class QFrame;

/// The job that the details are of: a copy, since a job may end or go at any time.
struct Taskmill_ShownJob
{
    Taskmill_JobRecord Record;          ///< that of a finished job without its output
    QPointer<KilnUtil_Process> Process; ///< of a job that runs here
    /// Returns what reads, on another thread, what the job has printed: it may be long.
    std::function<Taskmill_OutputText()> Printed{};

    /// Whether it is that job, as it was at another time: jobs of other projects have the same numbers.
    [[nodiscard]] bool Is(const Taskmill_JobRecord &job) const
    {
        // Stored times are whole seconds.
        return Record.JobID == job.JobID && Record.Name == job.Name &&
               Record.Submitted.IsoText() == job.Submitted.IsoText();
    }
    [[nodiscard]] bool IsRunning() const { return Record.Status == Taskmill_JobStatus::Running; }
};

/// A tab with a table of jobs, as the details beneath the table know it.
class Taskmill_TabWithJobs
{
public:
    Taskmill_TabWithJobs() = default;
    virtual ~Taskmill_TabWithJobs() = default;
    Q_DISABLE_COPY_MOVE(Taskmill_TabWithJobs)

    /// That of the current row; nothing when there is none.
    [[nodiscard]] virtual std::optional<Taskmill_ShownJob> CurrentJob() const = 0;
    /// The job of that number, where the tab has it in any row; nothing where it has not, or does not look.
    [[nodiscard]] virtual std::optional<Taskmill_ShownJob> JobOfNumber(int) const { return std::nullopt; }
    [[nodiscard]] virtual KilnUtil_TableWidget &JobTable() const = 0;
    /// All that the tab shows.
    [[nodiscard]] virtual QFrame *Page() const = 0;
    /// Opens a window with all of the job's output: the file, or what the job prints.
    virtual void ViewOutput(const Taskmill_ShownJob &job) const = 0;
};
