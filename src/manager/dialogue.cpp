// SPDX-License-Identifier: MIT
#include "manager/dialogue.h"

#include "kilnutil/error.h"

#include <QDir>

namespace {
Taskmill_Answer AskedThroughPrompt(const Taskmill_Question &question)
{
    KilnUtil_UserPrompt &prompt = KilnUtil_Error::UserPrompt();
    // The dialog asks about a file that is there.
    if (question.kind == Taskmill_Question::Kind::FileToSave)
        return {.file = prompt.AskSaveFileName(question.title, QDir::currentPath(), question.nameFilter),
                .mayReplaceFile = true};
    const auto mode = question.kind == Taskmill_Question::Kind::YesNo
                          ? KilnUtil_UserPrompt::WarnMode::YesNo
                          : KilnUtil_UserPrompt::WarnMode::YesNoCancel;
    if (question.isWarning && !question.detail.isEmpty()) {
        KilnUtil_UserPrompt::WarnDetail detail{.text = question.detail,
                                               .checkBox = question.checkBox,
                                               .isChecked = question.isChecked,
                                               .yes = question.yes,
                                               .no = question.no};
        const auto choice =
            prompt.ReportDetailedWarning(question.title, question.text, detail, mode, question.defaultAnswer);
        return {.choice = choice, .isChecked = detail.isChecked};
    }
    if (question.isWarning)
        return {.choice = prompt.ReportWarning(question.title, question.text, mode, question.defaultAnswer)};
    return {.choice = prompt.AskQuestion(question.title, question.text, mode, question.defaultAnswer)};
}
} // namespace

void Taskmill_AskThroughPrompt(Taskmill_Dialogue &dialogue)
{
    while (const std::optional<Taskmill_Question> question = dialogue.Next())
        dialogue.Answer(AskedThroughPrompt(*question));
}
