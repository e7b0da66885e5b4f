// SPDX-License-Identifier: MIT
#pragma once

#include "manager/dialogue.h"

class Taskmill_Destinations;

/// Asks whether the program is to end. What is to become of the project is asked by Taskmill_ClosingDialogue.
class Taskmill_ExitDialogue final : public Taskmill_Dialogue
{
public:
    /// The queues outlive the dialogue.
    explicit Taskmill_ExitDialogue(Taskmill_Destinations &destinations);

    std::optional<Taskmill_Question> Next() override;
    void Answer(const Taskmill_Answer &answer) override;

    [[nodiscard]] bool IsConfirmed() const { return m_isConfirmed; }

private:
    Taskmill_Destinations &m_destinations;
    bool m_isAnswered = false;
    bool m_isConfirmed = false;
};
