// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

class KilnUtil_Database_Foundation;

/// One transaction of a database, as long as the object lives: what was not committed by then is undone.
class KilnUtil_Database_Transaction
{
public:
    /// Begins the transaction, or joins the one that was left open; see HasBegun(). The database outlives it.
    explicit KilnUtil_Database_Transaction(KilnUtil_Database_Foundation &database);
    /// Rolls back unless Commit() or LeaveOpen() was called.
    ~KilnUtil_Database_Transaction();
    Q_DISABLE_COPY_MOVE(KilnUtil_Database_Transaction)

    /// False when the database is not open or refuses; nothing is to be written then.
    [[nodiscard]] bool HasBegun() const { return m_hasBegun; }
    /// Ends the transaction and counts as a change; false when all of it is undone instead.
    [[nodiscard]] bool Commit();
    /// What was written stays uncommitted, for a later transaction to join.
    void LeaveOpen() { m_isOpen = false; }

private:
    KilnUtil_Database_Foundation &m_database;
    const bool m_hasBegun;
    bool m_isOpen; ///< to be rolled back at the end
};
