// SPDX-License-Identifier: MIT
#pragma once

#include "manager/dialogue.h"

#include <QList>

class Taskmill_QueueOwner;

/// Removes jobs from their queue with their rows: asks whether they are to go, and what is to become of those
/// that run.
class Taskmill_RemovalDialogue final : public Taskmill_Dialogue
{
public:
    enum class Begin
    {
        AskWhether,
        WarnOfRunning ///< the user has said already that they are to go
    };
    /// The owner outlives the dialogue. Jobs that it does not have ask nothing and remove nothing.
    Taskmill_RemovalDialogue(Taskmill_QueueOwner &owner, QList<int> jobIDs, Begin begin = Begin::AskWhether);

    std::optional<Taskmill_Question> Next() override;
    void Answer(const Taskmill_Answer &answer) override;

    /// False when the user declined or there was nothing to ask.
    [[nodiscard]] bool IsCarriedOut() const { return m_step == Step::Removed; }
    /// The jobs that the user wanted to go: without those that run, where these were to stay.
    [[nodiscard]] const QList<int> &Wanted() const { return m_jobIDs; }
    /// Those of them that were still there.
    [[nodiscard]] const QList<int> &Removed() const { return m_removed; }

private:
    enum class Step
    {
        AskWhether,
        Confirmed,
        WarnOfRunning,
        Remove,
        Removed,
        Declined
    };
    void Remove();

    Taskmill_QueueOwner &m_owner;
    QList<int> m_jobIDs;
    QList<int> m_waiting; ///< those that did not run when the user was warned
    QList<int> m_removed;
    Step m_step;
};
