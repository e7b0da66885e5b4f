// SPDX-License-Identifier: MIT
#pragma once

#include <QFrame>
#include <QPointer>
#include <QVBoxLayout>

/// The content of a tab. Belongs to who makes it, but goes with the window when that goes first.
class Taskmill_PageFrame final : public QPointer<QFrame>
{
public:
    explicit Taskmill_PageFrame(QWidget *parent)
        : QPointer<QFrame>{new QFrame{parent}}
    {
    }
    ~Taskmill_PageFrame()
    {
        if (isNull())
            return;
        data()->hide();
        delete data();
    }
    Q_DISABLE_COPY_MOVE(Taskmill_PageFrame)

    /// With the margins of the desktop, but none at the top, where the page has a gap already.
    [[nodiscard]] QVBoxLayout *MakeLayout() const
    {
        auto *layout = new QVBoxLayout{data()};
        QMargins margins = layout->contentsMargins();
        margins.setTop(0);
        layout->setContentsMargins(margins);
        return layout;
    }
};
