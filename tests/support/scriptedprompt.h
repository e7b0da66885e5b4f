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

    ScriptedPrompt();
    ~ScriptedPrompt() override;
    Q_DISABLE_COPY_MOVE(ScriptedPrompt)

    QList<WarnAnswer> answers; ///< taken from the front; Cancel when none is left
    QStringList texts; ///< answers of lists, numbers and file dialogs, taken from the front; cancelled when
                       ///< none is left
    QList<KilnUtil_OpenFilesAnswer> openFilesAnswers; ///< taken from the front; cancelled when none is left
    QList<KilnUtil_OpenFilesOptions> openFilesAsked;
    /// Called while a question of AskQuestion() stands.
    std::function<void()> whenAsked;
    QList<Asked> asked; ///< every warning, error, question and dialog for one file, in order

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
};
