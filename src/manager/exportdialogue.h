// SPDX-License-Identifier: MIT
#pragma once

#include "manager/dialogue.h"

/// Asks for the file into which jobs are to be written, and whether it may be replaced. Its ending says in
/// which form: ".json", else ".csv", which is added where there is neither.
class Taskmill_ExportDialogue final : public Taskmill_Dialogue
{
public:
    explicit Taskmill_ExportDialogue(qsizetype jobs);

    std::optional<Taskmill_Question> Next() override;
    void Answer(const Taskmill_Answer &answer) override;

    /// Empty when the user has given it up.
    [[nodiscard]] const QString &File() const { return m_file; }

private:
    enum class Step
    {
        AskForFile,
        AskWhetherToReplace,
        End
    };

    const qsizetype m_jobs;
    Step m_step = Step::AskForFile;
    QString m_file;
};
