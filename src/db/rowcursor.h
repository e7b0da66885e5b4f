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

struct sqlite3_stmt;

/// The rows of a query, one after the other, for reading a hundred thousand of them: of an SQLite database
/// without making a value of Qt of each column. The connection outlives it.
class Taskmill_RowCursor
{
public:
    Taskmill_RowCursor(const QSqlDatabase &connection, const QString &statement);
    ~Taskmill_RowCursor();
    Q_DISABLE_COPY_MOVE(Taskmill_RowCursor)

    /// Goes to the next row; false at the end and when the statement cannot be run.
    bool Next();
    /// Position of the column of that name, in any case; -1 when there is none.
    [[nodiscard]] int Column(const QString &name) const;
    /// Of the current row; empty, and 0, for what is NULL and for column -1. A text that is that of the row
    /// before is shared with it.
    [[nodiscard]] QString Text(int column);
    [[nodiscard]] qint32 Integer(int column) const;
    [[nodiscard]] Taskmill_JobTime Time(int column);

private:
    struct TextBefore
    {
        QByteArray bytes;
        QString text;
    };

    sqlite3_stmt *m_statement = nullptr; ///< nullptr for other kinds of databases
    QSqlQuery m_query;
    QStringList m_columns;
    QList<TextBefore> m_before; ///< by column
};
