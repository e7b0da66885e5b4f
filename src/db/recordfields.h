#pragma once

#include <QDateTime>
#include <QSqlField>
#include <QSqlRecord>
#include <QString>

/// Builds the record of one row, field by field in the table's column order. The first field is the table's
/// key.
class Taskmill_RecordFields
{
public:
    explicit Taskmill_RecordFields(const QString &keyColumn) { AddInteger(keyColumn, 0); }

    void AddInteger(const QString &column, qint32 value) { Add(column, QMetaType::Int, value); }
    /// A null text becomes an empty one: the columns never hold NULL.
    void AddText(const QString &column, const QString &value)
    {
        Add(column, QMetaType::QString, value.isNull() ? QStringLiteral("") : value);
    }
    void AddBytes(const QString &column, const QByteArray &value)
    {
        Add(column, QMetaType::QByteArray, value);
    }
    void AddTime(const QString &column, const QDateTime &value)
    {
        AddText(column, value.toString(Qt::ISODate));
    }
    /// Created and LastModified, both now.
    void AddCreationTimes()
    {
        const QDateTime now = QDateTime::currentDateTime();
        AddTime(QStringLiteral("Created"), now);
        AddTime(QStringLiteral("LastModified"), now);
    }

    [[nodiscard]] const QSqlRecord &Record() const { return m_record; }

private:
    void Add(const QString &column, QMetaType::Type type, const QVariant &value)
    {
        QSqlField field{column, QMetaType{type}};
        field.setValue(value);
        m_record.append(field);
    }

    QSqlRecord m_record;
};
