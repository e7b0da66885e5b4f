// SPDX-License-Identifier: MIT
#pragma once

#include "db/databasestatements.h"

#include <QHash>
#include <QList>
#include <QMap>
#include <QSet>
#include <QSqlDatabase>
#include <QString>
#include <QStringList>

#include <optional>

enum class Taskmill_FieldOwner
{
    Job,
    JobType,
    Queue,
    Project,
};

/// Values that the other tables have no columns for, each known by its owner's kind and number and its name.
/// They stand in a table of their own, which is made with the first value: a project without any is as it was
/// before there were such values.
///
/// The writing operations belong to a transaction that the caller has begun; after one that has failed he
/// rolls it back and calls Forget(). The owners with values are remembered, so that those without any cost no
/// statement.
class Taskmill_AddedFields
{
public:
    /// Names and values.
    using Fields = QMap<QString, QString>;

    [[nodiscard]] static QString TableName();
    [[nodiscard]] static QStringList ColumnNames();

    [[nodiscard]] bool Has(const QSqlDatabase &connection, Taskmill_FieldOwner owner, qint32 ownerID);
    /// The numbers of those that have fields.
    [[nodiscard]] QSet<qint32> OwnersOf(const QSqlDatabase &connection, Taskmill_FieldOwner owner)
    {
        return Owners(connection, owner);
    }
    /// The fields of all owners of the kind whose numbers the query gives.
    [[nodiscard]] QHash<qint32, Fields> Read(const QSqlDatabase &connection, Taskmill_FieldOwner owner,
                                             const QString &ownerIDs);
    /// Makes these the only fields of the owner.
    [[nodiscard]] bool Set(const QSqlDatabase &connection, Taskmill_FieldOwner owner, qint32 ownerID,
                           const Fields &fields);
    /// Makes that one field another one, and leaves the others; without a value there is none.
    [[nodiscard]] bool SetOne(const QSqlDatabase &connection, Taskmill_FieldOwner owner, qint32 ownerID,
                              const QString &name, const QString &value);
    [[nodiscard]] bool Remove(const QSqlDatabase &connection, Taskmill_FieldOwner owner,
                              const QList<qint32> &ownerIDs);
    /// Removes the fields of all owners of the kind but those whose numbers the query gives.
    [[nodiscard]] bool RemoveOthers(const QSqlDatabase &connection, Taskmill_FieldOwner owner,
                                    const QString &ownerIDs);

    /// Whether the table is there: a project without such fields has none.
    [[nodiscard]] bool Exists(const QSqlDatabase &connection);

    /// Everything that is remembered, because the content may be another one or the connection ends.
    void Forget();

private:
    bool Create(const QSqlDatabase &connection);
    bool RunPrepared(const QSqlDatabase &connection, const QString &statement, const QVariantList &values);
    QSet<qint32> &Owners(const QSqlDatabase &connection, Taskmill_FieldOwner owner);

    Taskmill_DatabaseStatements m_statements;
    std::optional<bool> m_exists;                      ///< nothing while it has to be looked up
    QHash<Taskmill_FieldOwner, QSet<qint32>> m_owners; ///< of the kinds that were asked for
};
