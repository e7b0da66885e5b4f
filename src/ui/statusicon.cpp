// SPDX-License-Identifier: MIT
#include "ui/statusicon.h"

#include <QGuiApplication>
#include <QHash>
#include <QPainter>
#include <QPalette>
#include <QPixmap>

#include <utility>

namespace {
constexpr int size = 16; // device-independent pixels
constexpr QPointF centre{size / 2.0, size / 2.0};

// Each stands out from light and from dark rows.
constexpr QRgb neutral = 0x80868d;
constexpr QRgb blue = 0x2a7de1;
constexpr QRgb green = 0x2f9153;
constexpr QRgb amber = 0xb87410;
constexpr QRgb red = 0xd9483f;

QColor ColourOf(Taskmill_JobStatus status, Taskmill_Verdict verdict)
{
    if (status == Taskmill_JobStatus::Crashed || status == Taskmill_JobStatus::Failed)
        return red;
    if (status == Taskmill_JobStatus::Running)
        return blue;
    switch (verdict) {
    case Taskmill_Verdict::Normal:
        return green;
    case Taskmill_Verdict::NotConverged:
        return amber;
    case Taskmill_Verdict::Error:
        return red;
    case Taskmill_Verdict::None:
        break;
    }
    return neutral;
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

/// A ring for what waits, a square for what was stopped, a disc for what runs or has ended.
void DrawStatus(QPainter &painter, Taskmill_JobStatus status, const QColor &colour)
{
    const bool waits = status == Taskmill_JobStatus::Pending || status == Taskmill_JobStatus::Unknown;
    constexpr qreal penWidth = 1.6;
    constexpr qreal radius = 4.5;
    painter.setPen(waits ? QPen{colour, penWidth} : QPen{Qt::NoPen});
    painter.setBrush(waits ? QBrush{Qt::NoBrush} : QBrush{colour});
    if (status == Taskmill_JobStatus::Killed)
        painter.drawRect(QRectF{centre - QPointF{4, 4}, QSizeF{8, 8}});
    else
        painter.drawEllipse(centre, radius, radius);
}

QIcon DrawnStatusIcon(Taskmill_JobStatus status, Taskmill_Verdict verdict, const QColor &selectedText)
{
    QIcon icon;
    const QColor colour = ColourOf(status, verdict);
    AddDrawing(icon, QIcon::Normal, [&](QPainter &painter) { DrawStatus(painter, status, colour); });
    // A selected row may have the colour of the mark itself, so that the mark stands on a plate there.
    AddDrawing(icon, QIcon::Selected, [&](QPainter &painter) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(selectedText);
        painter.drawEllipse(centre, centre.x() - 1, centre.y() - 1);
        DrawStatus(painter, status, colour);
    });
    return icon;
}
} // namespace

QIcon Taskmill_StatusIcon(Taskmill_JobStatus status, Taskmill_Verdict verdict)
{
    static QHash<std::pair<int, int>, QIcon> icons;
    static QColor shownSelectedText;
    const QColor selectedText = QGuiApplication::palette().color(QPalette::HighlightedText);
    if (selectedText != shownSelectedText)
        icons.clear();
    shownSelectedText = selectedText;
    QIcon &icon = icons[{static_cast<int>(status), static_cast<int>(verdict)}];
    if (icon.isNull())
        icon = DrawnStatusIcon(status, verdict, selectedText);
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
