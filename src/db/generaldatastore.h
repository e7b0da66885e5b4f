// SPDX-License-Identifier: MIT
#pragma once

#include "db/tablestore.h"

/// The named texts of the table GeneralData. Taskmill_Database documents the operations.
class Taskmill_GeneralDataStore final : public Taskmill_TableStore
{
public:
    using Taskmill_TableStore::Taskmill_TableStore;

    bool Insert(const QString &name, const QString &dataStr, bool forceNew, qint32 *outID = nullptr);
    int Set(const QString &name, const QString &dataStr);
    bool Get(const QString &name, QString &outDataStr);
};
