// SPDX-License-Identifier: MIT
#include "manager/closingdialogue.h"

#include "manager/project.h"

Taskmill_ClosingDialogue::Taskmill_ClosingDialogue(Taskmill_Project &project)
    : m_project{project}
    , m_saving{project}
{
}

std::optional<Taskmill_Question> Taskmill_ClosingDialogue::Next()
{
    if (m_step == Step::Save)
        return m_saving.Next();
    if (m_step == Step::End)
        return std::nullopt;
    std::optional<Taskmill_Question> question = m_project.QuestionBeforeClosing();
    if (!question) {
        m_goesOn = true;
        m_step = Step::End;
    }
    return question;
}

void Taskmill_ClosingDialogue::Answer(const Taskmill_Answer &answer)
{
    if (m_step == Step::Save) {
        m_saving.Answer(answer);
        return;
    }
    m_goesOn = answer.IsNo();
    m_step = answer.IsYes() ? Step::Save : Step::End;
}
