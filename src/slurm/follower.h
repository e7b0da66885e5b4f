// SPDX-License-Identifier: MIT
#pragma once

#include "slurm/arguments.h"
#include "slurm/batchscript.h"
#include "slurm/cancellations.h"
#include "slurm/queuelisting.h"
#include "slurm/reporter.h"
#include "slurm/sharedqueue.h"
#include "slurm/site.h"
#include "wire/clusterrun.h"

#include <memory>
#include <optional>
#include <string>

/// Hands the job of a run folder to its cluster, unless that was done, and follows it to its end.
///
/// Before each step that cannot be taken back the state file says, on the disk, that it is about to be taken;
/// so whoever takes the folder up finds the job, or knows that there is none.
class Taskmill_SlurmFollower
{
public:
    /// `shared` is the folder of this user for what all followers share; empty for none.
    Taskmill_SlurmFollower(std::string runFolder, const Taskmill_SlurmArguments &arguments,
                           Taskmill_ClusterState state, const std::string &shared);

    /// How this program is to end. None when it is to leave the job alone, as the system ends.
    [[nodiscard]] std::optional<Taskmill_ShellEnd> Run();

private:
    using Phase = Taskmill_ClusterState::Phase;
    enum class Search
    {
        Found,
        Missing,
        Interrupted,
    };

    void Store();
    bool MustStop();
    void Pause(int &pauseMs);
    bool Prepare();
    void Submit();
    void SubmitOnce(int &pauseMs);
    Search FindSubmitted();
    void TakeNumber(const std::string &number);

    void Follow();
    void LookAtFiles();
    void TakeMark();
    const Taskmill_SharedQueue::Listing &LookAtQueue();
    void Judge(const Taskmill_SharedQueue::Listing &listing);
    void JudgeListed(const Taskmill_ListedJob &job, bool isNews);
    void JudgeMissing();
    void ShowState(const Taskmill_ListedJob &job);
    void TakeExit(const Taskmill_ShellEnd &end);
    void TakeExitUnconfirmed();

    void BeginCancel();
    void CancelAgain();
    void CollectResults();
    void EndJob(const Taskmill_ShellEnd &end, const std::string &text);
    void EndWithoutJob(int code, const std::string &text);
    void Finish(const Taskmill_ShellEnd &end);

    [[nodiscard]] std::string Named(const std::string &text) const
    {
        return "job " + m_state.job + ' ' + text;
    }

    std::string m_folder;
    Taskmill_SlurmArguments m_arguments;
    Taskmill_ClusterState m_state;
    std::unique_ptr<Taskmill_SlurmSite> m_site;
    Taskmill_SharedQueue m_queue;
    Taskmill_Cancellations m_cancellations;
    Taskmill_SlurmReporter m_reporter;

    Taskmill_RunNews m_news;
    std::string m_mark; ///< what the batch script had written when that was shown
    bool m_isStored = true;
    bool m_mustLeave = false;
    bool m_isSlow = false;       ///< it answers, but late: that is said once
    bool m_isSilent = false;     ///< the cluster does not answer
    long long m_submittedMs = 0; ///< listings of before say nothing; 0 for those of a run taken up
    long long m_lookedMs = 0;    ///< at the files
    long long m_judgedMs = 0;    ///< when the listing was asked for that was judged last
    long long m_exitSeenMs = 0;
    int m_missing = 0;    ///< listings without the job, in a row
    int m_unfinished = 0; ///< listings in a row that say that it has ended in a way that may not be the last
    long long m_cancelAtMs = 0;
    int m_cancelPauseMs = 1000;
    bool m_isCancelSent = false;
    std::optional<Taskmill_ShellEnd> m_end;
};
