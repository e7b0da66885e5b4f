// SPDX-License-Identifier: MIT
#include "viewer/textview.h"

#include <QFontDatabase>
#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr qint64 mostSteps = 1'000'000'000;
constexpr int cursorWidth = 2;
constexpr int margin = 4;
constexpr int columnsWanted = 100;
constexpr int rowsWanted = 36;
} // namespace

KilnUtil_TextView::KilnUtil_TextView(KilnUtil_TextSource &source, QWidget *parent)
    : QAbstractScrollArea{parent}
    , m_source{source}
    , m_rows{source}
{
    setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    setFocusPolicy(Qt::StrongFocus);
    viewport()->setCursor(Qt::IBeamCursor);
    viewport()->setBackgroundRole(QPalette::Base);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    connect(verticalScrollBar(), &QScrollBar::valueChanged, this, &KilnUtil_TextView::ScrolledSlot);
    connect(verticalScrollBar(), &QScrollBar::actionTriggered, this, &KilnUtil_TextView::ScrollActionSlot);
    connect(horizontalScrollBar(), &QScrollBar::valueChanged, viewport(), qOverload<>(&QWidget::update));
    UpdateExtent();
}

void KilnUtil_TextView::SetFollowsEnd(bool follows)
{
    m_followsEnd = follows;
    if (follows)
        ScrollToEndSlot();
}

void KilnUtil_TextView::SourceChanged(KilnUtil_TextSource::Change change)
{
    if (change == KilnUtil_TextSource::Change::None)
        return;
    if (change == KilnUtil_TextSource::Change::Replaced) {
        m_layouts.clear();
        m_widest = 0;
        SetSelection(0, 0);
    } else if (!m_layouts.empty()) {
        // Only the last row can have become longer.
        m_layouts.pop_back();
    }
    SetSelection(qMax(m_anchor, m_source.Begin()), qMax(m_cursor, m_source.Begin()));
    UpdateExtent();
}

int KilnUtil_TextView::RowHeight() const
{
    return qMax(1, fontMetrics().lineSpacing());
}

/// Where rows begin in the viewport.
int KilnUtil_TextView::TextX() const
{
    return margin - horizontalScrollBar()->value();
}

QSize KilnUtil_TextView::sizeHint() const
{
    const QSize bars{verticalScrollBar()->sizeHint().width(), horizontalScrollBar()->sizeHint().height()};
    const QSize frame{2 * frameWidth() + 2 * margin, 2 * frameWidth()};
    return QSize{fontMetrics().averageCharWidth() * columnsWanted, RowHeight() * rowsWanted} + bars + frame;
}

int KilnUtil_TextView::FullRows() const
{
    return qMax(1, viewport()->height() / RowHeight());
}

/// Takes over a new size of the source or of the window.
void KilnUtil_TextView::UpdateExtent()
{
    m_lastTop = m_rows.Up(m_source.End(), FullRows());
    const bool sticks = m_followsEnd && m_stuckToEnd;
    m_top = sticks ? m_lastTop : m_rows.RowBegin(qMin(m_top, m_lastTop));
    m_stuckToEnd = IsAtEnd();
    LayOutRows();
    UpdateBars();
    viewport()->update();
    Q_EMIT PlaceChangedSignal();
}

void KilnUtil_TextView::UpdateBars()
{
    const qint64 begin = m_source.Begin();
    const qint64 range = m_lastTop - begin;
    m_bytesPerStep = 1 + range / mostSteps;
    // Rounded up, so that the last step is the end even where steps are several bytes.
    const qint64 last = (range + m_bytesPerStep - 1) / m_bytesPerStep;
    const qint64 page = (m_source.End() - m_lastTop) / m_bytesPerStep;
    QScrollBar *vertical = verticalScrollBar();
    const QSignalBlocker quiet{vertical};
    vertical->setRange(0, static_cast<int>(last));
    vertical->setPageStep(static_cast<int>(qBound<qint64>(1, page, mostSteps)));
    vertical->setValue(static_cast<int>(IsAtEnd() ? last : (m_top - begin) / m_bytesPerStep));

    const int width = viewport()->width();
    QScrollBar *horizontal = horizontalScrollBar();
    horizontal->setRange(0, qMax(0, qCeil(m_widest) + 2 * margin - width));
    horizontal->setPageStep(width);
    horizontal->setSingleStep(fontMetrics().averageCharWidth() * 4);
}

void KilnUtil_TextView::LayOutRows()
{
    std::vector<Layout> layouts;
    qint64 place = m_top;
    // One more than fit wholly: the last one is cut by the lower edge.
    while (std::ssize(layouts) <= FullRows() && place < m_source.End()) {
        const auto known =
            std::ranges::find(m_layouts, place, [](const Layout &row) { return row->Begin(); });
        Layout row = known != m_layouts.end() ? *known : LayoutOf(place);
        if (row->End() <= place)
            break;
        m_widest = qMax(m_widest, row->Width());
        place = row->End();
        layouts.push_back(std::move(row));
    }
    m_layouts = std::move(layouts);
}

QStringList KilnUtil_TextView::VisibleText()
{
    QStringList rows;
    for (const Layout &row : m_layouts)
        rows.append(row->Text());
    return rows;
}

void KilnUtil_TextView::ScrollTo(qint64 top)
{
    const qint64 place = qBound(m_source.Begin(), top, m_lastTop);
    if (place == m_top && m_stuckToEnd == IsAtEnd())
        return;
    m_top = place;
    m_stuckToEnd = IsAtEnd();
    LayOutRows();
    UpdateBars();
    viewport()->update();
    Q_EMIT PlaceChangedSignal();
}

void KilnUtil_TextView::ScrollRows(qint64 rows)
{
    ScrollTo(rows < 0 ? m_rows.Up(m_top, -rows) : m_rows.Down(m_top, rows));
}

void KilnUtil_TextView::ScrollToBeginSlot()
{
    ScrollTo(m_source.Begin());
}

void KilnUtil_TextView::ScrollToEndSlot()
{
    ScrollTo(m_lastTop);
}

void KilnUtil_TextView::ScrolledSlot(int value)
{
    const QScrollBar *bar = verticalScrollBar();
    ScrollTo(value >= bar->maximum() ? m_lastTop
                                     : m_rows.RowBegin(m_source.Begin() + value * m_bytesPerStep));
}

/// The steps of the bar are bytes; what the user asks for is rows.
void KilnUtil_TextView::ScrollActionSlot(int action)
{
    switch (action) {
    case QAbstractSlider::SliderSingleStepAdd:
        ScrollRows(1);
        break;
    case QAbstractSlider::SliderSingleStepSub:
        ScrollRows(-1);
        break;
    case QAbstractSlider::SliderPageStepAdd:
        ScrollRows(FullRows() - 1);
        break;
    case QAbstractSlider::SliderPageStepSub:
        ScrollRows(1 - FullRows());
        break;
    default:
        return;
    }
    verticalScrollBar()->setSliderPosition(verticalScrollBar()->value());
}

void KilnUtil_TextView::paintEvent(QPaintEvent *event)
{
    QPainter painter{viewport()};
    painter.setPen(palette().color(QPalette::Text));
    int y = 0;
    for (const Layout &row : m_layouts) {
        if (event->rect().intersects({0, y, viewport()->width(), RowHeight()})) {
            row->Draw(painter, QPointF(TextX(), y), SelectionBegin(), SelectionEnd(), palette());
            DrawCursor(painter, *row, y);
        }
        y += RowHeight();
    }
}

void KilnUtil_TextView::DrawCursor(QPainter &painter, const KilnUtil_TextRowLayout &row, int y)
{
    const bool isHere = m_cursor >= row.Begin() && (m_cursor < row.End() || m_cursor == row.TextEnd());
    if (!isHere || !hasFocus())
        return;
    const int x = TextX() + qRound(row.X(m_cursor));
    painter.fillRect(x, y, cursorWidth, RowHeight(), palette().color(QPalette::Text));
}

void KilnUtil_TextView::resizeEvent(QResizeEvent *event)
{
    QAbstractScrollArea::resizeEvent(event);
    UpdateExtent();
}

void KilnUtil_TextView::changeEvent(QEvent *event)
{
    QAbstractScrollArea::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        m_layouts.clear();
        m_widest = 0;
        UpdateExtent();
    }
}

void KilnUtil_TextView::focusInEvent(QFocusEvent *event)
{
    QAbstractScrollArea::focusInEvent(event);
    viewport()->update();
}

void KilnUtil_TextView::focusOutEvent(QFocusEvent *event)
{
    QAbstractScrollArea::focusOutEvent(event);
    viewport()->update();
}
