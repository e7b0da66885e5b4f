// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QTimer>

class KilnUtil_TableWidget;
class QWidget;
class Taskmill_JobsModel;

/// Lets the elapsed times of a page's running jobs go on, once a second for all of them together; not while
/// nothing runs or nobody sees it.
class Taskmill_ElapsedTicker final : public QObject
{
    Q_OBJECT

public:
    /// The page owns the ticker; the others outlive it.
    Taskmill_ElapsedTicker(QWidget *page, const KilnUtil_TableWidget &table, Taskmill_JobsModel &model);

    /// The rows have changed.
    void Check();
    [[nodiscard]] bool IsTicking() const { return m_timer.isActive(); }

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    [[nodiscard]] bool IsWanted() const;
    void TickSlot();

    QWidget *const m_page;
    const KilnUtil_TableWidget &m_table;
    Taskmill_JobsModel &m_model;
    QTimer m_timer;
};
