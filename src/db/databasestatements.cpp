// SPDX-License-Identifier: MIT
#include "db/databasestatements.h"

#include <utility>

QSqlQuery *Taskmill_DatabaseStatements::Find(const QSqlDatabase &connection, const QString &name,
                                             const TextMaker &makeText)
{
    const auto known = m_statements.find(name);
    if (known != m_statements.end())
        return &known->second;
    QSqlQuery statement{connection};
    statement.setForwardOnly(true);
    if (!statement.prepare(makeText()))
        return nullptr;
    return &m_statements.emplace(name, std::move(statement)).first->second;
}

QSqlQuery *Taskmill_DatabaseStatements::Find(const QSqlDatabase &connection, const QString &text)
{
    return Find(connection, text, [&text] { return text; });
}

bool Taskmill_DatabaseStatements::Run(QSqlQuery &statement, const QVariantList &values)
{
    for (int position = 0; position < values.size(); ++position)
        statement.bindValue(position, values[position]);
    return statement.exec();
}

std::optional<qint64> Taskmill_DatabaseStatements::FirstInteger(QSqlQuery &statement,
                                                                const QVariantList &values)
{
    bool isNumber = false;
    qint64 value = 0;
    if (Run(statement, values) && statement.next())
        value = statement.value(0).toLongLong(&isNumber);
    statement.finish();
    return isNumber ? std::optional{value} : std::nullopt;
}
