// SPDX-License-Identifier: MIT
#include "kilnutil/error.h"

#include "kilnutil/logging.h"

namespace {
/// In force while nobody can be asked: reports reach the debug log, questions count as cancelled.
class UnattendedPrompt final : public KilnUtil_UserPrompt
{
public:
    WarnAnswer ReportWarning(const QString &title, const QString &text, WarnMode,
                             WarnAnswer defaultAnswer) override
    {
        qCWarning(KilnUtil_UtilLog, "%ls: %ls", qUtf16Printable(title), qUtf16Printable(text));
        return defaultAnswer;
    }
    void ReportError(const QString &title, const QString &text) override
    {
        qCWarning(KilnUtil_UtilLog, "%ls: %ls", qUtf16Printable(title), qUtf16Printable(text));
    }
    WarnAnswer AskQuestion(const QString &, const QString &, WarnMode mode, WarnAnswer) override
    {
        return mode == WarnMode::YesNoCancel ? WarnAnswer::Cancel : WarnAnswer::No;
    }
    std::optional<QString> ChooseFromList(const QString &, const QString &, const QStringList &,
                                          const QString &) override
    {
        return std::nullopt;
    }
    std::optional<int> AskNumber(const QString &, const QString &, int, int) override { return std::nullopt; }
    void ShowInformation(const QString &title, const QString &text) override
    {
        qCInfo(KilnUtil_UtilLog, "%ls: %ls", qUtf16Printable(title), qUtf16Printable(text));
    }
    QString AskOpenFileName(const QString &, const QString &, const QString &) override { return {}; }
    QString AskSaveFileName(const QString &, const QString &, const QString &) override { return {}; }
    KilnUtil_OpenFilesAnswer AskOpenFileNames(const KilnUtil_OpenFilesOptions &) override { return {}; }
};

KilnUtil_UserPrompt *promptInForce = nullptr;
} // namespace

KilnUtil_Error::WarnAnswer KilnUtil_Error::ReportWarning(const QString &title, const QString &text,
                                                         WarnMode mode, WarnAnswer defaultAnswer)
{
    return UserPrompt().ReportWarning(title, text, mode, defaultAnswer);
}

void KilnUtil_Error::ReportError(const QString &title, const QString &text)
{
    UserPrompt().ReportError(title, text);
}

void KilnUtil_Error::SetUserPrompt(KilnUtil_UserPrompt *prompt)
{
    promptInForce = prompt;
}

KilnUtil_UserPrompt &KilnUtil_Error::UserPrompt()
{
    static UnattendedPrompt unattended;
    return promptInForce ? *promptInForce : unattended;
}
