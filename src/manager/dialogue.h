// SPDX-License-Identifier: MIT
#pragma once

#include "kilnutil/userprompt.h"

#include <QString>

#include <optional>

/// What must be asked, as data: each front end shows it in its own way.
struct Taskmill_Question
{
    enum class Kind
    {
        YesNo,
        YesNoCancel,
        FileToSave ///< for the name of a file, which need not exist
    };

    QString title;
    QString text;
    QString detail{};   ///< stands beneath the text in a box; a console leaves it out
    QString checkBox{}; ///< label of a check box of a warning with a detail; a console leaves it out
    bool isChecked = false;
    QString yes{}; ///< labels of the buttons of a warning with a detail; empty for the usual ones
    QString no{};
    QString consoleText{}; ///< where a console puts it in other words; empty for the same
    Kind kind = Kind::YesNo;
    KilnUtil_UserPrompt::WarnAnswer defaultAnswer = KilnUtil_UserPrompt::WarnAnswer::None;
    bool isWarning = false;
    bool takesShortWords = true; ///< a console takes "y" for "yes", too
    bool isAskedOnce = false;    ///< a console takes anything else than "yes" for "no"
    QString nameFilter{};        ///< of a FileToSave

    [[nodiscard]] const QString &ConsoleText() const { return consoleText.isEmpty() ? text : consoleText; }
};

/// Whoever cannot be asked, or gives up, leaves it as it is: that is the cautious answer to every question.
struct Taskmill_Answer
{
    KilnUtil_UserPrompt::WarnAnswer choice = KilnUtil_UserPrompt::WarnAnswer::Cancel;
    QString file{};              ///< to a FileToSave; empty for none
    bool isChecked = false;      ///< the check box, of a question that has one
    bool mayReplaceFile = false; ///< the user was asked already about replacing a file of just that name

    [[nodiscard]] bool IsYes() const { return choice == KilnUtil_UserPrompt::WarnAnswer::Yes; }
    [[nodiscard]] bool IsNo() const { return choice == KilnUtil_UserPrompt::WarnAnswer::No; }
};

/// An operation that needs answers. A front end asks what Next() returns, in whatever way and on whatever
/// thread, gives the answer, and goes on so until there is no more question. All operations belong to the
/// main thread, and anything may happen there while a question stands.
class Taskmill_Dialogue
{
public:
    Taskmill_Dialogue() = default;
    virtual ~Taskmill_Dialogue() = default;
    Q_DISABLE_COPY_MOVE(Taskmill_Dialogue)

    /// Does what can be done without an answer, and returns what must be asked then; nothing at the end.
    [[nodiscard]] virtual std::optional<Taskmill_Question> Next() = 0;
    /// To the question that Next() returned last.
    virtual void Answer(const Taskmill_Answer &answer) = 0;
};

/// Goes through the dialogue with the prompt in force: the boxes of the window or, where nobody can be asked,
/// cautious answers.
void Taskmill_AskThroughPrompt(Taskmill_Dialogue &dialogue);
