// SPDX-License-Identifier: MIT
#pragma once

#include "kilnutil/error.h"

#include <QList>

#include <functional>

/// Answers questions from a list and remembers what was asked. It is the prompt in force for as long as it
/// lives.
class ScriptedPrompt final : public KilnUtil_UserPrompt
{
public:
    struct Asked
    {
        QString title;
        QString text;
        QStringList items;
    };

    ScriptedPrompt() { KilnUtil_Error::SetUserPrompt(this); }
    ~ScriptedPrompt() override { KilnUtil_Error::SetUserPrompt(nullptr); }
    Q_DISABLE_COPY_MOVE(ScriptedPrompt)

    QList<WarnAnswer> answers; ///< taken from the front; Cancel when none is left
    QStringList texts; ///< answers of lists, numbers and file dialogs, taken from the front; cancelled when
                       ///< none is left
    /// Called while a question of AskQuestion() stands.
    std::function<void()> whenAsked;
    QList<KilnUtil_OpenFilesOptions> browsed; ///< every dialog for several files, which is cancelled
    QList<Asked> asked; ///< every warning, error, question and dialog for one file, in order

    WarnAnswer ReportWarning(const QString &title, const QString &text, WarnMode, WarnAnswer) override
    {
        asked.append({title, text, {}});
        return answers.isEmpty() ? WarnAnswer::Cancel : answers.takeFirst();
    }
    void ReportError(const QString &title, const QString &text) override { asked.append({title, text, {}}); }
    WarnAnswer AskQuestion(const QString &title, const QString &text, WarnMode, WarnAnswer) override
    {
        asked.append({title, text, {}});
        if (whenAsked)
            whenAsked();
        return answers.isEmpty() ? WarnAnswer::Cancel : answers.takeFirst();
    }
    std::optional<QString> ChooseFromList(const QString &title, const QString &label,
                                          const QStringList &items, const QString &) override
    {
        asked.append({title, label, items});
        return texts.isEmpty() ? std::nullopt : std::optional{texts.takeFirst()};
    }
    std::optional<int> AskNumber(const QString &title, const QString &label, int value, int least) override
    {
        asked.append({title, label, {QString::number(value), QString::number(least)}});
        return texts.isEmpty() ? std::nullopt : std::optional{texts.takeFirst().toInt()};
    }
    void ShowInformation(const QString &title, const QString &text) override
    {
        asked.append({title, text, {}});
    }
    QString AskOpenFileName(const QString &title, const QString &directory, const QString &filter) override
    {
        asked.append({title, filter, {directory}});
        return texts.isEmpty() ? QString{} : texts.takeFirst();
    }
    QString AskSaveFileName(const QString &title, const QString &directory, const QString &filter) override
    {
        return AskOpenFileName(title, directory, filter);
    }
    KilnUtil_OpenFilesAnswer AskOpenFileNames(const KilnUtil_OpenFilesOptions &options) override
    {
        browsed.append(options);
        return {};
    }
};
