// SPDX-License-Identifier: MIT
#include "widgets/elidedlabel.h"

#include <QPainter>
#include <QTextDocument>

KilnUtil_ElidedLabel::KilnUtil_ElidedLabel(QWidget *parent)
    : QLabel{parent}
{
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

void KilnUtil_ElidedLabel::SetText(const QString &text)
{
    setText(text);
    setToolTip(Qt::convertFromPlainText(text));
}

QSize KilnUtil_ElidedLabel::minimumSizeHint() const
{
    return {0, QLabel::minimumSizeHint().height()};
}

void KilnUtil_ElidedLabel::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
    QPainter painter{this};
    drawFrame(&painter);
    const QRect place = contentsRect().marginsRemoved({margin(), margin(), margin(), margin()});
    const QString elided = fontMetrics().elidedText(text(), Qt::ElideMiddle, place.width());
    painter.setPen(palette().color(foregroundRole()));
    painter.drawText(place, Qt::AlignVCenter | Qt::AlignLeft | Qt::TextSingleLine, elided);
}
