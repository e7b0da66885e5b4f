// SPDX-License-Identifier: MIT
#pragma once

#include "db/jobrowreader.h"
#include "db/rowcursor.h"

#include <QSqlDatabase>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>

/// What is read of finished jobs; what follows from anything else is empty then.
struct Taskmill_FinishedJobReading
{
    QStringList Columns; ///< of their table; none for all
    QStringList Fields;  ///< of Taskmill_AddedFields
};

/// Reads finished jobs without their outputs: one by its key, or all of them, a block at a time, so that no
/// statement is at work in between.
class Taskmill_FinishedJobReader
{
public:
    using Take = std::function<void(qint64 key, const Taskmill_JobRecord &job)>;

    /// Of these columns and fields, whose tables are there. The connection outlives the reader.
    Taskmill_FinishedJobReader(const QSqlDatabase &connection, QString storagePath, QString keyColumn,
                               const Taskmill_FinishedJobReading &reading, Taskmill_JobTypesByID jobTypes);
    ~Taskmill_FinishedJobReader();
    Q_DISABLE_COPY_MOVE(Taskmill_FinishedJobReader)

    /// Reads from now on through a connection of its own, so that it may be used on another thread, and on
    /// that alone, while the database is changed. False when there can be none.
    bool OpenOwn();

    [[nodiscard]] std::optional<Taskmill_JobRecord> Find(qint64 key);
    /// Calls `take` for the first so many rows behind the key, in the order of their keys. Returns the last
    /// one's; nothing when there are no more.
    std::optional<qint64> Read(qint64 behind, int count, const Take &take);

    /// The output of one job, in UTF-8, read on any thread through a connection that is there only for that;
    /// empty where it cannot be read.
    [[nodiscard]] static QByteArray ReadOutput(const QString &storagePath, const QString &keyColumn,
                                               qint64 key);

private:
    struct Connection;
    struct Statement;

    std::unique_ptr<Statement> Prepare(const QString &condition) const;
    [[nodiscard]] static QString WhatIsSelected(const Taskmill_FinishedJobReading &reading);

    QSqlDatabase m_shared; ///< none when it has its own
    const QString m_storagePath;
    const QString m_keyColumn;
    const QString m_columns;
    const QStringList m_fields; ///< stand behind the columns
    const Taskmill_JobTypesByID m_jobTypes;
    std::unique_ptr<Connection> m_own;
    std::unique_ptr<Statement> m_find;
    std::unique_ptr<Statement> m_read;
};
