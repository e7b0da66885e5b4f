// SPDX-License-Identifier: MIT
#include "db/rowcursor.h"

#include <QSqlDriver>

#include <algorithm>
#include <array>

#include <sqlite3.h>

namespace {
sqlite3 *SQLiteHandle(const QSqlDatabase &connection)
{
    const QVariant handle = connection.driver()->handle();
    return qstrcmp(handle.typeName(), "sqlite3*") == 0 ? *static_cast<sqlite3 *const *>(handle.constData())
                                                       : nullptr;
}

QByteArrayView BytesOf(sqlite3_stmt *statement, int column)
{
    // The number of bytes is that of the text that was asked for last.
    const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(statement, column));
    return {text, text ? sqlite3_column_bytes(statement, column) : 0};
}
} // namespace

Taskmill_RowCursor::Taskmill_RowCursor(const QSqlDatabase &connection, const QString &statement)
{
    if (sqlite3 *database = SQLiteHandle(connection)) {
        Prepare(database, statement);
        return;
    }
    m_query.emplace(connection);
    m_query->setForwardOnly(true);
    // What has places for values is run by Start().
    if (statement.contains(u'?'))
        m_query->prepare(statement);
    else
        m_query->exec(statement);
    const QSqlRecord record = m_query->record();
    for (int column = 0; column < record.count(); ++column)
        m_columns.append(record.fieldName(column));
    m_before.resize(m_columns.size());
}

Taskmill_RowCursor::Taskmill_RowCursor(sqlite3 *database, const QString &statement)
{
    Prepare(database, statement);
}

void Taskmill_RowCursor::Prepare(sqlite3 *database, const QString &statement)
{
    sqlite3_prepare_v2(database, statement.toUtf8().constData(), -1, &m_statement, nullptr);
    for (int column = 0; column < sqlite3_column_count(m_statement); ++column)
        m_columns.append(QString::fromUtf8(sqlite3_column_name(m_statement, column)));
    m_before.resize(m_columns.size());
}

Taskmill_RowCursor::~Taskmill_RowCursor()
{
    sqlite3_finalize(m_statement);
}

void Taskmill_RowCursor::Start(std::initializer_list<qint64> values)
{
    int place = 0;
    sqlite3_reset(m_statement);
    for (const qint64 value : values) {
        if (m_query)
            m_query->bindValue(place++, value);
        else
            sqlite3_bind_int64(m_statement, ++place, value);
    }
    if (m_query)
        m_query->exec();
}

void Taskmill_RowCursor::Stop()
{
    if (m_query)
        m_query->finish();
    else
        sqlite3_reset(m_statement);
}

bool Taskmill_RowCursor::Next()
{
    return m_query ? m_query->next() : sqlite3_step(m_statement) == SQLITE_ROW;
}

int Taskmill_RowCursor::Column(const QString &name) const
{
    for (int column = 0; column < m_columns.size(); ++column) {
        if (m_columns[column].compare(name, Qt::CaseInsensitive) == 0)
            return column;
    }
    return -1;
}

QString Taskmill_RowCursor::Text(int column)
{
    if (column < 0)
        return {};
    TextBefore &before = m_before[column];
    if (m_query) {
        if (QString text = m_query->value(column).toString(); text != before.text)
            before.text = std::move(text);
        return before.text;
    }
    const QByteArrayView bytes = BytesOf(m_statement, column);
    if (bytes != QByteArrayView{before.bytes}) {
        // In place: most are as long as those before.
        before.bytes.resize(bytes.size());
        std::ranges::copy(bytes, before.bytes.begin());
        before.text = QString::fromUtf8(bytes);
    }
    return before.text;
}

QByteArray Taskmill_RowCursor::Utf8(int column) const
{
    return m_query ? m_query->value(column).toString().toUtf8() : BytesOf(m_statement, column).toByteArray();
}

qint32 Taskmill_RowCursor::Integer(int column) const
{
    if (column < 0)
        return 0;
    if (m_query)
        return m_query->value(column).toInt();
    // What is no number as a whole is none.
    return sqlite3_column_type(m_statement, column) == SQLITE_TEXT
               ? BytesOf(m_statement, column).toByteArray().toInt()
               : sqlite3_column_int(m_statement, column);
}

qint64 Taskmill_RowCursor::LongInteger(int column) const
{
    return m_query ? m_query->value(column).toLongLong() : sqlite3_column_int64(m_statement, column);
}

Taskmill_JobTime Taskmill_RowCursor::Time(int column)
{
    constexpr qsizetype usualLength = 19;
    const QByteArrayView bytes = column >= 0 && !m_query ? BytesOf(m_statement, column) : QByteArrayView{};
    if (bytes.size() != usualLength)
        return Taskmill_JobTime::FromIsoText(Text(column));
    std::array<QChar, usualLength> text{};
    std::ranges::transform(bytes, text.begin(), [](char byte) { return QLatin1Char{byte}; });
    return Taskmill_JobTime::FromIsoText(QString::fromRawData(text.data(), usualLength));
}
