// SPDX-License-Identifier: MIT
#include "kilnutil/database_transaction.h"

#include "kilnutil/database_foundation.h"

KilnUtil_Database_Transaction::KilnUtil_Database_Transaction(KilnUtil_Database_Foundation &database)
    : m_database{database}
    , m_hasBegun{database.BeginTransaction()}
    , m_isOpen{m_hasBegun}
{
}

KilnUtil_Database_Transaction::~KilnUtil_Database_Transaction()
{
    // Left open, it would make every later write and save fail.
    if (m_isOpen)
        m_database.Rollback();
}

bool KilnUtil_Database_Transaction::Commit()
{
    m_isOpen = false;
    return m_hasBegun && m_database.Commit();
}
