// SPDX-License-Identifier: MIT
#pragma once

#include "slurm/command.h"

#include <functional>
#include <string>

/// What the cluster lists of this user's jobs, asked for by one program at a time and no more than once in
/// an interval, and read by all of them from a file.
class Taskmill_SharedQueue
{
public:
    struct Listing
    {
        long long askedMs = 0; ///< when the question began, ms since 1970; 0 when there is none yet
        bool isAnswer = false;
        std::string text; ///< the listing, or why there is none
    };

    /// The time between two questions at the least: 10 s, or as many seconds as TASKMILL_SLURM_INTERVAL says.
    [[nodiscard]] static long long IntervalMs();
    /// How long a question takes before the cluster counts as one that does not answer.
    static constexpr long long PatienceMs = 4000;

    /// In a folder of this user, which must be there; `cluster` stands for the cluster.
    Taskmill_SharedQueue(const std::string &folder, const std::string &cluster);

    /// The newest listing, after asking for it when nobody else does and it is time. An empty folder stands
    /// for none: each program asks for itself then.
    const Listing &Look(const std::function<Taskmill_CommandEnd()> &ask);
    /// Whether this object has asked with its last Look().
    [[nodiscard]] bool HasAsked() const { return m_hasAsked; }
    /// Whether somebody waits for an answer for longer than he should.
    [[nodiscard]] bool IsAnswerLate() const;

private:
    void Read();
    void Ask(const std::function<Taskmill_CommandEnd()> &ask, long long nowMs);

    std::string m_path; ///< empty where nothing is shared
    Listing m_listing;
    long long m_askedMs = 0; ///< the last question of anybody
    bool m_hasAsked = false;
};
