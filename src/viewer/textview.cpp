// SPDX-License-Identifier: MIT
#include "viewer/textview.h"

#include "viewer/accessibletextview.h"
#include "viewer/textmouse.h"

#include <QAccessible>
#include <QFontDatabase>
#include <QFontInfo>
#include <QKeyEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>

#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr qint64 mostSteps = 1'000'000'000;
constexpr int cursorWidth = 2;
constexpr int margin = 4;
constexpr int columnsWanted = 100;
constexpr int rowsWanted = 36;
constexpr QColor markColour{0xd9, 0x48, 0x41}; // that of a failed job's status
constexpr float markShare = 0.16F;             // of it in the ground, on which the text stays readable
} // namespace

KilnUtil_TextView::KilnUtil_TextView(KilnUtil_TextSource &source, QWidget *parent)
    : QAbstractScrollArea{parent}
    , m_source{source}
    , m_rows{source}
    , m_selection{source, m_rows}
    , m_mouse{new KilnUtil_TextMouse{*this}}
{
    KilnUtil_AccessibleTextView::Install();
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
        SetMark(0, 0);
        SetSelection(0, 0);
    } else if (!m_layouts.empty()) {
        // Only the last row can have become longer.
        m_layouts.pop_back();
    }
    SetSelection(qMax(m_selection.Anchor(), m_source.Begin()), qMax(m_selection.Cursor(), m_source.Begin()));
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

void KilnUtil_TextView::SetZoom(int steps)
{
    m_zoom = qBound(LeastZoom, steps, MostZoom);
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setPointSizeF(qMax(1.0, QFontInfo{font}.pointSizeF() + m_zoom));
    setFont(font);
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
    std::vector<Row> layouts;
    qint64 place = m_top;
    // One more than fit wholly: the last one is cut by the lower edge.
    while (std::ssize(layouts) <= FullRows() && place < m_source.End()) {
        const auto known = std::ranges::find(m_layouts, place, [](const Row &row) { return row->Begin(); });
        Row row = known != m_layouts.end() ? *known : RowOf(place);
        if (row->End() <= place)
            break;
        m_widest = qMax(m_widest, row->Width());
        place = row->End();
        layouts.push_back(std::move(row));
    }
    m_layouts = std::move(layouts);
    ReportText();
}

void KilnUtil_TextView::ReportText()
{
    if (!QAccessible::isActive())
        return;
    const QString text = VisibleText().join(u'\n');
    if (text == m_reported)
        return;
    QAccessibleTextUpdateEvent event{this, 0, std::exchange(m_reported, text), text};
    QAccessible::updateAccessibility(&event);
}

QRect KilnUtil_TextView::RectOf(qint64 offset) const
{
    const auto row = std::ranges::find_if(m_layouts, [offset](const Row &one) {
        return offset >= one->Begin() && (offset < one->End() || offset == one->TextEnd());
    });
    if (row == m_layouts.end())
        return {};
    const qreal left = (*row)->X(offset);
    const qreal right = (*row)->X((*row)->After(offset));
    return {TextX() + qRound(left), static_cast<int>(row - m_layouts.begin()) * RowHeight(),
            qRound(right - left), RowHeight()};
}

QStringList KilnUtil_TextView::VisibleText() const
{
    QStringList rows;
    for (const Row &row : m_layouts)
        rows.append(row->Text());
    return rows;
}

KilnUtil_TextView::Row KilnUtil_TextView::RowOf(qint64 offset) const
{
    return std::make_shared<KilnUtil_TextRowLayout>(m_rows.RowAt(m_rows.RowBegin(offset)), font());
}

qint64 KilnUtil_TextView::OffsetAtPoint(QPoint point) const
{
    if (m_layouts.empty())
        return m_source.Begin();
    if (point.y() < 0)
        return m_layouts.front()->Begin();
    const size_t row = point.y() / RowHeight();
    if (row >= m_layouts.size())
        return m_layouts.back()->End();
    return m_layouts[row]->OffsetAt(point.x() - TextX());
}

void KilnUtil_TextView::SetSelection(qint64 anchor, qint64 cursor)
{
    if (!m_selection.Set(anchor, cursor))
        return;
    viewport()->update();
    if (QAccessible::isActive()) {
        QAccessibleTextCursorEvent event{this, 0};
        if (auto *reader = QAccessible::queryAccessibleInterface(this))
            event.setCursorPosition(reader->textInterface()->cursorPosition());
        QAccessible::updateAccessibility(&event);
    }
    Q_EMIT SelectionChangedSignal();
}

void KilnUtil_TextView::Select(qint64 begin, qint64 end)
{
    SetSelection(begin, end);
    ShowPlace(end);
    ShowPlace(begin);
}

void KilnUtil_TextView::SelectAll()
{
    SetSelection(m_source.Begin(), m_source.End());
}

void KilnUtil_TextView::SetMark(qint64 begin, qint64 end)
{
    m_markBegin = begin;
    m_markEnd = end;
    viewport()->update();
}

QString KilnUtil_TextView::MarkedText() const
{
    return HasMark() ? KilnUtil_TextRows::Text(m_source.Read(m_markBegin, m_markEnd - m_markBegin))
                     : QString{};
}

void KilnUtil_TextView::ScrollToMarkSlot()
{
    if (HasMark())
        ShowPlace(m_markBegin);
}

void KilnUtil_TextView::ShowPlace(qint64 offset)
{
    const Row row = RowOf(offset);
    const qint64 lowest = m_rows.Down(m_top, FullRows() - 1);
    if (row->Begin() < m_top || row->Begin() > lowest) {
        const bool isNear = row->Begin() == m_rows.Up(m_top, 1) || row->Begin() == m_rows.Down(lowest, 1);
        const qint64 above = row->Begin() < m_top ? 0 : FullRows() - 1;
        ScrollTo(m_rows.Up(row->Begin(), isNear ? above : FullRows() / 2));
    }
    const int x = qRound(row->X(offset));
    const int around = fontMetrics().averageCharWidth() * 4;
    QScrollBar *bar = horizontalScrollBar();
    if (x - around < bar->value())
        bar->setValue(x - around);
    else if (x + around > bar->value() + viewport()->width())
        bar->setValue(x + around - viewport()->width());
}

/// A selection made with the keyboard begins where the user looks.
void KilnUtil_TextView::PlaceCursorInSight()
{
    const qint64 cursor = m_selection.Cursor();
    const bool inSight =
        !m_layouts.empty() && cursor >= m_layouts.front()->Begin() && cursor <= m_layouts.back()->End();
    if (m_selection.IsEmpty() && !inSight)
        SetSelection(m_top, m_top);
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
    for (const Row &row : m_layouts) {
        if (event->rect().intersects({0, y, viewport()->width(), RowHeight()})) {
            DrawMark(painter, *row, y);
            row->Draw(painter, QPointF(TextX(), y), m_selection.Begin(), m_selection.End(), palette());
            DrawCursor(painter, *row, y);
        }
        y += RowHeight();
    }
}

void KilnUtil_TextView::DrawMark(QPainter &painter, const KilnUtil_TextRowLayout &row, int y)
{
    if (m_markBegin >= row.End() || m_markEnd <= row.Begin())
        return;
    QColor ground = markColour;
    ground.setAlphaF(markShare);
    painter.fillRect(0, y, viewport()->width(), RowHeight(), ground);
    painter.fillRect(0, y, margin - 1, RowHeight(), markColour);
}

void KilnUtil_TextView::DrawCursor(QPainter &painter, const KilnUtil_TextRowLayout &row, int y)
{
    const qint64 cursor = m_selection.Cursor();
    const bool isHere = cursor >= row.Begin() && (cursor < row.End() || cursor == row.TextEnd());
    if (!isHere || !hasFocus())
        return;
    const int x = TextX() + qRound(row.X(cursor));
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

bool KilnUtil_TextView::ScrollByKey(const QKeyEvent &event)
{
    switch (event.key()) {
    case Qt::Key_Up:
        ScrollRows(-1);
        return true;
    case Qt::Key_Down:
        ScrollRows(1);
        return true;
    case Qt::Key_PageUp:
        ScrollRows(1 - FullRows());
        return true;
    case Qt::Key_PageDown:
        ScrollRows(FullRows() - 1);
        return true;
    case Qt::Key_Home:
        horizontalScrollBar()->setValue(0);
        ScrollToBeginSlot();
        return true;
    case Qt::Key_End:
        ScrollToEndSlot();
        return true;
    case Qt::Key_Left:
        horizontalScrollBar()->triggerAction(QAbstractSlider::SliderSingleStepSub);
        return true;
    case Qt::Key_Right:
        horizontalScrollBar()->triggerAction(QAbstractSlider::SliderSingleStepAdd);
        return true;
    default:
        return false;
    }
}

void KilnUtil_TextView::keyPressEvent(QKeyEvent *event)
{
    if (!event->modifiers().testFlag(Qt::ShiftModifier)) {
        if (!ScrollByKey(*event))
            event->ignore();
        return;
    }
    PlaceCursorInSight();
    const auto cursor = m_selection.MovedCursor(
        event->key(), event->modifiers().testFlag(Qt::ControlModifier), font(), FullRows() - 1);
    if (!cursor) {
        event->ignore();
        return;
    }
    SetSelection(m_selection.Anchor(), *cursor);
    ShowPlace(*cursor);
    m_selection.Offer();
}

void KilnUtil_TextView::wheelEvent(QWheelEvent *event)
{
    const int delta = event->angleDelta().y();
    if (event->modifiers().testFlag(Qt::ControlModifier) && delta != 0)
        SetZoom(m_zoom + (delta > 0 ? 1 : -1));
    else
        m_mouse->TurnWheel(*event);
}

void KilnUtil_TextView::mousePressEvent(QMouseEvent *event)
{
    m_mouse->Press(*event);
}

void KilnUtil_TextView::mouseMoveEvent(QMouseEvent *event)
{
    m_mouse->Move(*event);
}

void KilnUtil_TextView::mouseReleaseEvent(QMouseEvent *event)
{
    m_mouse->Release(*event);
}

void KilnUtil_TextView::mouseDoubleClickEvent(QMouseEvent *event)
{
    m_mouse->DoubleClick(*event);
}
