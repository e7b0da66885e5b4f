// SPDX-License-Identifier: MIT
#include "ui/statusicon.h"

#include <QGuiApplication>
#include <QHash>
#include <QPainter>
#include <QPalette>
#include <QPixmap>

namespace {
constexpr int size = 16; // device-independent pixels
constexpr QPointF centre{size / 2.0, size / 2.0};

/// Seen on light and on dark rows.
QColor ColourOf(Taskmill_JobStatus status)
{
    switch (status) {
    case Taskmill_JobStatus::Running:
        return QColor{0x2a, 0x7d, 0xe1};
    case Taskmill_JobStatus::Finished:
    case Taskmill_JobStatus::Completed:
        return QColor{0x2f, 0x9e, 0x5b};
    case Taskmill_JobStatus::Crashed:
    case Taskmill_JobStatus::Failed:
        return QColor{0xd9, 0x48, 0x41};
    case Taskmill_JobStatus::Killed:
        return QColor{0xc9, 0x84, 0x1d};
    case Taskmill_JobStatus::Unknown:
    case Taskmill_JobStatus::Pending:
        break;
    }
    return QColor{0x8c, 0x92, 0x99};
}

template <typename Draw>
void AddDrawing(QIcon &icon, QIcon::Mode mode, Draw draw)
{
    for (const int ratio : {1, 2, 3}) {
        QPixmap pixmap{size * ratio, size * ratio};
        pixmap.setDevicePixelRatio(ratio);
        pixmap.fill(Qt::transparent);
        QPainter painter{&pixmap};
        painter.setRenderHint(QPainter::Antialiasing);
        draw(painter);
        painter.end();
        icon.addPixmap(pixmap, mode);
    }
}

/// A ring for what waits, a disc for what runs or has ended.
void DrawStatus(QPainter &painter, Taskmill_JobStatus status)
{
    const bool waits = status == Taskmill_JobStatus::Pending || status == Taskmill_JobStatus::Unknown;
    const QColor colour = ColourOf(status);
    constexpr qreal penWidth = 1.6;
    constexpr qreal radius = 4.5;
    painter.setPen(waits ? QPen{colour, penWidth} : QPen{Qt::NoPen});
    painter.setBrush(waits ? QBrush{Qt::NoBrush} : QBrush{colour});
    painter.drawEllipse(centre, radius, radius);
}

QIcon DrawnStatusIcon(Taskmill_JobStatus status, const QColor &selectedText)
{
    QIcon icon;
    AddDrawing(icon, QIcon::Normal, [status](QPainter &painter) { DrawStatus(painter, status); });
    // A selected row may have the colour of the mark itself, so that the mark stands on a plate there.
    AddDrawing(icon, QIcon::Selected, [&](QPainter &painter) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(selectedText);
        painter.drawEllipse(centre, centre.x() - 1, centre.y() - 1);
        DrawStatus(painter, status);
    });
    return icon;
}
} // namespace

QIcon Taskmill_StatusIcon(Taskmill_JobStatus status)
{
    static QHash<int, QIcon> icons;
    static QColor shownSelectedText;
    const QColor selectedText = QGuiApplication::palette().color(QPalette::HighlightedText);
    if (selectedText != shownSelectedText)
        icons.clear();
    shownSelectedText = selectedText;
    QIcon &icon = icons[static_cast<int>(status)];
    if (icon.isNull())
        icon = DrawnStatusIcon(status, selectedText);
    return icon;
}

QIcon Taskmill_PausedIcon()
{
    QIcon icon;
    AddDrawing(icon, QIcon::Normal, [](QPainter &painter) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(QGuiApplication::palette().color(QPalette::WindowText));
        painter.drawRoundedRect(QRectF{3.5, 3, 3.5, 10}, 1, 1);
        painter.drawRoundedRect(QRectF{9, 3, 3.5, 10}, 1, 1);
    });
    return icon;
}
