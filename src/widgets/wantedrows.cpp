// SPDX-License-Identifier: MIT
#include "widgets/wantedrows.h"

#include "widgets/rowsource.h"

#include <QAbstractProxyModel>

#include <algorithm>
#include <iterator>
#include <utility>

namespace {
/// More at once are left to the source, where it has many.
constexpr qsizetype mostAsked = 1000;
} // namespace

KilnUtil_WantedRows::KilnUtil_WantedRows(QAbstractProxyModel &proxy)
    : QObject{&proxy}
    , m_proxy{proxy}
{
}

KilnUtil_RowSource *KilnUtil_WantedRows::Source() const
{
    return dynamic_cast<KilnUtil_RowSource *>(m_proxy.sourceModel());
}

bool KilnUtil_WantedRows::HasManyRows() const
{
    const KilnUtil_RowSource *source = Source();
    return source && source->HasManyRows();
}

QList<int> KilnUtil_WantedRows::Among(const QList<int> &rows) const
{
    if (!m_isFilter)
        return rows;
    QList<int> wanted;
    std::ranges::copy_if(rows, std::back_inserter(wanted), [this](int row) { return m_isWanted[row]; });
    return wanted;
}

void KilnUtil_WantedRows::Renew()
{
    const KilnUtil_RowSource *source = Source();
    const bool hasFilter = source && source->HasFilter();
    if (hasFilter && HasManyRows()) {
        Find();
        return;
    }
    StopFinding();
    if (!hasFilter && !m_isFilter)
        return;
    m_isFilter = hasFilter;
    ReadAll();
    Q_EMIT ChangedSignal();
}

void KilnUtil_WantedRows::ReadAll()
{
    m_isWanted.clear();
    if (m_isFilter)
        (void)Ask(0, m_proxy.sourceModel()->rowCount() - 1);
}

QList<int> KilnUtil_WantedRows::Insert(int first, int last)
{
    if (m_isFilter && first < m_isWanted.size())
        m_isWanted.insert(first, last - first + 1, false);
    return Ask(first, last);
}

/// Returns those that are wanted.
QList<int> KilnUtil_WantedRows::Ask(int first, int last)
{
    QList<int> rows;
    m_isWanted.resize(m_isFilter ? m_proxy.sourceModel()->rowCount() : 0, false);
    if (m_isFilter && HasManyRows() && last - first >= mostAsked) {
        RenewSoon();
        return rows;
    }
    const KilnUtil_RowSource *source = m_isFilter ? Source() : nullptr;
    for (int row = first; row <= last; ++row) {
        if (source)
            m_isWanted[row] = source->IsWanted(row);
        if (!source || m_isWanted[row])
            rows.append(row);
    }
    return rows;
}

void KilnUtil_WantedRows::Remove(int first, int last)
{
    if (m_isFilter)
        m_isWanted.remove(first, last - first + 1);
}

void KilnUtil_WantedRows::Renumber(const QList<int> &rowsNow)
{
    qsizetype row = 0;
    m_isWanted.removeIf([&](bool) { return rowsNow[row++] < 0; });
}

bool KilnUtil_WantedRows::Update(int first, int last)
{
    if (!m_isFilter)
        return false;
    const KilnUtil_RowSource *source = Source();
    const QList<bool> before = m_isWanted;
    for (int row = first; row <= last; ++row)
        m_isWanted[row] = source->IsWanted(row);
    return m_isWanted != before;
}

void KilnUtil_WantedRows::Find()
{
    const bool beginsNow = !std::exchange(m_isFinding, true);
    Source()->FindWanted([this](const QList<bool> &wanted) { TakeFound(wanted); });
    if (beginsNow)
        Q_EMIT FindingSignal();
}

void KilnUtil_WantedRows::RenewFinding()
{
    if (m_isFinding)
        RenewSoon();
}

void KilnUtil_WantedRows::RenewSoon()
{
    if (std::exchange(m_isRenewedSoon, true))
        return;
    const auto renew = [this] {
        m_isRenewedSoon = false;
        Renew();
    };
    QMetaObject::invokeMethod(this, renew, Qt::QueuedConnection);
}

void KilnUtil_WantedRows::StopFinding()
{
    if (!std::exchange(m_isFinding, false))
        return;
    if (KilnUtil_RowSource *source = Source())
        source->StopFindingWanted();
    Q_EMIT FindingSignal();
}

void KilnUtil_WantedRows::TakeFound(QList<bool> wanted)
{
    m_isFinding = false;
    const KilnUtil_RowSource *source = Source();
    const int count = m_proxy.sourceModel()->rowCount();
    // Those that have come meanwhile.
    if (count - wanted.size() > mostAsked) {
        RenewSoon();
        return;
    }
    for (auto row = static_cast<int>(wanted.size()); row < count; ++row)
        wanted.append(source->IsWanted(row));
    m_isFilter = true;
    m_isWanted = wanted;
    Q_EMIT ChangedSignal();
    Q_EMIT FindingSignal();
}
