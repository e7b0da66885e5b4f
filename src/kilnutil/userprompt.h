// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

#include <optional>

/// How a dialog for several files opens.
struct KilnUtil_OpenFilesOptions
{
    QString Title;
    QString Directory;       ///< where the user begins
    QStringList NameFilters; ///< such as "Input Files (*.in)"
    int NameFilter = 0;      ///< position of the filter in force
    bool UseNativeBrowser = true;
    QString SettingsGroup; ///< under which the size of a browser that is not native is kept
};

/// What the user chose there: no file when he cancelled or could not be asked.
struct KilnUtil_OpenFilesAnswer
{
    QStringList Files;
    int NameFilter = 0; ///< position of the filter that was in force at the end
};

/// Everything the program asks the user or shows to the user directly goes through this seam: the window
/// shows boxes, the console prints lines, tests answer from a script. The object in force is set with
/// KilnUtil_Error.
class KilnUtil_UserPrompt
{
public:
    /// Which answers a warning offers.
    enum class WarnMode
    {
        Ok = 1,
        YesNo = 2,
        YesNoCancel = 5
    };
    enum class WarnAnswer
    {
        None = 0,
        Yes = 1,
        No = 2,
        Cancel = 4
    };

    /// What a warning shows beneath its text.
    struct WarnDetail
    {
        QString text;
        QString checkBox{};     ///< its label; empty for none
        bool isChecked = false; ///< at first, and as the user leaves it
        QString yes{};          ///< labels of the buttons that answer so; empty for the usual ones
        QString no{};
    };

    virtual ~KilnUtil_UserPrompt() = default;

    /// Closing the box without an answer counts as Cancel in mode YesNoCancel and as No in mode YesNo.
    virtual WarnAnswer ReportWarning(const QString &title, const QString &text, WarnMode mode,
                                     WarnAnswer defaultAnswer) = 0;
    /// The same with a detail beneath the text; a prompt without check boxes leaves the detail as it is.
    virtual WarnAnswer ReportDetailedWarning(const QString &title, const QString &text, WarnDetail &detail,
                                             WarnMode mode, WarnAnswer defaultAnswer)
    {
        return ReportWarning(title, text + QStringLiteral("\n\n") + detail.text, mode, defaultAnswer);
    }
    virtual void ReportError(const QString &title, const QString &text) = 0;

    /// A plain question box. A prompt that cannot ask answers Cancel in mode YesNoCancel and No otherwise.
    virtual WarnAnswer AskQuestion(const QString &title, const QString &text, WarnMode mode,
                                   WarnAnswer defaultAnswer) = 0;
    /// One of items, `preselected` at first; nothing when the user cancels or cannot be asked.
    virtual std::optional<QString> ChooseFromList(const QString &title, const QString &label,
                                                  const QStringList &items, const QString &preselected) = 0;
    /// A whole number of at least `least`; nothing when the user cancels or cannot be asked.
    virtual std::optional<int> AskNumber(const QString &title, const QString &label, int value,
                                         int least) = 0;
    /// A box that only shows something, with one button.
    virtual void ShowInformation(const QString &title, const QString &text) = 0;
    /// The same for what comes up by itself: nothing waits until the user has read it.
    virtual void ShowNotice(const QString &title, const QString &text) { ShowInformation(title, text); }
    /// File dialogs; an empty text when the user cancels or cannot be asked.
    virtual QString AskOpenFileName(const QString &title, const QString &directory,
                                    const QString &filter) = 0;
    virtual QString AskSaveFileName(const QString &title, const QString &directory,
                                    const QString &filter) = 0;
    virtual KilnUtil_OpenFilesAnswer AskOpenFileNames(const KilnUtil_OpenFilesOptions &options) = 0;
};
