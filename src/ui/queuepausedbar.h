// SPDX-License-Identifier: MIT
#pragma once

#include <QFrame>

class QLabel;
class QPushButton;

/// Why a queue starts no jobs, or will not.
enum class Taskmill_QueueRest
{
    None,
    Paused,
    ToPause, ///< when its jobs have ended
    Quiet    ///< as the hours are
};

/// Says beneath the table that the queue is paused, and ends that.
class Taskmill_QueuePausedBar final : public QFrame
{
    Q_OBJECT

public:
    explicit Taskmill_QueuePausedBar(QWidget *parent);

    /// Not to be seen where it has nothing to say.
    void Say(Taskmill_QueueRest rest);

Q_SIGNALS:
    void UnpauseSignal();

protected:
    void changeEvent(QEvent *event) override;

private:
    void DrawMark();

    QLabel *m_mark;
    QLabel *m_text;
    QPushButton *m_unpause;
};
