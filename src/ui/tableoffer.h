// SPDX-License-Identifier: MIT
#pragma once

#include <QPushButton>

class KilnUtil_TableWidget;

/// A button in the middle of an empty table, for what most likely comes next. Goes when the table has rows.
class Taskmill_TableOffer : public QPushButton
{
    Q_OBJECT

public:
    /// Lies over the table, whose parent owns it.
    Taskmill_TableOffer(KilnUtil_TableWidget &table, const QString &text);

    /// Makes the button as wide as the text needs.
    void SetText(const QString &text);
    [[nodiscard]] bool IsTableEmpty() const;

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void PutInPlace();

    KilnUtil_TableWidget &m_table;
};
