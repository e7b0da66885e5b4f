// SPDX-License-Identifier: MIT
#include "ui/badgedicon.h"

#include <QIcon>
#include <QPainter>
#include <QPixmap>

using namespace Qt::Literals::StringLiterals;

namespace {
// Dark enough for white digits.
constexpr QColor failedColour{0xc4, 0x2b, 0x24};
constexpr QColor runningColour{0x1c, 0x66, 0xc2};

void DrawDisc(QPainter &painter, const QRectF &place, const QColor &colour)
{
    // The rim sets it off from the icon.
    painter.setPen(QPen{Qt::white, place.width() / 12});
    painter.setBrush(colour);
    painter.drawEllipse(place);
}

void DrawBadge(QPainter &painter, int size, int count, const QColor &colour)
{
    const qreal width = size * 0.62;
    const QRectF place{size - width - 0.5, size - width - 0.5, width, width};
    DrawDisc(painter, place, colour);
    const QString text = count > 9 ? u"9+"_s : QString::number(count);
    QFont font;
    font.setBold(true);
    font.setPixelSize(qMax(1, qRound(width * (text.size() > 1 ? 0.58 : 0.78))));
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(place, Qt::AlignCenter, text);
}

QPixmap Badged(const QPixmap &pixmap, int running, int failed)
{
    QPixmap badged = pixmap;
    badged.setDevicePixelRatio(1);
    QPainter painter{&badged};
    painter.setRenderHint(QPainter::Antialiasing);
    const int size = badged.width();
    if (failed > 0 && running > 0) {
        const qreal width = size * 0.34;
        DrawDisc(painter, {0.5, size - width - 0.5, width, width}, runningColour);
    }
    DrawBadge(painter, size, failed > 0 ? failed : running, failed > 0 ? failedColour : runningColour);
    return badged;
}
} // namespace

QIcon Taskmill_BadgedIcon(const QIcon &icon, int running, int failed)
{
    if (running <= 0 && failed <= 0)
        return icon;
    QIcon badged;
    for (const int size : {16, 22, 24, 32, 48, 64})
        badged.addPixmap(Badged(icon.pixmap(QSize{size, size}, 1.0), running, failed));
    return badged;
}
