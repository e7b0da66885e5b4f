// SPDX-License-Identifier: MIT
#pragma once

#include "manager/dialogue.h"

#include <QList>

class Taskmill_FinishedJobs;

/// Asks whether finished jobs are to be removed, and removes them.
class Taskmill_FinishedRemovalDialogue final : public Taskmill_Dialogue
{
public:
    /// Of the jobs at these positions of the list, which outlives the dialogue.
    Taskmill_FinishedRemovalDialogue(Taskmill_FinishedJobs &jobs, QList<int> positions);

    std::optional<Taskmill_Question> Next() override;
    void Answer(const Taskmill_Answer &answer) override;

private:
    Taskmill_FinishedJobs &m_jobs;
    QList<int> m_positions;
    const int m_generation; ///< of the list in which the positions are those of the jobs
};
