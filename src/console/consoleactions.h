// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/destination.h"
#include "jobs/jobrecord.h"
#include "jobs/startdecision.h"
#include "manager/runningjobs.h"

#include <functional>
#include <optional>

enum class Taskmill_Ending;
class Taskmill_Destinations;
class Taskmill_Manager;
class Taskmill_Project;
class Taskmill_QueueOwner;

/// What the console reaches of the manager. All of it outlives the console.
struct Taskmill_ConsoleContext
{
    Taskmill_Manager &Manager;
    QStringList Notices;        ///< printed below the banner
    bool AsksAtStart = false;   ///< somebody is there who can answer, before the first prompt
    std::function<void()> Exit; ///< ends the program without a question
};

/// What the console's commands do, apart from reading and printing. To be called on the main thread.
class Taskmill_ConsoleActions
{
public:
    explicit Taskmill_ConsoleActions(Taskmill_ConsoleContext context);

    /// Listings are made to fit a terminal of so many columns, 0 for any width.
    [[nodiscard]] QString QueueListing(Taskmill_Destination destination, int width) const;
    [[nodiscard]] QString FinishedListing(int width) const;
    /// Returns a function that reads the processes for the listing. The choice is remembered, also for the
    /// window's table.
    [[nodiscard]] Taskmill_RunningJobs::Reading ProcessReading(bool onlyKnownJobTypes) const;
    [[nodiscard]] QString ProcessListing(const QList<Taskmill_ProcessRecord> &processes, int width) const;
    [[nodiscard]] QString JobTypeListing(int width) const;
    /// All fields of a job, wherever it is, and its output. A line that says so when there is no such job.
    [[nodiscard]] QString JobText(int jobID) const;

    [[nodiscard]] QStringList JobTypeNames() const;
    /// By name in any case, else by number; an empty record when there is none.
    [[nodiscard]] Taskmill_JobType FindJobType(const QString &nameOrNumber) const;
    /// Says what became of the file.
    [[nodiscard]] QString AddFile(const QString &filePath, const Taskmill_JobType &jobType,
                                  Taskmill_Destination destination) const;

    [[nodiscard]] QString SetPaused(Taskmill_Destination queue, bool paused) const;
    [[nodiscard]] QString PauseWhenEnded(Taskmill_Destination queue) const;
    [[nodiscard]] QString SetQuietHours(const QString &text) const;
    [[nodiscard]] QString SetPriority(const QString &text) const;
    [[nodiscard]] QString SetLimit(Taskmill_Destination queue, int maxRunningJobs) const;

    [[nodiscard]] QString BudgetText() const;
    [[nodiscard]] QString SetBudget(const Taskmill_BudgetLimits &limits) const;

    /// Whether anything is asked before the first prompt.
    [[nodiscard]] bool AsksAtStart() const { return m_context.AsksAtStart; }
    /// These let held jobs run again, and say what came of it.
    [[nodiscard]] QString RunHeldJobs() const;
    [[nodiscard]] QString RunHeldJob(int jobID) const;
    /// What is said of so many held jobs that run again.
    [[nodiscard]] static QString ReleasedText(int count);

    /// The owner of the job's queue; nullptr when the job is in none.
    [[nodiscard]] Taskmill_QueueOwner *OwnerOfJob(int jobID) const;

    /// See Taskmill_Manager::FindJob().
    [[nodiscard]] std::optional<Taskmill_JobRecord> FindRecord(int jobID) const;

    [[nodiscard]] QStringList Notices() const { return m_context.Notices; }
    [[nodiscard]] Taskmill_Destinations &Destinations() const;
    [[nodiscard]] Taskmill_Project &Project() const;
    /// Without keepers no job can go on without the program.
    [[nodiscard]] bool HasKeepers() const;
    void Exit(Taskmill_Ending ending) const;

private:
    const Taskmill_ConsoleContext m_context;
};
