// SPDX-License-Identifier: MIT
#pragma once

#include "manager/dialogue.h"

class Taskmill_Destinations;

/// Which of the running jobs end with the program whatever is chosen, as a sentence; empty when there are
/// none.
[[nodiscard]] QString Taskmill_JobsThatCannotGoOn(Taskmill_Destinations &destinations);

/// Asks whether the program is to end. What is to become of the project is asked by Taskmill_ClosingDialogue.
class Taskmill_ExitDialogue final : public Taskmill_Dialogue
{
public:
    /// Whether running jobs can go on without the program, by the user's choice.
    enum class JobsGoOn
    {
        AsChosen, ///< a check box asks, with what was chosen the last time
        No
    };

    /// The queues outlive the dialogue.
    explicit Taskmill_ExitDialogue(Taskmill_Destinations &destinations, JobsGoOn jobsGoOn = JobsGoOn::No);

    std::optional<Taskmill_Question> Next() override;
    void Answer(const Taskmill_Answer &answer) override;

    [[nodiscard]] bool IsConfirmed() const { return m_isConfirmed; }
    /// Whether the user was asked what becomes of the running jobs, and what he chose.
    [[nodiscard]] bool HasChoice() const { return m_hasChoice; }
    [[nodiscard]] bool DoJobsGoOn() const { return m_doJobsGoOn; }

private:
    Taskmill_Destinations &m_destinations;
    const JobsGoOn m_jobsGoOn;
    bool m_hasChoice = false;
    bool m_doJobsGoOn = false;
    bool m_isAnswered = false;
    bool m_isConfirmed = false;
};
