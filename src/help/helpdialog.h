// SPDX-License-Identifier: MIT
#pragma once

#include "help/helppages.h"

#include <QDialog>

class KilnUtil_FindBar;
class KilnUtil_HelpBrowser;
class KilnUtil_HelpContentsPanel;
class QAbstractButton;
class QAction;
class QLabel;
class QSplitter;
class QToolBar;

/// The window that shows the manual, beside whatever else is open. Size, division and text size are kept in
/// the settings.
class KilnUtil_HelpDialog : public QDialog
{
    Q_OBJECT

public:
    /// The one window of the program, made at the first call, when the application object must be there. It
    /// goes with that object.
    static KilnUtil_HelpDialog &Global();

    /// The button or action opens the page of the help id, such as "taskmill/jobtypes". Connecting it again
    /// adds a second page. The last argument of ConnectAction plays no part.
    void ConnectButton(QAbstractButton *button, const QString &helpId);
    void ConnectAction(QAction *action, const QString &helpId, bool unused);

    /// Shows the window with the page. Without such a page, the window says so.
    void ShowPage(const QString &helpId);

public Q_SLOTS:
    /// Escape: closes the row that finds text, else the window.
    void reject() override;

protected:
    void hideEvent(QHideEvent *event) override;

private Q_SLOTS:
    void PageChosenSlot(const QString &filePath, const QString &words);
    void SourceChangedSlot(const QUrl &source);
    void OutsideLinkSlot(const QUrl &link);
    void HomeSlot();
    void OpenFindBarSlot();
    void FindSlot(bool forward);

private:
    KilnUtil_HelpDialog();

    [[nodiscard]] QToolBar *MakeToolBar();
    void MakeShortcuts();
    void SetInitialSize();
    void ReadPages();
    void ShowWindow();
    /// Below the page; an empty message hides the one before.
    void Tell(const QString &message);

    KilnUtil_HelpPages m_pages;
    KilnUtil_HelpBrowser *m_browser;
    KilnUtil_HelpContentsPanel *m_contents;
    KilnUtil_FindBar *m_findBar;
    QLabel *m_message;
    QSplitter *m_splitter;
};
