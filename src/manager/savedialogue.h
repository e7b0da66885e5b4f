// SPDX-License-Identifier: MIT
#pragma once

#include "manager/dialogue.h"

class Taskmill_SavableProject;

/// Writes the project to its file; one that was never saved asks for a file first, and one whose file has
/// changed whether to replace it. Where that is declined, or a file could not be written, which is reported,
/// another one is asked for. A project that could not be saved is as it was before.
class Taskmill_SaveDialogue final : public Taskmill_Dialogue
{
public:
    enum class Target
    {
        OwnFile,
        AskedFile ///< asks for it at once
    };
    /// The project outlives the dialogue.
    explicit Taskmill_SaveDialogue(Taskmill_SavableProject &project, Target target = Target::OwnFile);

    std::optional<Taskmill_Question> Next() override;
    void Answer(const Taskmill_Answer &answer) override;

    [[nodiscard]] bool IsSaved() const { return m_step == Step::Saved; }
    /// Where it was saved.
    [[nodiscard]] const QString &File() const { return m_file; }

private:
    enum class Step
    {
        Begin,
        AskWhetherChangedMayGo,
        AskForFile,
        AskWhetherToReplace,
        Write,
        Saved,
        NotSaved
    };
    void Begin();
    void Write();
    [[nodiscard]] static Step StepAfterFile(const Taskmill_Answer &answer, const QString &file);

    Taskmill_SavableProject &m_project;
    Step m_step;
    QString m_file;
};
