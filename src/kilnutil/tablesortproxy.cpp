#include "kilnutil/tablesortproxy.h"

KilnUtil_TableSortProxy::Key::Key(const QModelIndex &index)
{
    QVariant value = index.data(SortRole);
    if (!value.isValid())
        value = index.data(Qt::DisplayRole);
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
        kind = Kind::Whole;
        whole = value.toLongLong();
        fraction = static_cast<double>(whole);
        break;
    case QMetaType::ULongLong:
    case QMetaType::Double:
        kind = Kind::Fraction;
        fraction = value.toDouble();
        break;
    default:
        kind = Kind::Text;
        text = value.toString().toCaseFolded();
    }
}

bool KilnUtil_TableSortProxy::Key::operator<(const Key &other) const
{
    if (kind == Kind::Text || other.kind == Kind::Text) {
        // Numbers before texts, or the order of a mixed column would contradict itself.
        return kind == other.kind ? text < other.text : other.kind == Kind::Text;
    }
    return kind == Kind::Whole && other.kind == Kind::Whole ? whole < other.whole : fraction < other.fraction;
}

KilnUtil_TableSortProxy::KilnUtil_TableSortProxy(QObject *parent)
    : QSortFilterProxyModel{parent}
{
    setSortRole(SortRole);
}

QVariant KilnUtil_TableSortProxy::data(const QModelIndex &index, int role) const
{
    constexpr qsizetype longestText = 1000;
    QVariant value = QSortFilterProxyModel::data(index, role);
    if (role == Qt::DisplayRole && value.typeId() == QMetaType::QString) {
        const QString text = value.toString();
        if (text.size() > longestText)
            return QString{text.first(longestText) + QChar{0x2026}};
    }
    return value;
}

void KilnUtil_TableSortProxy::sort(int column, Qt::SortOrder order)
{
    const int rows = sourceModel() && column >= 0 ? sourceModel()->rowCount() : 0;
    m_keys.reserve(static_cast<size_t>(rows));
    for (int row = 0; row < rows; ++row)
        m_keys.emplace_back(sourceModel()->index(row, column));
    QSortFilterProxyModel::sort(column, order);
    m_keys = {};
}

bool KilnUtil_TableSortProxy::lessThan(const QModelIndex &left, const QModelIndex &right) const
{
    if (!m_keys.empty())
        return m_keys[static_cast<size_t>(left.row())] < m_keys[static_cast<size_t>(right.row())];
    return Key{left} < Key{right};
}
