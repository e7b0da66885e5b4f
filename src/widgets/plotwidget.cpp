// SPDX-License-Identifier: MIT
#include "widgets/plotwidget.h"

#include "widgets/filedrop.h"

#include <QAction>
#include <QClipboard>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QStyleOptionFocusRect>
#include <QtMath>

#include <algorithm>
#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr QColor lineColour{0x2a, 0x7d, 0xe1}; // seen on light and on dark grounds
constexpr qreal lineWidth = 1.6;
constexpr qreal pointRadius = 2.6;
constexpr qreal markRadius = 4;
constexpr qreal roomForPoints = 9; // pixels from one to the next, or points would hide the line
constexpr int gap = 6;
constexpr int pageOfSteps = 10;
constexpr double roomBeyondValues = 0.06; // of their range, above and below

/// The colour of the text, mixed with that of the ground.
QColor Dimmed(const QPalette &palette, float share)
{
    const QColor text = palette.color(QPalette::Text);
    const QColor base = palette.color(QPalette::Base);
    const auto mix = [share](float above, float below) {
        return above * share + below * (1 - share);
    };
    return QColor::fromRgbF(mix(text.redF(), base.redF()), mix(text.greenF(), base.greenF()),
                            mix(text.blueF(), base.blueF()));
}

QString Plain(double value)
{
    return QString::number(value, 'g', 15);
}
} // namespace

KilnUtil_PlotWidget::KilnUtil_PlotWidget(QWidget *parent)
    : QWidget{parent}
{
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setBackgroundRole(QPalette::Base);
    setAutoFillBackground(true);
    auto *picture = new QAction{u"Copy as &Picture"_s, this};
    picture->setShortcut(QKeySequence::Copy);
    connect(picture, &QAction::triggered, this, &KilnUtil_PlotWidget::CopyPictureSlot);
    auto *csv = new QAction{u"Copy as &CSV"_s, this};
    csv->setShortcut(Qt::CTRL | Qt::SHIFT | Qt::Key_C);
    connect(csv, &QAction::triggered, this, &KilnUtil_PlotWidget::CopyCsvSlot);
    for (QAction *action : {picture, csv}) {
        // There are several plots in one window.
        action->setShortcutContext(Qt::WidgetShortcut);
        addAction(action);
    }
    setContextMenuPolicy(Qt::ActionsContextMenu);
}

void KilnUtil_PlotWidget::SetSeries(const KilnUtil_PlotSeries &series)
{
    if (m_series == series)
        return;
    // While a job goes on, the mark stays at its step.
    const bool isSame = m_series.Title == series.Title && m_series.FirstStep == series.FirstStep &&
                        m_marked < series.Values.size();
    m_series = series;
    m_drawn = 0;
    for (qsizetype index = 0; index < m_series.Values.size(); ++index)
        m_drawn += IsDrawn(index) ? 1 : 0;
    if (!isSame || !IsDrawn(m_marked))
        m_marked = -1;
    LayOut();
    Describe();
    update();
}

bool KilnUtil_PlotWidget::IsDrawn(qsizetype index) const
{
    if (index < 0 || index >= m_series.Values.size())
        return false;
    const double value = m_series.Values[index];
    return std::isfinite(value) && (m_series.Scale != KilnUtil_PlotAxis::Scale::Logarithmic || value > 0);
}

qsizetype KilnUtil_PlotWidget::LastDrawn() const
{
    qsizetype index = m_series.Values.size() - 1;
    while (index >= 0 && !IsDrawn(index))
        --index;
    return index;
}

void KilnUtil_PlotWidget::LayOut()
{
    const QFontMetricsF metrics{font()};
    const qreal line = metrics.lineSpacing();
    const qreal top = gap + line + gap + line / 2;
    const qreal bottom = line + 2 * gap;
    m_area = QRectF{0, top, static_cast<qreal>(width()), qMax(1.0, height() - top - bottom)};
    SetUpValueAxis();
    qreal widest = 0;
    for (const double mark : m_values.Marks())
        widest = qMax(widest, metrics.horizontalAdvance(m_values.Text(mark)));
    m_area.setLeft(2 * gap + widest);
    m_area.setRight(qMax(m_area.left() + 1, width() - 2.0 * gap));

    const qreal widestStep =
        metrics.horizontalAdvance(QString::number(m_series.FirstStep + m_series.Values.size())) + 4 * gap;
    const double first = static_cast<double>(m_series.FirstStep);
    m_steps = {KilnUtil_PlotAxis::Scale::Counting, first,
               first + static_cast<double>(qMax<qsizetype>(m_series.Values.size() - 1, 0)),
               static_cast<int>(m_area.width() / widestStep)};
}

void KilnUtil_PlotWidget::SetUpValueAxis()
{
    if (m_drawn == 0) {
        m_values = {};
        return;
    }
    double least = std::numeric_limits<double>::max();
    double most = std::numeric_limits<double>::lowest();
    for (qsizetype index = 0; index < m_series.Values.size(); ++index) {
        if (!IsDrawn(index))
            continue;
        least = qMin(least, m_series.Values[index]);
        most = qMax(most, m_series.Values[index]);
    }
    const double room =
        m_series.Scale == KilnUtil_PlotAxis::Scale::Logarithmic ? 0 : (most - least) * roomBeyondValues;
    const int marks = static_cast<int>(m_area.height() / (1.5 * fontMetrics().lineSpacing()));
    m_values = {m_series.Scale, least - room, most + room, marks};
}

double KilnUtil_PlotWidget::XOf(qsizetype index) const
{
    return m_area.left() + m_area.width() * m_steps.Place(static_cast<double>(m_series.FirstStep + index));
}

QPointF KilnUtil_PlotWidget::PointOf(qsizetype index) const
{
    return {XOf(index), m_area.bottom() - m_area.height() * m_values.Place(m_series.Values.value(index))};
}

/// The nearest one that is drawn; -1 when none is.
qsizetype KilnUtil_PlotWidget::IndexAt(double x) const
{
    if (m_drawn == 0)
        return -1;
    const qsizetype count = m_series.Values.size();
    const double share = count > 1 ? (x - XOf(0)) / (XOf(count - 1) - XOf(0)) : 0;
    const auto wanted =
        static_cast<qsizetype>(std::lround(qBound(0.0, share, 1.0) * static_cast<double>(count - 1)));
    for (qsizetype distance = 0; distance < count; ++distance) {
        for (const qsizetype index : {wanted - distance, wanted + distance}) {
            if (IsDrawn(index))
                return index;
        }
    }
    return -1;
}

QString KilnUtil_PlotWidget::TextOf(qsizetype index) const
{
    if (!IsDrawn(index))
        return {};
    const double value = m_series.Values[index];
    const bool isLogarithmic = m_series.Scale == KilnUtil_PlotAxis::Scale::Logarithmic;
    return u"%1: %2 %3"_s.arg(NameOf(index),
                              isLogarithmic ? QString::number(value, 'e', 2) : QString::number(value, 'f', 6),
                              m_series.Unit);
}

QString KilnUtil_PlotWidget::NameOf(qsizetype index) const
{
    const qint64 step = m_series.FirstStep + index;
    return m_series.LastStep > 0 && step > m_series.LastStep
               ? u"after %1 %2"_s.arg(m_series.StepName).arg(m_series.LastStep)
               : u"%1 %2"_s.arg(m_series.StepName).arg(step);
}

void KilnUtil_PlotWidget::Mark(qsizetype index)
{
    if (m_marked == index)
        return;
    m_marked = index;
    Describe();
    update();
}

/// For those who do not see it.
void KilnUtil_PlotWidget::Describe()
{
    setAccessibleName(m_series.Title);
    if (m_drawn == 0) {
        setAccessibleDescription(m_series.EmptyText);
        return;
    }
    const QString marked = TextOf(m_marked < 0 ? LastDrawn() : m_marked);
    setAccessibleDescription(u"%1 values. %2. The arrow keys move from one to the next."_s.arg(m_drawn).arg(
        marked.left(1).toUpper() + marked.mid(1)));
}

void KilnUtil_PlotWidget::paintEvent(QPaintEvent *)
{
    QPainter painter{this};
    Draw(painter);
    if (!hasFocus())
        return;
    QStyleOptionFocusRect option;
    option.initFrom(this);
    option.rect = rect().adjusted(1, 1, -1, -1);
    style()->drawPrimitive(QStyle::PE_FrameFocusRect, &option, &painter, this);
}

void KilnUtil_PlotWidget::Draw(QPainter &painter) const
{
    painter.setRenderHint(QPainter::Antialiasing);
    DrawHeading(painter);
    if (m_drawn == 0) {
        KilnUtil_FileDrop::PaintEmptyText(painter, *this, rect(), m_series.EmptyText);
        return;
    }
    DrawAxes(painter);
    DrawLine(painter);
    DrawMark(painter);
}

/// What it is at the left, the value of the mark at the right, which is said in fewer words where there is
/// little room.
void KilnUtil_PlotWidget::DrawHeading(QPainter &painter) const
{
    const QRectF place{gap, gap, width() - 2.0 * gap, static_cast<qreal>(fontMetrics().lineSpacing())};
    QFont bold = font();
    bold.setBold(true);
    const QFontMetricsF boldMetrics{bold};
    const QFontMetricsF metrics{font()};
    QString value = TextOf(m_marked < 0 ? LastDrawn() : m_marked);
    const auto roomForValue = place.width() - boldMetrics.horizontalAdvance(m_series.Title) - 2 * gap;
    if (metrics.horizontalAdvance(value) > roomForValue)
        value.chop(value.isEmpty() ? 0 : m_series.Unit.size() + 1);
    if (metrics.horizontalAdvance(value) > roomForValue)
        value = value.section(u' ', -1);
    painter.setFont(bold);
    painter.setPen(palette().color(QPalette::Text));
    const qreal roomForTitle = place.width() - metrics.horizontalAdvance(value) - 2 * gap;
    painter.drawText(place, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                     boldMetrics.elidedText(m_series.Title, Qt::ElideRight, qMax(0.0, roomForTitle)));
    painter.setFont(font());
    painter.setPen(m_marked < 0 ? Dimmed(palette(), 0.7F) : palette().color(QPalette::Text));
    painter.drawText(place, Qt::AlignRight | Qt::AlignVCenter | Qt::TextSingleLine, value);
}

void KilnUtil_PlotWidget::DrawAxes(QPainter &painter) const
{
    const qreal line = fontMetrics().lineSpacing();
    const QColor textColour = Dimmed(palette(), 0.7F);
    painter.setRenderHint(QPainter::Antialiasing, false);
    for (const double mark : m_values.Marks()) {
        const qreal y = std::round(m_area.bottom() - m_area.height() * m_values.Place(mark));
        painter.setPen(Dimmed(palette(), 0.14F));
        painter.drawLine(QPointF{m_area.left(), y}, QPointF{m_area.right(), y});
        painter.setPen(textColour);
        painter.drawText(QRectF{0, y - line / 2, m_area.left() - gap, line},
                         Qt::AlignRight | Qt::AlignVCenter | Qt::TextSingleLine, m_values.Text(mark));
    }
    painter.setPen(Dimmed(palette(), 0.35F));
    painter.drawLine(m_area.bottomLeft(), m_area.bottomRight());
    for (const double mark : m_steps.Marks()) {
        if (mark < static_cast<double>(m_series.FirstStep) ||
            mark > static_cast<double>(m_series.FirstStep + m_series.Values.size() - 1))
            continue;
        const qreal x = std::round(m_area.left() + m_area.width() * m_steps.Place(mark));
        const QString text = m_steps.Text(mark);
        const qreal half = fontMetrics().horizontalAdvance(text) / 2.0;
        painter.setPen(Dimmed(palette(), 0.35F));
        painter.drawLine(QPointF{x, m_area.bottom()}, QPointF{x, m_area.bottom() + 3});
        painter.setPen(textColour);
        const qreal left = qMin(x - half, width() - gap - 2 * half);
        painter.drawText(QRectF{left - 1, m_area.bottom() + gap, 2 * half + 2, line}, Qt::AlignCenter, text);
    }
    painter.setRenderHint(QPainter::Antialiasing);
}

/// Between values that cannot be drawn the line is broken. Where there are several values in the width of a
/// pixel, the least and the greatest stand for all.
QList<QPolygonF> KilnUtil_PlotWidget::Lines() const
{
    const bool isDense = static_cast<double>(m_series.Values.size()) > 2 * m_area.width();
    QList<QPolygonF> lines;
    bool isBroken = true;
    for (qsizetype index = 0; index < m_series.Values.size(); ++index) {
        if (!IsDrawn(index)) {
            isBroken = true;
            continue;
        }
        if (isBroken)
            lines.append(QPolygonF{});
        isBroken = false;
        QPolygonF &line = lines.last();
        const QPointF point = PointOf(index);
        const qsizetype last = line.size() - 1;
        if (!isDense || last < 1 || std::floor(line[last].x()) != std::floor(point.x()) ||
            std::floor(line[last - 1].x()) != std::floor(point.x())) {
            line.append(point);
            continue;
        }
        QPointF &upper = line[last - 1].y() < line[last].y() ? line[last - 1] : line[last];
        QPointF &lower = &upper == &line[last] ? line[last - 1] : line[last];
        if (point.y() < upper.y())
            upper.setY(point.y());
        else if (point.y() > lower.y())
            lower.setY(point.y());
    }
    return lines;
}

void KilnUtil_PlotWidget::DrawLine(QPainter &painter) const
{
    const QList<QPolygonF> lines = Lines();
    const bool hasRoom = m_series.Values.size() < 2 ||
                         m_area.width() / static_cast<double>(m_series.Values.size() - 1) > roomForPoints;
    for (const QPolygonF &line : lines) {
        painter.setPen(QPen{lineColour, lineWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin});
        painter.setBrush(Qt::NoBrush);
        painter.drawPolyline(line);
        if (!hasRoom && line.size() > 1)
            continue;
        painter.setPen(Qt::NoPen);
        painter.setBrush(lineColour);
        for (const QPointF &point : line)
            painter.drawEllipse(point, pointRadius, pointRadius);
    }
}

void KilnUtil_PlotWidget::DrawMark(QPainter &painter) const
{
    if (!IsDrawn(m_marked))
        return;
    const QPointF point = PointOf(m_marked);
    painter.setPen(QPen{Dimmed(palette(), 0.45F), 1, Qt::DashLine});
    painter.drawLine(QPointF{point.x(), m_area.top()}, QPointF{point.x(), m_area.bottom()});
    painter.setPen(QPen{palette().color(QPalette::Base), 2});
    painter.setBrush(lineColour);
    painter.drawEllipse(point, markRadius + 1, markRadius + 1);
}

QPixmap KilnUtil_PlotWidget::Picture() const
{
    QPixmap picture{size() * devicePixelRatioF()};
    picture.setDevicePixelRatio(devicePixelRatioF());
    picture.fill(palette().color(QPalette::Base));
    QPainter painter{&picture};
    painter.setFont(font());
    Draw(painter);
    return picture;
}

QString KilnUtil_PlotWidget::Csv() const
{
    QString text = u"%1,%2 (%3)\n"_s.arg(m_series.StepName, m_series.Title.toLower(), m_series.Unit);
    for (qsizetype index = 0; index < m_series.Values.size(); ++index) {
        const double value = m_series.Values[index];
        text += QString::number(m_series.FirstStep + index) + u',' +
                (std::isfinite(value) ? Plain(value) : QString{}) + u'\n';
    }
    return text;
}

void KilnUtil_PlotWidget::CopyPictureSlot() const
{
    QGuiApplication::clipboard()->setPixmap(Picture());
}

void KilnUtil_PlotWidget::CopyCsvSlot() const
{
    QGuiApplication::clipboard()->setText(Csv());
}

QSize KilnUtil_PlotWidget::sizeHint() const
{
    return {fontMetrics().averageCharWidth() * 55, fontMetrics().lineSpacing() * 12};
}

QSize KilnUtil_PlotWidget::minimumSizeHint() const
{
    return {fontMetrics().averageCharWidth() * 24, fontMetrics().lineSpacing() * 6};
}

void KilnUtil_PlotWidget::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    LayOut();
}

void KilnUtil_PlotWidget::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        LayOut();
}

void KilnUtil_PlotWidget::mouseMoveEvent(QMouseEvent *event)
{
    const QPointF place = event->position();
    Mark(place.x() >= m_area.left() - gap && place.x() <= m_area.right() + gap ? IndexAt(place.x()) : -1);
}

void KilnUtil_PlotWidget::leaveEvent(QEvent *event)
{
    QWidget::leaveEvent(event);
    Mark(-1);
}

void KilnUtil_PlotWidget::keyPressEvent(QKeyEvent *event)
{
    const qsizetype last = m_series.Values.size() - 1;
    const qsizetype from = m_marked < 0 ? last : m_marked;
    qsizetype step = 0;
    switch (event->key()) {
    case Qt::Key_Left:
        step = -1;
        break;
    case Qt::Key_Right:
        step = 1;
        break;
    case Qt::Key_PageUp:
        step = -pageOfSteps;
        break;
    case Qt::Key_PageDown:
        step = pageOfSteps;
        break;
    case Qt::Key_Home:
        step = -from;
        break;
    case Qt::Key_End:
        step = last - from;
        break;
    case Qt::Key_Escape:
        if (m_marked >= 0) {
            Mark(-1);
            return;
        }
        [[fallthrough]];
    default:
        QWidget::keyPressEvent(event);
        return;
    }
    if (m_drawn == 0)
        return;
    // The first key marks the last step; beyond a value that is not drawn lies the next one that is.
    qsizetype wanted = m_marked < 0 && std::abs(step) == 1 ? last : qBound<qsizetype>(0, from + step, last);
    while (wanted > 0 && wanted < last && !IsDrawn(wanted))
        wanted += step < 0 ? -1 : 1;
    Mark(IsDrawn(wanted) ? wanted : IndexAt(XOf(wanted)));
}

void KilnUtil_PlotWidget::focusInEvent(QFocusEvent *event)
{
    QWidget::focusInEvent(event);
    update();
}

void KilnUtil_PlotWidget::focusOutEvent(QFocusEvent *event)
{
    QWidget::focusOutEvent(event);
    update();
}
