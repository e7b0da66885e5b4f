// SPDX-License-Identifier: MIT
#include "manager/closingdialogue.h"

#include "db/database.h"
#include "db/databasemanager.h"

using namespace Qt::Literals::StringLiterals;

namespace {
Taskmill_Question ClosingQuestion(const QString &title, const QString &text, const QString &consoleText)
{
    return {.title = title,
            .text = text,
            .consoleText = consoleText,
            .kind = Taskmill_Question::Kind::YesNoCancel,
            .defaultAnswer = KilnUtil_UserPrompt::WarnAnswer::Yes,
            .takesShortWords = false};
}

/// Nothing when there is nothing to save.
std::optional<Taskmill_Question> QuestionBeforeClosing()
{
    const Taskmill_Database *database = Taskmill_Database_Manager::Global().CurrentDatabase();
    if (!database || !database->HasUnsavedChanges())
        return std::nullopt;
    const QString changesTitle = u"Save Changes to Current Project?"_s;
    const QString changesConsoleText = u"Save Changes Made to Current Project Before Closing it?"_s;
    if (!database->FilePath().isEmpty()) {
        return ClosingQuestion(
            changesTitle,
            u"Would you like to save changes to the current Taskmill project before closing it?\n\n"
            "If you choose No, the changes to the database will be lost."_s,
            changesConsoleText);
    }
    if (!database->Title().isEmpty()) {
        return ClosingQuestion(
            changesTitle,
            u"Would you like to save changes made to the current Taskmill project before closing it?\n\n"
            "If you choose No, the changes made to the project since the last save will be lost."_s,
            changesConsoleText);
    }
    return ClosingQuestion(
        u"Save Current Project?"_s,
        u"Would you like to save the current Taskmill project to a file before closing it?\n\n"
        "If you choose No, the project will be lost."_s,
        u"Save Current Project to a File Before Closing it?"_s);
}
} // namespace

Taskmill_ClosingDialogue::Taskmill_ClosingDialogue(Taskmill_SavableProject &project)
    : m_saving{project}
{
}

std::optional<Taskmill_Question> Taskmill_ClosingDialogue::Next()
{
    if (m_step == Step::Save)
        return m_saving.Next();
    if (m_step == Step::End)
        return std::nullopt;
    std::optional<Taskmill_Question> question = QuestionBeforeClosing();
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
    m_isGivenUp = answer.IsNo();
    m_goesOn = m_isGivenUp;
    m_step = answer.IsYes() ? Step::Save : Step::End;
}
