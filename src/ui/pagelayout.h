// SPDX-License-Identifier: MIT
#pragma once

#include <QVBoxLayout>

/// The layout of a tab's content: the margins of the desktop, but none at the top, where the page has a gap
/// already.
[[nodiscard]] inline QVBoxLayout *Taskmill_MakePageLayout(QWidget *content)
{
    auto *layout = new QVBoxLayout{content};
    QMargins margins = layout->contentsMargins();
    margins.setTop(0);
    layout->setContentsMargins(margins);
    return layout;
}
