// SPDX-License-Identifier: MIT
#include "widgets/tablecolumns.h"

#include "kilnutil/registry.h"

#include <QHeaderView>
#include <QMenu>
#include <QScopedValueRollback>
#include <QTableView>
#include <QtMath>

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int saveDelayMs = 500;
constexpr int widestColumn = 10'000;
} // namespace

KilnUtil_TableColumns::KilnUtil_TableColumns(QTableView &table)
    : m_table{table}
{
    connect(Header(), &QHeaderView::sectionResized, this, &KilnUtil_TableColumns::ResizedSlot);
    connect(Header(), &QWidget::customContextMenuRequested, this, &KilnUtil_TableColumns::HeaderMenuSlot);
    m_saveTimer.setSingleShot(true);
    m_saveTimer.setInterval(saveDelayMs);
    connect(&m_saveTimer, &QTimer::timeout, this, &KilnUtil_TableColumns::SaveSlot);
}

KilnUtil_TableColumns::~KilnUtil_TableColumns()
{
    if (m_saveTimer.isActive())
        SaveSlot();
}

QHeaderView *KilnUtil_TableColumns::Header() const
{
    return m_table.horizontalHeader();
}

void KilnUtil_TableColumns::SetHints(const QList<int> &characters)
{
    m_columnHints = characters;
    ApplyHints();
}

void KilnUtil_TableColumns::SetElastic(const QMap<int, int> &leastCharacters)
{
    m_elasticColumns = leastCharacters;
    Fit();
}

/// As wide as digits, which columns of numbers and times hold; two more for the margins.
int KilnUtil_TableColumns::WidthOf(int characters) const
{
    return (characters + 2) * m_table.fontMetrics().horizontalAdvance(u'0');
}

void KilnUtil_TableColumns::ApplyHints()
{
    const QScopedValueRollback setting{m_settingWidths, true};
    const int count = qMin(static_cast<int>(m_columnHints.size()), Header()->count());
    for (int column = 0; column < count; ++column)
        m_table.setColumnWidth(column,
                               qMax(WidthOf(m_columnHints[column]), Header()->sectionSizeHint(column)));
}

/// What is lacking is taken from the elastic columns, from each in proportion to what it can give: first from
/// those that can give more than half of their width, as names and paths can.
void KilnUtil_TableColumns::Fit()
{
    if (m_elasticColumns.isEmpty() || m_hasUserWidths)
        return;
    const QHeaderView *columns = Header();
    const auto wanted = [&](int column) {
        return qMax(WidthOf(m_columnHints.value(column)), columns->sectionSizeHint(column));
    };
    const auto turnOf = [&](int column) -> std::size_t {
        return 2 * m_elasticColumns[column] < m_columnHints.value(column) ? 0 : 1;
    };
    int lacking = -m_table.viewport()->width();
    std::array<int, 2> spare{};
    for (const int column : Shown()) {
        lacking += wanted(column);
        if (m_elasticColumns.contains(column))
            spare.at(turnOf(column)) += wanted(column) - WidthOf(m_elasticColumns[column]);
    }
    std::array<double, 2> shares{};
    for (std::size_t turn = 0; turn < spare.size() && spare.at(turn) > 0; ++turn) {
        shares.at(turn) = qBound(0.0, static_cast<double>(lacking) / spare.at(turn), 1.0);
        lacking -= spare.at(turn);
    }
    const QScopedValueRollback setting{m_settingWidths, true};
    for (const auto &[column, least] : m_elasticColumns.asKeyValueRange()) {
        if (m_table.isColumnHidden(column))
            continue;
        const int width = wanted(column);
        m_table.setColumnWidth(column, width - qCeil((width - WidthOf(least)) * shares.at(turnOf(column))));
    }
}

void KilnUtil_TableColumns::SetAtFirst(const QList<int> &hidden, const QMap<int, int> &standingBehind)
{
    m_hiddenAtFirst = hidden;
    m_behindAtFirst = standingBehind;
    PlaceAsAtFirst();
}

void KilnUtil_TableColumns::Remember(const QString &name)
{
    m_settingsKey = u"/Tables/%1/"_s.arg(name);
    Restore();
    RestoreOrder();
    connect(Header(), &QHeaderView::sectionMoved, &m_saveTimer, qOverload<>(&QTimer::start));
    connect(Header(), &QHeaderView::sortIndicatorChanged, &m_saveTimer, qOverload<>(&QTimer::start));
}

/// From the left.
QList<int> KilnUtil_TableColumns::Shown() const
{
    const QHeaderView *columns = Header();
    QList<int> shown;
    for (int place = 0; place < columns->count(); ++place) {
        if (!columns->isSectionHidden(columns->logicalIndex(place)))
            shown.append(columns->logicalIndex(place));
    }
    return shown;
}

void KilnUtil_TableColumns::ResizedSlot(int column)
{
    // The last one follows the window.
    if (m_settingWidths || column == Shown().last())
        return;
    m_hasUserWidths = true;
    if (!m_settingsKey.isEmpty())
        m_saveTimer.start();
}

/// The setting is a list of "column:width" in the order in which the columns stand, ":hidden" behind those
/// that are not shown. The last one that is shown is as wide as the window lets it be, which is written as 0,
/// as are all while the user has set none.
void KilnUtil_TableColumns::SaveSlot()
{
    const QHeaderView *columns = Header();
    const int last = Shown().last();
    QStringList saved;
    for (int place = 0; place < columns->count(); ++place) {
        const int column = columns->logicalIndex(place);
        const bool hasWidth = m_hasUserWidths && column != last;
        const QString text = u"%1:%2"_s.arg(column).arg(hasWidth ? columns->sectionSize(column) : 0);
        saved.append(columns->isSectionHidden(column) ? text + u":hidden"_s : text);
    }
    KilnUtil_Registry::SetValue(m_settingsKey + u"Columns"_s, saved);
    KilnUtil_Registry::SetValue(
        m_settingsKey + u"Order"_s,
        u"%1:%2"_s.arg(columns->sortIndicatorSection())
            .arg(columns->sortIndicatorOrder() == Qt::AscendingOrder ? u"up" : u"down"));
}

void KilnUtil_TableColumns::PutBehindOther(int column)
{
    QHeaderView *columns = Header();
    const int from = columns->visualIndex(column);
    const int behind = columns->visualIndex(m_behindAtFirst.value(column));
    columns->moveSection(from, from > behind ? behind + 1 : behind);
}

void KilnUtil_TableColumns::PlaceAsAtFirst()
{
    QHeaderView *columns = Header();
    const QScopedValueRollback setting{m_settingWidths, true};
    for (int column = 0; column < columns->count(); ++column) {
        columns->moveSection(columns->visualIndex(column), column);
        columns->setSectionHidden(column, m_hiddenAtFirst.contains(column));
    }
    for (const int column : m_behindAtFirst.keys())
        PutBehindOther(column);
}

void KilnUtil_TableColumns::Restore()
{
    QHeaderView *columns = Header();
    const QStringList saved = KilnUtil_Registry::Value(m_settingsKey + u"Columns"_s).toStringList();
    const QScopedValueRollback setting{m_settingWidths, true};
    m_hasUserWidths = false;
    QList<int> known;
    for (const QString &entry : saved) {
        const QStringList parts = entry.split(u':');
        bool hasColumn = false;
        bool hasWidth = false;
        const int column = parts.first().toInt(&hasColumn);
        const int width = parts.value(1).toInt(&hasWidth);
        // Another version of the program may have had other columns.
        if (!hasColumn || !hasWidth || column < 0 || column >= columns->count())
            continue;
        columns->setSectionHidden(column, parts.value(2) == "hidden"_L1);
        if (width > 0) {
            columns->resizeSection(column, qBound(columns->minimumSectionSize(), width, widestColumn));
            m_hasUserWidths = true;
        }
        if (known.contains(column))
            continue;
        columns->moveSection(columns->visualIndex(column), static_cast<int>(known.size()));
        known.append(column);
    }
    for (const int column : m_behindAtFirst.keys()) {
        if (!known.isEmpty() && !known.contains(column))
            PutBehindOther(column);
    }
    if (Shown().isEmpty())
        columns->setSectionHidden(0, false);
}

void KilnUtil_TableColumns::RestoreOrder()
{
    const QStringList saved = KilnUtil_Registry::Value(m_settingsKey + u"Order"_s).toString().split(u':');
    bool hasColumn = false;
    const int column = saved.first().toInt(&hasColumn);
    if (hasColumn && column >= -1 && column < Header()->count())
        m_table.sortByColumn(column, saved.last() == "down"_L1 ? Qt::DescendingOrder : Qt::AscendingOrder);
}

void KilnUtil_TableColumns::Changed()
{
    Fit();
    if (!m_settingsKey.isEmpty())
        m_saveTimer.start();
}

void KilnUtil_TableColumns::Show(int column, bool isShown)
{
    {
        const QScopedValueRollback setting{m_settingWidths, true};
        m_table.setColumnHidden(column, !isShown);
        // One that was hidden when it was saved has no width.
        if (isShown && m_table.columnWidth(column) <= Header()->minimumSectionSize())
            m_table.setColumnWidth(column, WidthOf(m_columnHints.value(column)));
    }
    Changed();
}

void KilnUtil_TableColumns::MoveCurrent(int places)
{
    const QList<int> shown = Shown();
    const qsizetype place = shown.indexOf(m_table.currentIndex().column());
    if (place < 0 || place + places < 0 || place + places >= shown.size())
        return;
    QHeaderView *columns = Header();
    columns->moveSection(columns->visualIndex(shown[place]), columns->visualIndex(shown[place + places]));
    m_table.scrollTo(m_table.currentIndex());
}

void KilnUtil_TableColumns::ShowAsAtFirst()
{
    PlaceAsAtFirst();
    ApplyHints();
    m_hasUserWidths = false;
    Changed();
}

void KilnUtil_TableColumns::FillMenu(QMenu &menu)
{
    const QList<int> shown = Shown();
    for (int place = 0; place < Header()->count(); ++place) {
        const int column = Header()->logicalIndex(place);
        QAction *entry = menu.addAction(m_table.model()->headerData(column, Qt::Horizontal).toString(), this,
                                        [this, column](bool isShown) { Show(column, isShown); });
        entry->setCheckable(true);
        entry->setChecked(shown.contains(column));
        // One must be left, by whose header the others can come back.
        entry->setEnabled(shown != QList{column});
    }
    menu.addSeparator();
    // For the keyboard; the mouse drags headers.
    const qsizetype current = shown.indexOf(m_table.currentIndex().column());
    menu.addAction(u"Move Current Column Left"_s, this, [this] { MoveCurrent(-1); })->setEnabled(current > 0);
    menu.addAction(u"Move Current Column Right"_s, this, [this] { MoveCurrent(1); })
        ->setEnabled(current >= 0 && current < shown.size() - 1);
    menu.addAction(u"Columns as at First"_s, this, &KilnUtil_TableColumns::ShowAsAtFirst);
}

void KilnUtil_TableColumns::HeaderMenuSlot(const QPoint &position)
{
    QMenu menu{&m_table};
    FillMenu(menu);
    menu.exec(Header()->viewport()->mapToGlobal(position));
}

/// The first one that is shown in place of a hidden one.
int KilnUtil_TableColumns::ShownInPlaceOf(int column) const
{
    const QList<int> shown = Shown();
    return shown.isEmpty() || !m_table.isColumnHidden(column) ? column : shown.first();
}
