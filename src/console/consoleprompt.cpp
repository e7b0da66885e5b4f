// SPDX-License-Identifier: MIT
#include "console/consoleprompt.h"

#include "console/consoleterminal.h"

using namespace Qt::Literals::StringLiterals;

namespace {
std::function<void(const QString &)> linePrinter;
}

Taskmill_ConsolePrompt::Taskmill_ConsolePrompt(KilnUtil_UserPrompt *dialogs)
    : m_dialogs{dialogs}
{
}

KilnUtil_UserPrompt::WarnAnswer Taskmill_ConsolePrompt::ReportWarning(const QString &title,
                                                                      const QString &text, WarnMode,
                                                                      WarnAnswer defaultAnswer)
{
    Taskmill_PrintConsoleLine(title + u": "_s + text);
    return defaultAnswer;
}

void Taskmill_ConsolePrompt::ReportError(const QString &title, const QString &text)
{
    Taskmill_PrintConsoleLine(title + u": "_s + text);
}

KilnUtil_UserPrompt::WarnAnswer Taskmill_ConsolePrompt::AskQuestion(const QString &title, const QString &text,
                                                                    WarnMode mode, WarnAnswer)
{
    Taskmill_PrintConsoleLine(title + u": "_s + text);
    return mode == WarnMode::YesNoCancel ? WarnAnswer::Cancel : WarnAnswer::No;
}

std::optional<QString> Taskmill_ConsolePrompt::ChooseFromList(const QString &title, const QString &label,
                                                              const QStringList &items,
                                                              const QString &preselected)
{
    if (m_dialogs)
        return m_dialogs->ChooseFromList(title, label, items, preselected);
    // What follows says how to select something, which nobody can here.
    Taskmill_PrintConsoleLine(title + u": "_s + label.section(u"\n\nPlease select"_s, 0, 0));
    return std::nullopt;
}

std::optional<int> Taskmill_ConsolePrompt::AskNumber(const QString &title, const QString &label, int value,
                                                     int least)
{
    return m_dialogs ? m_dialogs->AskNumber(title, label, value, least) : std::nullopt;
}

void Taskmill_ConsolePrompt::ShowInformation(const QString &title, const QString &text)
{
    Taskmill_PrintConsoleLine(title + u": "_s + text);
}

QString Taskmill_ConsolePrompt::AskOpenFileName(const QString &title, const QString &directory,
                                                const QString &filter)
{
    return m_dialogs ? m_dialogs->AskOpenFileName(title, directory, filter) : QString{};
}

QString Taskmill_ConsolePrompt::AskSaveFileName(const QString &title, const QString &directory,
                                                const QString &filter)
{
    return m_dialogs ? m_dialogs->AskSaveFileName(title, directory, filter) : QString{};
}

KilnUtil_OpenFilesAnswer Taskmill_ConsolePrompt::AskOpenFileNames(const KilnUtil_OpenFilesOptions &options)
{
    return m_dialogs ? m_dialogs->AskOpenFileNames(options) : KilnUtil_OpenFilesAnswer{};
}

void Taskmill_PrintConsoleLine(const QString &message)
{
    // Any thread may print, so no regular expression: see Taskmill_ProcessesOfJobTypes().
    const QString line = message.trimmed().split(u'\n', Qt::SkipEmptyParts).join(u' ');
    const QString text = u"\n<Taskmill> "_s + line + u'\n';
    if (linePrinter)
        linePrinter(text);
    else
        Taskmill_WriteToStandardOutput(text);
}

void Taskmill_SetConsolePrinter(std::function<void(const QString &)> printer)
{
    linePrinter = std::move(printer);
}
