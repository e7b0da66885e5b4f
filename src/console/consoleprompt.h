// SPDX-License-Identifier: MIT
#pragma once

#include "kilnutil/userprompt.h"

#include <functional>

/// Reports and asks in the console modes: reports are printed as lines, questions that would need a dialog
/// count as cancelled.
class Taskmill_ConsolePrompt final : public KilnUtil_UserPrompt
{
public:
    /// Where a display is available, `dialogs` shows lists and file dialogs; it outlives this. Else nullptr.
    explicit Taskmill_ConsolePrompt(KilnUtil_UserPrompt *dialogs);

    WarnAnswer ReportWarning(const QString &title, const QString &text, WarnMode mode,
                             WarnAnswer defaultAnswer) override;
    void ReportError(const QString &title, const QString &text) override;
    WarnAnswer AskQuestion(const QString &title, const QString &text, WarnMode mode,
                           WarnAnswer defaultAnswer) override;
    std::optional<QString> ChooseFromList(const QString &title, const QString &label,
                                          const QStringList &items, const QString &preselected) override;
    std::optional<int> AskNumber(const QString &title, const QString &label, int value, int least) override;
    void ShowInformation(const QString &title, const QString &text) override;
    QString AskOpenFileName(const QString &title, const QString &directory, const QString &filter) override;
    QString AskSaveFileName(const QString &title, const QString &directory, const QString &filter) override;
    KilnUtil_OpenFilesAnswer AskOpenFileNames(const KilnUtil_OpenFilesOptions &options) override;

private:
    KilnUtil_UserPrompt *const m_dialogs;
};

/// Writes "\n<Taskmill> " and the text, its line feeds shown as blanks, as one line to the console.
void Taskmill_PrintConsoleLine(const QString &text);

/// Where such lines go instead of straight to standard output; an empty function for there.
void Taskmill_SetConsolePrinter(std::function<void(const QString &)> printer);
