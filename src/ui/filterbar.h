// SPDX-License-Identifier: MIT
#pragma once

#include <QTimer>
#include <QWidget>

class KilnUtil_TableWidget;
class QCheckBox;
class QLabel;
class QLineEdit;
class Taskmill_JobTableModel;

/// The line above a table of jobs in which the user says which of them are shown. Hidden, it shows all.
class Taskmill_FilterBar final : public QWidget
{
    Q_OBJECT

public:
    /// Both outlive the line. The text stands in the table while there are no jobs at all.
    Taskmill_FilterBar(KilnUtil_TableWidget &table, Taskmill_JobTableModel &model, QString emptyText,
                       QWidget *parent);

    /// Shows the line with the keyboard in it.
    void Open();
    /// Shows all jobs, with the keyboard in the table.
    void Close();

    bool eventFilter(QObject *watched, QEvent *event) override;

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void TextChangedSlot();
    void Apply();
    void CountSoon();
    void ShowCount();

    KilnUtil_TableWidget &m_table;
    Taskmill_JobTableModel &m_model;
    const QString m_emptyText;
    QLineEdit *m_text;
    QCheckBox *m_failedOnly;
    QLabel *m_count;
    QTimer m_typing; ///< a filter for each letter would be too many
    QTimer m_counting;
};
