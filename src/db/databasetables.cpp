// SPDX-License-Identifier: MIT
#include "db/databasetables.h"

#include "db/database.h"
#include "kilnutil/error.h"

using namespace Qt::Literals::StringLiterals;

QString Taskmill_DatabaseTables::Create(Taskmill_Table table)
{
    if (!Database().IsOpen())
        return {};
    const Taskmill_TableDefinition &definition = Taskmill_DatabaseSchema().at(static_cast<int>(table));
    const QString &name = definition.Name;
    if (Connection().tables(QSql::Tables).contains(name))
        return name;

    const QString &column = definition.IndexedColumn;
    const bool created = Execute(u"CREATE TABLE "_s + name + definition.Columns) &&
                         (column.isEmpty() || Execute(u"CREATE INDEX "_s + name + u'_' + column +
                                                      u"_Index ON "_s + name + u" ("_s + column + u");"_s));
    if (created)
        return name;
    KilnUtil_Error::ReportWarning(u"Creating \""_s + name + u"\" Table"_s, Database().LastErrorMessage(),
                                  KilnUtil_Error::WarnMode::Ok, KilnUtil_Error::WarnAnswer::None);
    return {};
}

void Taskmill_DatabaseTables::AddMissingColumns()
{
    const QStringList tables = Connection().tables(QSql::Tables);
    for (const auto &[table, columns] : Taskmill_DatabaseUpgrades()) {
        if (!tables.contains(table))
            continue;
        // The statement fails where the column is there already.
        for (const QString &column : columns)
            Execute(u"ALTER TABLE "_s + table + u" ADD COLUMN "_s + column);
    }
}
