// SPDX-License-Identifier: MIT
#pragma once

#include "db/tablestore.h"

/// The records of the table Queues. Taskmill_Database documents the operations.
class Taskmill_QueueStore final : public Taskmill_TableStore
{
public:
    using Taskmill_TableStore::Taskmill_TableStore;

    bool Insert(const QString &name, qint32 maxRunningJobs, qint32 *outID = nullptr);
    [[nodiscard]] qint32 GetID(const QString &name);
    [[nodiscard]] qint32 GetMaxRunningJobs(const QString &name);
    bool SetMaxRunningJobs(const QString &name, qint32 maxRunningJobs);

private:
    qint32 GetValue(const QString &name, const QString &column);
};
