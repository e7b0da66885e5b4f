// SPDX-License-Identifier: MIT
#pragma once

#include "wire/runrecord.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

/// What the keepers have recorded in their folder:
///
///     living       a byte of it is locked by each living keeper
///     journal/     one file for each process that starts runs, to which its keepers append lines
///     out/RUNID    captured output, see Taskmill_RunOutput
///     socket/RUNID where a keeper without a manager listens
///     claims       locked while somebody claims a result
class Taskmill_RunJournals
{
public:
    struct Run
    {
        std::string journal;
        std::string bootID;
        long long startMs = 0;
        std::optional<Taskmill_RunEnd> end; ///< none while it runs, and for ever when its keeper was killed
        std::string claimant;               ///< who has taken the result, empty for nobody
    };

    explicit Taskmill_RunJournals(std::string runFolder);

    /// Reads what was appended since the last time. Lines that were torn are skipped.
    void Refresh();
    [[nodiscard]] const std::map<std::string, Run> &Runs() const { return m_runs; }
    /// Nothing for a run that no journal knows.
    [[nodiscard]] const Run *Find(const std::string &runID) const;

    /// Takes the result of a run that has ended, or whose keeper is gone, for a claimant (a word that stays
    /// the same when he is started again; a colon and something that may change can follow). False when
    /// somebody else has it, nobody knows the run, it still runs, or the claim cannot be written. To claim
    /// again is no fault: the claimant may have been ended before he stored the result.
    [[nodiscard]] bool Claim(const std::string &runID, const std::string &claimant);
    enum class Claims
    {
        AllTaken,
        SomeNotTaken,
        Busy, ///< somebody else claims or tidies up: nothing was done
    };
    /// The same for many at once, without waiting for others. Unless they are busy the runs are known no more
    /// to this object then, which would grow for ever.
    [[nodiscard]] Claims ClaimAll(const std::vector<std::string> &runIDs, const std::string &claimant);

    /// Removes the journals to which nobody can append and of which every result is claimed or older than
    /// two months, but for the newest few of those that are claimed, and the output and sockets that belong
    /// to none of the other runs.
    void Tidy();

private:
    enum class Claimed
    {
        ByNobody, ///< the run has ended and can be claimed
        ByClaimant,
        ByOtherOrNotYet ///< not to be claimed: somebody else has it, nobody knows it, or it still runs
    };
    /// The lock on the claims is held.
    [[nodiscard]] Claimed StateOf(const std::string &runID, const std::string &claimant);
    void ReadNewLines(const std::string &journal);
    void Take(const std::string &journal, const Taskmill_RunRecord &record);
    void RemoveFilesOfUnknownRuns(const std::string &folder);
    [[nodiscard]] std::set<std::string> NewestOf(const std::set<std::string> &journals) const;

    std::string m_folder;
    std::map<std::string, std::uintmax_t> m_positions; ///< of the journals, how much was read
    std::map<std::string, Run> m_runs;
};
