// SPDX-License-Identifier: MIT
#pragma once

#include <QCache>
#include <QFont>
#include <QStaticText>
#include <QStyledItemDelegate>

/// Paints the cells of a table as the style does, and keeps the layouts of the texts it has painted: laying
/// them out is most of the work, and a table that shows a change shows most of its texts again.
class KilnUtil_CellDelegate final : public QStyledItemDelegate
{
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;

private:
    /// A text and the width into which it is elided, in pixels.
    struct Place
    {
        QString text;
        int width;

        bool operator==(const Place &) const = default;
        friend size_t qHash(const Place &place, size_t seed)
        {
            return qHashMulti(seed, place.text, place.width);
        }
    };

    [[nodiscard]] QStaticText LayoutOf(const QStyleOptionViewItem &cell, const Place &place) const;

    static constexpr int mostLayouts = 3000; ///< more than a large screen shows
    mutable QCache<Place, QStaticText> m_layouts{mostLayouts};
    mutable QFont m_font; ///< of these
};
