// SPDX-License-Identifier: MIT
#pragma once

#include "manager/savedialogue.h"

/// What comes before a project is closed: whether its unsaved changes are to be saved, and the saving.
class Taskmill_ClosingDialogue final : public Taskmill_Dialogue
{
public:
    /// The project outlives the dialogue.
    explicit Taskmill_ClosingDialogue(Taskmill_SavableProject &project);

    std::optional<Taskmill_Question> Next() override;
    void Answer(const Taskmill_Answer &answer) override;

    /// Whether the project may be closed: it is saved, needs no saving, or the user does without.
    [[nodiscard]] bool MayClose() const { return m_goesOn || m_saving.IsSaved(); }
    [[nodiscard]] bool IsSaved() const { return m_saving.IsSaved(); }
    /// Whether the user does without unsaved changes.
    [[nodiscard]] bool IsGivenUp() const { return m_isGivenUp; }
    /// Where it was saved.
    [[nodiscard]] const QString &File() const { return m_saving.File(); }

private:
    enum class Step
    {
        Ask,
        Save,
        End
    };

    Taskmill_SaveDialogue m_saving;
    Step m_step = Step::Ask;
    bool m_goesOn = false;
    bool m_isGivenUp = false;
};
