// SPDX-License-Identifier: MIT
#pragma once

#include "manager/closingdialogue.h"

class Taskmill_Destinations;

/// What comes before a project is closed for another one: what becomes of the jobs that run, then
/// Taskmill_ClosingDialogue.
class Taskmill_LeavingDialogue final : public Taskmill_Dialogue
{
public:
    /// What can become of running jobs.
    enum class Jobs
    {
        MayGoOn, ///< the user chooses, where keepers run some of them
        MayEnd,  ///< the user agrees, or stays
        End      ///< without a question
    };

    /// Both outlive the dialogue.
    Taskmill_LeavingDialogue(Taskmill_SavableProject &project, Taskmill_Destinations &destinations,
                             Jobs jobs);

    std::optional<Taskmill_Question> Next() override;
    void Answer(const Taskmill_Answer &answer) override;

    /// Whether the project may be closed.
    [[nodiscard]] bool MayLeave() const { return !m_stays && m_closing.MayClose(); }
    [[nodiscard]] bool IsSaved() const { return m_closing.IsSaved(); }
    [[nodiscard]] bool DoJobsGoOn() const { return m_doJobsGoOn; }

private:
    Taskmill_Destinations &m_destinations;
    Taskmill_ClosingDialogue m_closing;
    const Jobs m_jobs;
    bool m_asksAboutJobs = false; ///< that question stands
    bool m_canJobsGoOn = false;   ///< it offers that
    bool m_isDecided = false;     ///< what becomes of the jobs
    bool m_doJobsGoOn = false;
    bool m_stays = false;
};
