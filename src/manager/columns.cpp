// SPDX-License-Identifier: MIT
#include "manager/columns.h"

#include "jobs/jobrecord.h"
#include "manager/timetext.h"
#include "processes/processinspector.h"

#include <QJsonObject>

#include <algorithm>
#include <limits>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
// The text of a cell of each kind.

template <typename Record>
QString TextOf(const Record &record, QString Record::*member)
{
    return record.*member;
}

template <typename Record>
QString TextOf(const Record &record, qint32 Record::*member)
{
    return QString::number(record.*member);
}

template <typename Record>
QString TextOf(const Record &record, Taskmill_JobStatus Record::*member)
{
    return Taskmill_JobStatusText(record.*member);
}

template <typename Record>
QString TextOf(const Record &record, Taskmill_JobTime Record::*member)
{
    return Taskmill_TimeText(record.*member);
}

template <typename Record>
QString TextOf(const Record &record, const typename Taskmill_Column<Record>::NumberText &number)
{
    return record.*number.member;
}

template <typename Record>
QString TextOf(const Record &record, QString (*text)(const Record &record))
{
    return text(record);
}

template <typename Record>
QString TextOf(const Record &record, const typename Taskmill_Column<Record>::Quantity &quantity)
{
    const std::optional<qint64> value = quantity.of(record);
    return value ? quantity.text(*value) : QString{};
}

template <typename Record>
QString CellText(const Taskmill_Column<Record> &column, const Record &record)
{
    return std::visit([&record](const auto &cell) { return TextOf(record, cell); }, column.cell);
}

template <typename Record>
QJsonValue JsonOf(const Taskmill_Column<Record> &column, const Record &record)
{
    if (column.json)
        return column.json(record);
    if (const auto *number = std::get_if<qint32 Record::*>(&column.cell))
        return record.**number;
    if (const auto *time = std::get_if<Taskmill_JobTime Record::*>(&column.cell))
        return (record.**time).IsoText();
    if (const auto *quantity = std::get_if<typename Taskmill_Column<Record>::Quantity>(&column.cell)) {
        const std::optional<qint64> value = quantity->of(record);
        return value ? QJsonValue{*value} : QJsonValue{};
    }
    return CellText(column, record);
}

/// Of each column the value, in their order.
template <typename Value, typename Columns, typename ValueOf>
QList<Value> OfEach(const Columns &columns, ValueOf valueOf)
{
    QList<Value> values;
    values.reserve(columns.size());
    std::ranges::transform(columns, std::back_inserter(values), valueOf);
    return values;
}
} // namespace

template <typename Record>
Taskmill_Columns<Record>::Taskmill_Columns(QList<Column> columns)
    : m_columns{std::move(columns)}
{
}

template <typename Record>
int Taskmill_Columns<Record>::IndexOf(const typename Column::Cell &cell) const
{
    const auto column = std::ranges::find(m_columns, cell, &Column::cell);
    return column == m_columns.end() ? -1 : static_cast<int>(column - m_columns.begin());
}

template <typename Record>
int Taskmill_Columns<Record>::WithHeader(const QString &header) const
{
    const auto column = std::ranges::find(m_columns, header, &Column::header);
    return column == m_columns.end() ? -1 : static_cast<int>(column - m_columns.begin());
}

template <typename Record>
QString Taskmill_Columns<Record>::Text(const Record &record, int column) const
{
    return CellText(m_columns[column], record);
}

template <typename Record>
QStringList Taskmill_Columns<Record>::Row(const Record &record) const
{
    return OfEach<QString>(m_columns, [&](const Column &column) { return CellText(column, record); });
}

template <typename Record>
QJsonObject Taskmill_Columns<Record>::Json(const Record &record) const
{
    QJsonObject object;
    for (const Column &column : m_columns) {
        if (!column.key.isEmpty())
            object.insert(column.key, JsonOf(column, record));
    }
    return object;
}

template <typename Record>
QStringList Taskmill_Columns<Record>::Keys() const
{
    QStringList keys = OfEach<QString>(m_columns, &Column::key);
    keys.removeAll(QString{});
    return keys;
}

template <typename Record>
QStringList Taskmill_Columns<Record>::Headers() const
{
    return OfEach<QString>(m_columns, &Column::header);
}

template <typename Record>
QList<int> Taskmill_Columns<Record>::Widths() const
{
    return OfEach<int>(m_columns, &Column::width);
}

template <typename Record>
QMap<int, int> Taskmill_Columns<Record>::LeastWidths() const
{
    QMap<int, int> widths;
    for (int column = 0; column < Count(); ++column) {
        if (m_columns[column].leastWidth > 0)
            widths.insert(column, m_columns[column].leastWidth);
    }
    return widths;
}

template <typename Record>
QList<int> Taskmill_Columns<Record>::NumberColumns() const
{
    QList<int> numbers;
    for (int column = 0; column < Count(); ++column) {
        const auto &cell = m_columns[column].cell;
        if (std::holds_alternative<qint32 Record::*>(cell) ||
            std::holds_alternative<typename Column::NumberText>(cell))
            numbers.append(column);
    }
    return numbers;
}

template <typename Record>
QList<int> Taskmill_Columns<Record>::HiddenColumns() const
{
    QList<int> hidden;
    for (int column = 0; column < Count(); ++column) {
        if (m_columns[column].isHidden)
            hidden.append(column);
    }
    return hidden;
}

template <typename Record>
QMap<int, int> Taskmill_Columns<Record>::MovedColumns() const
{
    QMap<int, int> moved;
    for (int column = 0; column < Count(); ++column) {
        if (!m_columns[column].standsBehind.isEmpty())
            moved.insert(column, WithHeader(m_columns[column].standsBehind));
    }
    return moved;
}

template <typename Record>
std::optional<qint64> Taskmill_Columns<Record>::SortNumber(const Record &record, int column) const
{
    const auto &cell = m_columns[column].cell;
    if (const auto *number = std::get_if<qint32 Record::*>(&cell))
        return record.**number;
    if (const auto *time = std::get_if<Taskmill_JobTime Record::*>(&cell))
        return Taskmill_TimeTextOrder(record.**time);
    if (const auto *quantity = std::get_if<typename Column::Quantity>(&cell))
        return quantity->of(record).value_or(std::numeric_limits<qint64>::min());
    return std::nullopt;
}

template <typename Record>
bool Taskmill_Columns<Record>::IsQuantity(int column) const
{
    return std::holds_alternative<typename Column::Quantity>(m_columns[column].cell);
}

template <typename Record>
Taskmill_JobTime Record::*Taskmill_Columns<Record>::TimeOf(int column) const
{
    const auto *time = std::get_if<Taskmill_JobTime Record::*>(&m_columns[column].cell);
    return time ? *time : nullptr;
}

template <typename Record>
QStringList Taskmill_Columns<Record>::LeaveFirst() const
{
    QList<Column> leaving = m_columns;
    leaving.removeIf([](const Column &column) { return column.leavesListing == 0; });
    std::ranges::sort(leaving, {}, &Column::leavesListing);
    return OfEach<QString>(leaving, &Column::header);
}

template <typename Record>
QString Taskmill_Columns<Record>::Listing(const QString &title, const QString &listName,
                                          const QList<QStringList> &rows, int width) const
{
    Rows all{*this};
    for (const QStringList &row : rows)
        all.m_table.AddRow(row);
    return all.Listing(title, listName, width);
}

template <typename Record>
Taskmill_Columns<Record>::Rows::Rows(const Taskmill_Columns &columns)
    : m_columns{columns}
    , m_table{columns.Headers()}
{
}

template <typename Record>
void Taskmill_Columns<Record>::Rows::Add(const Record &record)
{
    for (const Column &column : m_columns.m_columns)
        m_table.AddCell(CellText(column, record));
}

template <typename Record>
QString Taskmill_Columns<Record>::Rows::Listing(const QString &title, const QString &listName,
                                                int width) const
{
    if (m_table.RowCount() == 0)
        return u"\n%1 is Empty\n\n"_s.arg(listName);
    return u"\n%1\n"_s.arg(title) + m_table.FittedText(width, m_columns.LeaveFirst()) + u'\n';
}

template class Taskmill_Columns<Taskmill_JobRecord>;
template class Taskmill_Columns<Taskmill_JobType>;
template class Taskmill_Columns<Taskmill_ProcessRecord>;
