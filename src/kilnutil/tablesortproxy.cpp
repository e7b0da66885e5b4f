#include "kilnutil/tablesortproxy.h"

namespace {
QVariant SortValue(const QModelIndex &index)
{
    QVariant value = index.data(KilnUtil_TableSortProxy::SortRole);
    return value.isValid() ? value : index.data(Qt::DisplayRole);
}

bool IsWhole(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
        return true;
    default:
        return false;
    }
}

bool IsNumber(const QVariant &value)
{
    return IsWhole(value) || value.typeId() == QMetaType::ULongLong || value.typeId() == QMetaType::Double;
}
} // namespace

KilnUtil_TableSortProxy::KilnUtil_TableSortProxy(QObject *parent)
    : QSortFilterProxyModel{parent}
{
    setSortRole(SortRole);
}

bool KilnUtil_TableSortProxy::lessThan(const QModelIndex &left, const QModelIndex &right) const
{
    const QVariant a = SortValue(left);
    const QVariant b = SortValue(right);
    if (IsWhole(a) && IsWhole(b))
        return a.toLongLong() < b.toLongLong();
    if (IsNumber(a) && IsNumber(b))
        return a.toDouble() < b.toDouble();
    // Numbers before texts, or the order of a mixed column would contradict itself.
    if (IsNumber(a) != IsNumber(b))
        return IsNumber(a);
    return a.toString().compare(b.toString(), Qt::CaseInsensitive) < 0;
}
