// SPDX-License-Identifier: MIT
#pragma once

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>
#include <QVariantList>

#include <functional>
#include <optional>
#include <unordered_map>

/// The statements that a connection runs again and again, each prepared once. All of them must be gone before
/// the connection is.
class Taskmill_DatabaseStatements
{
public:
    using TextMaker = std::function<QString()>;

    /// The statement of that name; `makeText` returns its text when it is not prepared yet. nullptr when it
    /// cannot be prepared.
    [[nodiscard]] QSqlQuery *Find(const QSqlDatabase &connection, const QString &name,
                                  const TextMaker &makeText);
    /// The statement whose text also serves as its name.
    [[nodiscard]] QSqlQuery *Find(const QSqlDatabase &connection, const QString &text);
    void Clear() { m_statements.clear(); }

    /// Runs the statement with the values bound in order.
    static bool Run(QSqlQuery &statement, const QVariantList &values);
    /// The first value of the first row; nothing when there is no row or it is no number. The statement is
    /// not at work any more afterwards.
    [[nodiscard]] static std::optional<qint64> FirstInteger(QSqlQuery &statement, const QVariantList &values);

private:
    std::unordered_map<QString, QSqlQuery> m_statements;
};
