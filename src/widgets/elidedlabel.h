// SPDX-License-Identifier: MIT
#pragma once

#include <QLabel>

/// One line of plain text that may be narrower than its text: the middle is then left out, and a tool tip has
/// the whole.
class KilnUtil_ElidedLabel final : public QLabel
{
    Q_OBJECT

public:
    explicit KilnUtil_ElidedLabel(QWidget *parent);

    void SetText(const QString &text);

    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
};
