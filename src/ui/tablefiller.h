// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QTimer>

#include <functional>

/// Brings a page's table up to date as changes come: some ten times a second at most, and not while nobody
/// sees it.
class Taskmill_TableFiller final : public QObject
{
    Q_OBJECT

public:
    /// The page owns the filler.
    Taskmill_TableFiller(QWidget *page, std::function<void()> fill);

    /// Fills the table soon, with whatever else changes until then.
    void FillSoon();
    void FillNow();

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QWidget *const m_page;
    const std::function<void()> m_fill;
    QTimer m_timer;
    bool m_fillWhenShown = false;
};
