// SPDX-License-Identifier: MIT
#pragma once

#include <QAccessibleTextInterface>
#include <QAccessibleWidget>

class KilnUtil_TextView;

/// A text view for screen readers: its text is the rows in sight, as the source may be of any size. Positions
/// are characters of that text.
class KilnUtil_AccessibleTextView final : public QAccessibleWidget, public QAccessibleTextInterface
{
public:
    /// Has Qt make one for each text view.
    static void Install();

    explicit KilnUtil_AccessibleTextView(KilnUtil_TextView &view);

    [[nodiscard]] void *interface_cast(QAccessible::InterfaceType type) override;
    [[nodiscard]] QAccessible::State state() const override;
    [[nodiscard]] QString text(QAccessible::Text type) const override;

    void selection(int selectionIndex, int *startOffset, int *endOffset) const override;
    [[nodiscard]] int selectionCount() const override;
    void addSelection(int startOffset, int endOffset) override;
    void removeSelection(int selectionIndex) override;
    void setSelection(int selectionIndex, int startOffset, int endOffset) override;
    [[nodiscard]] int cursorPosition() const override;
    void setCursorPosition(int position) override;
    using QAccessibleWidget::text;
    [[nodiscard]] QString text(int startOffset, int endOffset) const override;
    [[nodiscard]] int characterCount() const override;
    [[nodiscard]] QRect characterRect(int offset) const override;
    [[nodiscard]] int offsetAtPoint(const QPoint &point) const override;
    void scrollToSubstring(int startIndex, int endIndex) override;
    QString attributes(int offset, int *startOffset, int *endOffset) const override;

private:
    [[nodiscard]] QString Text() const;
    /// Of a place in the source, as far as it is in sight.
    [[nodiscard]] int PositionOf(qint64 offset) const;
    [[nodiscard]] qint64 OffsetOf(int position) const;

    KilnUtil_TextView &m_view;
};
