// SPDX-License-Identifier: MIT
#pragma once

#include "manager/dialogue.h"

#include <QList>

class Taskmill_Destinations;

/// Asks whether the jobs that ran when the project was closed, or saved, are to run again.
class Taskmill_HeldJobsDialogue final : public Taskmill_Dialogue
{
public:
    /// They outlive the dialogue.
    explicit Taskmill_HeldJobsDialogue(Taskmill_Destinations &destinations);

    std::optional<Taskmill_Question> Next() override;
    void Answer(const Taskmill_Answer &answer) override;

    /// How many run again; nothing where the user declined or there was nothing to ask.
    [[nodiscard]] std::optional<int> Released() const { return m_released; }
    [[nodiscard]] bool IsDeclined() const { return m_isAnswered && !m_released; }

    /// Says that they do not run; empty when there are none.
    [[nodiscard]] static QString Notice(Taskmill_Destinations &destinations);

private:
    Taskmill_Destinations &m_destinations;
    QList<int> m_jobIDs;
    std::optional<int> m_released;
    bool m_isAnswered = false;
};
