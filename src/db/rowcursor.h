// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobtime.h"

#include <QByteArray>
#include <QList>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QString>
#include <QStringList>

#include <initializer_list>
#include <optional>

struct sqlite3;
struct sqlite3_stmt;

/// The rows of a query, one after the other, for reading a hundred thousand of them: of an SQLite database
/// without making a value of Qt of each column. The connection outlives it.
class Taskmill_RowCursor
{
public:
    Taskmill_RowCursor(const QSqlDatabase &connection, const QString &statement);
    /// On a connection of SQLite itself, which may be that of another thread than the main one.
    Taskmill_RowCursor(sqlite3 *database, const QString &statement);
    ~Taskmill_RowCursor();
    Q_DISABLE_COPY_MOVE(Taskmill_RowCursor)

    /// Begins anew with these values in the places of the statement's question marks.
    void Start(std::initializer_list<qint64> values);
    /// The statement is not at work any more: it keeps nobody from writing.
    void Stop();
    /// Goes to the next row; false at the end and when the statement cannot be run.
    bool Next();
    /// Position of the column of that name, in any case; -1 when there is none.
    [[nodiscard]] int Column(const QString &name) const;
    /// Of the current row; empty, and 0, for what is NULL and for column -1. A text that is that of the row
    /// before is shared with it.
    [[nodiscard]] QString Text(int column);
    /// The same in UTF-8; nothing of it is kept.
    [[nodiscard]] QByteArray Utf8(int column) const;
    [[nodiscard]] qint32 Integer(int column) const;
    /// For a column that holds nothing else.
    [[nodiscard]] qint64 LongInteger(int column) const;
    [[nodiscard]] Taskmill_JobTime Time(int column);

private:
    struct TextBefore
    {
        QByteArray bytes;
        QString text;
    };

    void Prepare(sqlite3 *database, const QString &statement);

    sqlite3_stmt *m_statement = nullptr; ///< nullptr for other kinds of databases
    std::optional<QSqlQuery> m_query;    ///< for those
    QStringList m_columns;
    QList<TextBefore> m_before; ///< by column
};
