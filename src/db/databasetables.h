// SPDX-License-Identifier: MIT
#pragma once

#include "db/databaseschema.h"
#include "db/tablestore.h"

/// Makes the tables of the job database as its schema describes them.
class Taskmill_DatabaseTables final : public Taskmill_TableStore
{
public:
    using Taskmill_TableStore::Taskmill_TableStore;

    /// Returns the table's name, also when the table was there already; an empty text on failure, which is
    /// reported to the user. The connection must be open.
    QString Create(Taskmill_Table table);
    /// Adds the columns that earlier versions did not have, inside a transaction.
    void AddMissingColumns();
};
