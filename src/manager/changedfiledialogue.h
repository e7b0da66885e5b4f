// SPDX-License-Identifier: MIT
#pragma once

#include "manager/dialogue.h"

class Taskmill_Project;

/// Asks which of the two counts when changes were recovered whose project file another program has changed
/// meanwhile. Whoever cannot be asked goes on with what was recovered.
class Taskmill_ChangedFileDialogue final : public Taskmill_Dialogue
{
public:
    /// The project outlives the dialogue.
    explicit Taskmill_ChangedFileDialogue(Taskmill_Project &project);

    std::optional<Taskmill_Question> Next() override;
    void Answer(const Taskmill_Answer &answer) override;

    /// Where what was recovered was written when the user has decided for the project file; empty else.
    [[nodiscard]] const QString &RecoveredFile() const { return m_recoveredFile; }

    /// What is said where nobody is asked.
    [[nodiscard]] static QString Notice(const Taskmill_Project &project);

private:
    Taskmill_Project &m_project;
    QString m_recoveredFile;
};
