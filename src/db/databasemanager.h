// SPDX-License-Identifier: MIT
#pragma once

#include "db/database.h"

#include <memory>
#include <vector>

/// Makes, finds and closes the process's database connections. It owns every database; all pointers to them
/// end with CloseAll(), so fetch the current one at each use.
class Taskmill_Database_Manager final : public QObject
{
    Q_OBJECT

public:
    using DatabaseTypeEnum = Taskmill_Database::DatabaseTypeEnum;

    /// The one manager, made at the first call. It goes away together with the application object.
    static Taskmill_Database_Manager &Global();

    ~Taskmill_Database_Manager() override;
    Q_DISABLE_COPY_MOVE(Taskmill_Database_Manager)

    /// The database of that kind and name, which becomes the current one; it is not opened yet. Without a
    /// name, the current database if it is of that kind; else, unless it is an in-memory one, the user is
    /// asked for a file, a new one with `create`. nullptr when the user cancels.
    Taskmill_Database *Database(DatabaseTypeEnum kind, const QString &name, bool create);
    /// A database in memory that is nobody's yet, and not opened.
    [[nodiscard]] static std::unique_ptr<Taskmill_Database> MakeMemoryDatabase();
    /// Takes the ownership of such a one, which becomes the current one, and returns it.
    Taskmill_Database *Adopt(std::unique_ptr<Taskmill_Database> database);
    /// nullptr when there is none.
    [[nodiscard]] Taskmill_Database *CurrentDatabase() const;
    /// Closes all databases and destroys them.
    void CloseAll();

private:
    Taskmill_Database_Manager() = default;
    Taskmill_Database *Add(DatabaseTypeEnum kind, DatabaseTypeEnum recordedKind, const QString &name);

    std::vector<std::unique_ptr<Taskmill_Database>> m_databases;
    Taskmill_Database *m_current = nullptr;
};
