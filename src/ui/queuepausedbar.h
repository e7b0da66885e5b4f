// SPDX-License-Identifier: MIT
#pragma once

#include <QFrame>

class QLabel;

/// Says beneath the table that the queue is paused, and ends that.
class Taskmill_QueuePausedBar final : public QFrame
{
    Q_OBJECT

public:
    explicit Taskmill_QueuePausedBar(QWidget *parent);

Q_SIGNALS:
    void UnpauseSignal();

protected:
    void changeEvent(QEvent *event) override;

private:
    void DrawMark();

    QLabel *m_mark;
};
