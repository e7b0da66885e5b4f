// SPDX-License-Identifier: MIT
#pragma once

#include "db/database.h"
#include "support/samplejobs.h"

#include <QStringList>

#include <memory>

/// An open database in memory with all its tables.
[[nodiscard]] std::unique_ptr<Taskmill_Database> MakeDatabase();
/// The same without a connection.
[[nodiscard]] std::unique_ptr<Taskmill_Database> MakeClosedDatabase();

/// A look at a database file past the classes under test.
class RawDatabase
{
public:
    explicit RawDatabase(const QString &path);
    ~RawDatabase();
    Q_DISABLE_COPY_MOVE(RawDatabase)

    /// Runs statements that must succeed.
    void Execute(const QStringList &statements);
    /// One text for each row, its columns joined with "|".
    [[nodiscard]] QStringList Rows(const QString &statement);

private:
    QSqlDatabase m_connection;
};

/// Whether statements that write to the open database fail from now on.
void RefuseWrites(const Taskmill_Database &database, bool refuse);
/// Has every transaction fail at its end, as on a disk that is full by then.
void RefuseCommits(const Taskmill_Database &database, bool refuse);

/// What the query gives on the file.
[[nodiscard]] QStringList RowsOfFile(const QString &path, const QString &statement);
/// What the query gives on the content of an in-memory database.
[[nodiscard]] QStringList RowsOf(Taskmill_Database &database, const QString &statement);
