// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QObject>

class KilnUtil_RowSource;
class QAbstractProxyModel;

/// Which rows a KilnUtil_RowSource, the source model of a proxy, wants to be shown. Few rows are asked
/// singly; those of many are found by the source and come later.
class KilnUtil_WantedRows final : public QObject
{
    Q_OBJECT

public:
    /// Belongs to the proxy.
    explicit KilnUtil_WantedRows(QAbstractProxyModel &proxy);

    /// Whether some rows may be unwanted.
    [[nodiscard]] bool IsFilter() const { return m_isFilter; }
    /// Whether it is still being found which rows are wanted.
    [[nodiscard]] bool IsFinding() const { return m_isFinding; }
    /// Those of the rows that are wanted, in the same order.
    [[nodiscard]] QList<int> Among(const QList<int> &rows) const;

    /// The source wants other rows: ChangedSignal() comes at once, or when they have been found.
    void Renew();
    /// What is being found is that of the rows as they were: it is found anew from the event loop.
    void RenewFinding();

    /// The source has other rows than before.
    void ReadAll();
    /// The source has new ones: returns those that are wanted; none while that is still to be found out.
    QList<int> Insert(int first, int last);
    void Remove(int first, int last);
    /// Rows have left the source: what each is called from now on, or -1.
    void Renumber(const QList<int> &rowsNow);
    /// These have changed; true when other rows are wanted now.
    [[nodiscard]] bool Update(int first, int last);

Q_SIGNALS:
    /// IsFilter() or Among() are others.
    void ChangedSignal();
    /// IsFinding() is another.
    void FindingSignal();

private:
    [[nodiscard]] KilnUtil_RowSource *Source() const;
    [[nodiscard]] bool HasManyRows() const;
    QList<int> Ask(int first, int last);
    void Find();
    void RenewSoon();
    void StopFinding();
    void TakeFound(QList<bool> wanted);

    const QAbstractProxyModel &m_proxy;
    bool m_isFilter = false;
    QList<bool> m_isWanted; ///< by source row, where there is a filter
    bool m_isFinding = false;
    bool m_isRenewedSoon = false;
};
