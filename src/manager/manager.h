// SPDX-License-Identifier: MIT
#pragma once

#include "db/databasejobstore.h"
#include "jobs/jobtypelist.h"
#include "kilnutil/idmanager.h"
#include "manager/destinations.h"
#include "manager/finishedjobs.h"
#include "manager/inputhashes.h"
#include "manager/jobresults.h"
#include "manager/jobsgoon.h"
#include "manager/jobsubmitter.h"
#include "manager/jobwatch.h"
#include "manager/outbox.h"
#include "manager/project.h"
#include "manager/runningjobs.h"
#include "manager/runsource.h"
#include "manager/startrules.h"

#include <memory>

class KilnUtil_RunKeepers;
class Taskmill_ProcessInspector;

/// The manager without a front end: the job types, the jobs and where they wait and run, the project that
/// holds them, and what takes new ones in. Every start mode has one; the window and the console are front
/// ends of it.
class Taskmill_Manager
{
public:
    /// The notifier, which reaches the clients of jobs, outlives the manager. Without keepers the jobs end
    /// with the manager.
    Taskmill_Manager(Taskmill_Notifier &notifier, Taskmill_ReadOnlyProjects readOnlyProjects);
    Taskmill_Manager(Taskmill_Notifier &notifier, Taskmill_ReadOnlyProjects readOnlyProjects,
                     std::unique_ptr<KilnUtil_RunKeepers> keepers);
    ~Taskmill_Manager();
    Q_DISABLE_COPY_MOVE(Taskmill_Manager)

    [[nodiscard]] Taskmill_JobStore &Store() { return m_store; }
    [[nodiscard]] Taskmill_JobTypeList &JobTypes() { return m_jobTypes; }
    [[nodiscard]] KilnUtil_IDManager &JobNumbers() { return m_jobNumbers; }
    [[nodiscard]] Taskmill_FinishedJobs &FinishedJobs() { return m_finishedJobs; }
    [[nodiscard]] Taskmill_Destinations &Destinations() { return m_destinations; }
    [[nodiscard]] Taskmill_Project &Project() { return m_project; }
    [[nodiscard]] Taskmill_JobSubmitter &Submitter() { return m_submitter; }
    [[nodiscard]] Taskmill_JobResults &Results() { return m_results; }
    [[nodiscard]] Taskmill_RunningJobs &RunningJobs() { return m_runningJobs; }

    [[nodiscard]] Taskmill_JobWatch &JobWatch() { return m_jobWatch; }
    [[nodiscard]] Taskmill_StartRules &StartRules() { return m_startRules; }

    /// Opens the project file named at the start or, without one, a new project. False when no project could
    /// be had.
    [[nodiscard]] bool OpenStartUpProject(const QString &startUpFile);

    /// What the user must know when the program has started: what was recovered, spare projects of earlier
    /// sessions and, unless he is asked about them, a project file that was changed elsewhere and jobs that
    /// are held.
    [[nodiscard]] QStringList NoticesAtStart(bool asks);

    /// The record of a job, wherever it is, that of a finished one without its output, that of a running one
    /// with what its output says so far; nothing when there is no such job.
    [[nodiscard]] std::optional<Taskmill_JobRecord> FindJob(int jobID);
    /// The same, with what the job has printed until now.
    [[nodiscard]] std::optional<Taskmill_JobRecord> FindJobWithOutput(int jobID);

    /// What is to become of the jobs that run, when the program ends; Unasked at first.
    void SetEnding(Taskmill_Ending ending) { m_ending = ending; }
    /// Whether they can go on without the program.
    [[nodiscard]] bool HasKeepers() const { return m_keepers != nullptr; }
    /// Whether the user is to be asked, when the program ends, what becomes of the running jobs.
    [[nodiscard]] bool IsToAskWhetherJobsGoOn() const
    {
        return HasKeepers() && Taskmill_UserDecidesJobsGoOn();
    }
    enum class End
    {
        InOrder,
        Unattended ///< what is unsaved, and in no other file, stays for the next start
    };
    /// Ends all jobs that are not to go on and closes the project; without effect the second time.
    void ShutDown(End end = End::InOrder);
    [[nodiscard]] bool IsShutDown() const { return m_isShutDown; }
    /// Saves a project that has a file and ends what is not to go on, when the process is about to end out of
    /// turn.
    void SaveBeforeAbruptEnd();

private:
    [[nodiscard]] bool DoJobsGoOn() const { return HasKeepers() && Taskmill_JobsGoOn(m_ending); }
    void ConnectJobs();
    void NoticeJobElsewhere(const Taskmill_JobRecord &job, const QString &ownerText);

    Taskmill_DatabaseJobStore m_store;
    /// Shared with a listing that may outlive this.
    const std::shared_ptr<Taskmill_ProcessInspector> m_inspector;
    const std::unique_ptr<KilnUtil_RunKeepers> m_keepers;
    Taskmill_JobTypeList m_jobTypes;
    KilnUtil_IDManager m_jobNumbers;
    Taskmill_JobResults m_results;
    Taskmill_Outbox m_outbox;
    Taskmill_StartRules m_startRules;
    Taskmill_FinishedJobs m_finishedJobs;
    Taskmill_Destinations m_destinations;
    Taskmill_InputHashes m_inputHashes;
    Taskmill_JobWatch m_jobWatch;
    Taskmill_LostRuns m_runs;
    Taskmill_Project m_project;
    Taskmill_JobSubmitter m_submitter;
    Taskmill_RunningJobs m_runningJobs;
    QStringList m_jobsElsewhere; ///< of which the user is still to hear
    Taskmill_Ending m_ending = Taskmill_Ending::Unasked;
    bool m_isShutDown = false;
};
