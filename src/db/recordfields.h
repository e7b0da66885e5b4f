// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobtime.h"

#include <QString>
#include <QStringList>
#include <QVariantList>

/// The values of one row, field by field in the table's column order. The first field is the table's key.
class Taskmill_RecordFields
{
public:
    explicit Taskmill_RecordFields(const QString &keyColumn)
    {
        m_columns.reserve(MostColumns);
        m_values.reserve(MostColumns);
        AddInteger(keyColumn, 0);
    }

    void AddInteger(const QString &column, qint32 value) { Add(column, value); }
    /// A null text becomes an empty one: the columns never hold NULL.
    void AddText(const QString &column, const QString &value)
    {
        Add(column, value.isNull() ? QStringLiteral("") : value);
    }
    void AddBytes(const QString &column, const QByteArray &value) { Add(column, value); }
    void AddTime(const QString &column, const Taskmill_JobTime &value) { AddText(column, value.IsoText()); }
    /// Created and LastModified, both now.
    void AddCreationTimes()
    {
        const QString now = Taskmill_JobTime::Now().IsoText();
        AddText(QStringLiteral("Created"), now);
        AddText(QStringLiteral("LastModified"), now);
    }

    [[nodiscard]] QString KeyColumn() const { return m_columns.first(); }
    void SetKey(qint32 key) { m_values.first() = key; }
    [[nodiscard]] const QStringList &Columns() const { return m_columns; }
    [[nodiscard]] const QVariantList &Values() const { return m_values; }

private:
    static constexpr qsizetype MostColumns = 28;

    void Add(const QString &column, const QVariant &value)
    {
        m_columns.append(column);
        m_values.append(value);
    }

    QStringList m_columns;
    QVariantList m_values;
};
