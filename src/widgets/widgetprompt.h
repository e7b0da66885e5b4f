// SPDX-License-Identifier: MIT
#pragma once

#include "kilnutil/userprompt.h"

#include <QObject>
#include <QPointer>
#include <QWidget>

/// Asks with boxes and dialogs of the desktop.
class KilnUtil_WidgetPrompt final : public KilnUtil_UserPrompt
{
public:
    /// The parent of every box, while it is visible and no dialog is open; may be nullptr.
    void SetParentWidget(QWidget *parent) { m_parent = parent; }

    WarnAnswer ReportWarning(const QString &title, const QString &text, WarnMode mode,
                             WarnAnswer defaultAnswer) override;
    WarnAnswer ReportDetailedWarning(const QString &title, const QString &text, WarnDetail &detail,
                                     WarnMode mode, WarnAnswer defaultAnswer) override;
    void ReportError(const QString &title, const QString &text) override;
    WarnAnswer AskQuestion(const QString &title, const QString &text, WarnMode mode,
                           WarnAnswer defaultAnswer) override;
    std::optional<QString> ChooseFromList(const QString &title, const QString &label,
                                          const QStringList &items, const QString &preselected) override;
    std::optional<int> AskNumber(const QString &title, const QString &label, int value, int least) override;
    void ShowInformation(const QString &title, const QString &text) override;
    void ShowNotice(const QString &title, const QString &text) override;
    QString AskOpenFileName(const QString &title, const QString &directory, const QString &filter) override;
    QString AskSaveFileName(const QString &title, const QString &directory, const QString &filter) override;
    KilnUtil_OpenFilesAnswer AskOpenFileNames(const KilnUtil_OpenFilesOptions &options) override;

private:
    [[nodiscard]] QWidget *Parent() const;

    QPointer<QWidget> m_parent;
    QObject m_notices; ///< until its end those that nobody has closed are shown again
};
