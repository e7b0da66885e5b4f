#include "support/scriptedprompt.h"

ScriptedPrompt::ScriptedPrompt()
{
    KilnUtil_Error::SetUserPrompt(this);
}

ScriptedPrompt::~ScriptedPrompt()
{
    KilnUtil_Error::SetUserPrompt(nullptr);
}

KilnUtil_UserPrompt::WarnAnswer ScriptedPrompt::ReportWarning(const QString &title, const QString &text,
                                                              WarnMode, WarnAnswer)
{
    asked.append({title, text, {}});
    return answers.isEmpty() ? WarnAnswer::Cancel : answers.takeFirst();
}

void ScriptedPrompt::ReportError(const QString &title, const QString &text)
{
    asked.append({title, text, {}});
}

KilnUtil_UserPrompt::WarnAnswer ScriptedPrompt::AskQuestion(const QString &title, const QString &text,
                                                            WarnMode, WarnAnswer)
{
    asked.append({title, text, {}});
    if (whenAsked)
        whenAsked();
    return answers.isEmpty() ? WarnAnswer::Cancel : answers.takeFirst();
}

std::optional<QString> ScriptedPrompt::ChooseFromList(const QString &title, const QString &label,
                                                      const QStringList &items, const QString &)
{
    asked.append({title, label, items});
    if (texts.isEmpty())
        return std::nullopt;
    return texts.takeFirst();
}

std::optional<int> ScriptedPrompt::AskNumber(const QString &title, const QString &label, int value, int least)
{
    asked.append({title, label, {QString::number(value), QString::number(least)}});
    if (texts.isEmpty())
        return std::nullopt;
    return texts.takeFirst().toInt();
}

void ScriptedPrompt::ShowInformation(const QString &title, const QString &text)
{
    asked.append({title, text, {}});
}

QString ScriptedPrompt::AskOpenFileName(const QString &title, const QString &directory, const QString &filter)
{
    asked.append({title, filter, {directory}});
    return texts.isEmpty() ? QString{} : texts.takeFirst();
}

QString ScriptedPrompt::AskSaveFileName(const QString &title, const QString &directory, const QString &filter)
{
    return AskOpenFileName(title, directory, filter);
}

KilnUtil_OpenFilesAnswer ScriptedPrompt::AskOpenFileNames(const KilnUtil_OpenFilesOptions &options)
{
    openFilesAsked.append(options);
    return openFilesAnswers.isEmpty() ? KilnUtil_OpenFilesAnswer{} : openFilesAnswers.takeFirst();
}
