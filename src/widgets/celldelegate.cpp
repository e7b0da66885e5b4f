// SPDX-License-Identifier: MIT
#include "widgets/celldelegate.h"

#include <QApplication>
#include <QPainter>
#include <QStyle>

using namespace Qt::Literals::StringLiterals;

namespace {
const QStyle &StyleOf(const QStyleOptionViewItem &cell)
{
    return cell.widget ? *cell.widget->style() : *QApplication::style();
}

/// Whether a selected cell's text has the palette's colour. Some styles choose their own.
bool TakesColoursOfPalette(const QStyle &style)
{
    return style.name() == "fusion"_L1 || style.name() == "windows"_L1;
}

bool IsOneLineFromLeftToRight(const QString &text)
{
    return !text.contains(QChar::LineSeparator) && !text.contains(u'\t') && !text.isRightToLeft();
}

/// Whether the text can be painted here; the style does the others.
bool IsPlain(const QStyleOptionViewItem &cell)
{
    constexpr QStyle::State special = QStyle::State_HasFocus | QStyle::State_Editing;
    const bool hasOwnColours =
        cell.state.testFlag(QStyle::State_Selected) && !TakesColoursOfPalette(StyleOf(cell));
    return !hasOwnColours && (cell.state & special) == 0 && cell.direction == Qt::LeftToRight &&
           cell.displayAlignment == (Qt::AlignLeft | Qt::AlignVCenter) &&
           !cell.features.testFlag(QStyleOptionViewItem::WrapText) &&
           !cell.features.testFlag(QStyleOptionViewItem::HasCheckIndicator) &&
           IsOneLineFromLeftToRight(cell.text);
}

QColor TextColour(const QStyleOptionViewItem &cell)
{
    QPalette::ColorGroup group = QPalette::Disabled;
    if (cell.state.testFlag(QStyle::State_Enabled))
        group = cell.state.testFlag(QStyle::State_Active) ? QPalette::Normal : QPalette::Inactive;
    return cell.palette.color(group, cell.state.testFlag(QStyle::State_Selected) ? QPalette::HighlightedText
                                                                                 : QPalette::Text);
}
} // namespace

void KilnUtil_CellDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                                  const QModelIndex &index) const
{
    QStyleOptionViewItem cell = option;
    initStyleOption(&cell, index);
    const QStyle &style = StyleOf(cell);
    QString text;
    if (IsPlain(cell))
        text.swap(cell.text);
    style.drawControl(QStyle::CE_ItemViewItem, &cell, painter, cell.widget);
    if (text.isEmpty())
        return;

    const int margin = style.pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, cell.widget) + 1;
    const int left = style.subElementRect(QStyle::SE_ItemViewItemText, &cell, cell.widget).left() + margin;
    const int width = cell.rect.right() + 1 - margin - left;
    if (width <= 0)
        return;
    const int top = cell.rect.top() + (cell.rect.height() - cell.fontMetrics.height()) / 2;
    painter->setFont(cell.font);
    painter->setPen(TextColour(cell));
    painter->drawStaticText(left, top, LayoutOf(cell, {.text = text, .width = width}));
}

QStaticText KilnUtil_CellDelegate::LayoutOf(const QStyleOptionViewItem &cell, const Place &place) const
{
    if (m_font != cell.font) {
        m_layouts.clear();
        m_font = cell.font;
    }
    if (const QStaticText *known = m_layouts.object(place))
        return *known;
    QStaticText layout{cell.fontMetrics.elidedText(place.text, cell.textElideMode, place.width)};
    layout.setTextFormat(Qt::PlainText);
    layout.setPerformanceHint(QStaticText::AggressiveCaching);
    layout.prepare({}, cell.font);
    // The stored copy shares the layout with the returned one.
    m_layouts.insert(place, new QStaticText{layout});
    return layout;
}
