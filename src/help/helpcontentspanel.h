// SPDX-License-Identifier: MIT
#pragma once

#include "help/helppages.h"

#include <QWidget>

class QLabel;
class QLineEdit;
class QListWidget;
class QListWidgetItem;
class QStackedWidget;
class QTreeWidget;
class QTreeWidgetItem;

/// The left side of the help: a search field above the contents, in whose place the results stand while there
/// is something to search for.
class KilnUtil_HelpContentsPanel final : public QWidget
{
    Q_OBJECT

public:
    /// `pages` outlives the panel; Fill shows them, again after they have changed.
    explicit KilnUtil_HelpContentsPanel(const KilnUtil_HelpPages &pages, QWidget *parent = nullptr);

    void Fill();
    /// Makes the page the current line of the contents, without opening it.
    void SetCurrentPage(const QString &filePath);

public Q_SLOTS:
    void FocusSearchSlot();

Q_SIGNALS:
    /// The user wants this page; `words` are those searched for, or empty.
    void PageChosenSignal(const QString &filePath, const QString &words);

protected:
    void changeEvent(QEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private Q_SLOTS:
    void SearchSlot();
    void ContentsLineSlot(QTreeWidgetItem *item);
    void ResultSlot(QListWidgetItem *item);

private:
    void MakeContents();
    void MakeResults();
    void KeepSelectionVisible();

    const KilnUtil_HelpPages &m_pages;
    QLineEdit *m_search;
    QStackedWidget *m_stack;
    QTreeWidget *m_contents;
    QListWidget *m_results;
    QLabel *m_noResult;
};
