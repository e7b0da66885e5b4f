// SPDX-License-Identifier: MIT
#include "kilnutil/database_foundation.h"

#include "kilnutil/logging.h"

#include <QFileInfo>
#include <QSqlDriver>
#include <QSqlError>
#include <QSqlQuery>

#include <atomic>
#include <utility>

#include <sqlite3.h>

using namespace Qt::Literals::StringLiterals;

namespace {

QString NewConnectionName()
{
    static std::atomic<int> count = 0;
    return u"KilnUtil_Database_%1"_s.arg(++count);
}

/// nullptr of another driver.
sqlite3 *SQLiteOf(const QSqlDriver *driver)
{
    const QVariant handle = driver->handle();
    if (!handle.isValid() || qstrcmp(handle.typeName(), "sqlite3*") != 0)
        return nullptr;
    return *static_cast<sqlite3 *const *>(handle.constData());
}

} // namespace

QString KilnUtil_SQLEscape(const QString &text)
{
    return QString{text}.replace(u'\'', "''"_L1);
}

KilnUtil_Database_Foundation::UntrackedScope::UntrackedScope(KilnUtil_Database_Foundation &database)
    : m_database{database}
    , m_before{std::exchange(database.m_tracksChanges, false)}
{
}

KilnUtil_Database_Foundation::UntrackedScope::~UntrackedScope()
{
    m_database.m_tracksChanges = m_before;
}

KilnUtil_Database_Foundation::KilnUtil_Database_Foundation(DatabaseTypeEnum kind, const QString &name,
                                                           const QString &driverName, const QString &host,
                                                           const QString &userName, const QString &password,
                                                           const QString &description,
                                                           const QString &objectName)
    : m_kind{kind}
    , m_name{name}
    , m_driverName{driverName}
    , m_host{host}
    , m_userName{userName}
    , m_password{password}
    , m_description{description}
{
    setObjectName(objectName);
}

KilnUtil_Database_Foundation::~KilnUtil_Database_Foundation()
{
    KilnUtil_Database_Foundation::Close();
}

KilnUtil_Database_Foundation::DatabaseTypeEnum KilnUtil_Database_Foundation::Kind() const
{
    return m_kind;
}

QString KilnUtil_Database_Foundation::Name() const
{
    return m_name;
}

QString KilnUtil_Database_Foundation::Description() const
{
    return m_description;
}

QString KilnUtil_Database_Foundation::FilePath() const
{
    return m_filePath;
}

void KilnUtil_Database_Foundation::SetFilePath(const QString &filePath)
{
    if (m_filePath == filePath)
        return;
    m_filePath = filePath;
    Q_EMIT StateChangedSignal();
}

QString KilnUtil_Database_Foundation::Title() const
{
    return QFileInfo{m_filePath}.fileName();
}

bool KilnUtil_Database_Foundation::HasUnsavedChanges() const
{
    return m_hasUnsavedChanges;
}

void KilnUtil_Database_Foundation::MarkUnchanged()
{
    SetHasUnsavedChanges(false);
}

void KilnUtil_Database_Foundation::MarkChanged()
{
    SetHasUnsavedChanges(true);
}

void KilnUtil_Database_Foundation::SetHasUnsavedChanges(bool hasUnsavedChanges)
{
    if (m_hasUnsavedChanges == hasUnsavedChanges)
        return;
    m_hasUnsavedChanges = hasUnsavedChanges;
    Q_EMIT StateChangedSignal();
}

bool KilnUtil_Database_Foundation::Open()
{
    if (IsOpen())
        return true;
    if (!m_connection.isValid()) {
        // Asked first because making a connection of a missing driver warns by itself.
        if (!QSqlDatabase::isDriverAvailable(m_driverName)) {
            m_lastErrorMessage = u"The database driver %1 is not installed"_s.arg(m_driverName);
            qCWarning(KilnUtil_UtilLog, "%ls", qUtf16Printable(m_lastErrorMessage));
            return false;
        }
        m_connectionName = NewConnectionName();
        m_connection = QSqlDatabase::addDatabase(m_driverName, m_connectionName);
        const QString memory = m_storagePath.isEmpty() ? u":memory:"_s : m_storagePath;
        m_connection.setDatabaseName(m_kind == SQLiteMemory ? memory : m_name);
        m_connection.setHostName(m_host);
        m_connection.setUserName(m_userName);
        m_connection.setPassword(m_password);
    }
    if (m_connection.open()) {
        if (PrepareConnection())
            return true;
        m_connection.close();
    } else {
        SetLastError(m_connection.lastError());
    }
    qCWarning(KilnUtil_UtilLog, "Cannot open %ls: %ls", qUtf16Printable(m_description),
              qUtf16Printable(m_lastErrorMessage));
    return false;
}

bool KilnUtil_Database_Foundation::IsOpen() const
{
    return m_connection.isOpen();
}

void KilnUtil_Database_Foundation::Close()
{
    if (!m_connection.isValid())
        return;
    m_connection.close();
    // The last copy must be gone before the connection is removed.
    m_connection = QSqlDatabase{};
    QSqlDatabase::removeDatabase(m_connectionName);
}

bool KilnUtil_Database_Foundation::BeginTransaction()
{
    if (!IsOpen())
        return false;
    sqlite3 *sqlite = SQLiteOf(m_connection.driver());
    if (sqlite && sqlite3_get_autocommit(sqlite) == 0)
        return true;
    return sqlite ? RunSQLite("BEGIN") : Take(m_connection.transaction());
}

bool KilnUtil_Database_Foundation::Commit()
{
    const bool isCommitted =
        SQLiteOf(m_connection.driver()) ? RunSQLite("COMMIT") : Take(m_connection.commit());
    if (!isCommitted) {
        Rollback();
        return false;
    }
    if (m_tracksChanges)
        SetHasUnsavedChanges(true);
    return true;
}

/// Each start of a job waits for two of these, which take Qt's driver several times as long.
bool KilnUtil_Database_Foundation::RunSQLite(const char *statement)
{
    sqlite3 *sqlite = SQLiteOf(m_connection.driver());
    if (sqlite3_exec(sqlite, statement, nullptr, nullptr, nullptr) == SQLITE_OK)
        return true;
    m_lastErrorMessage = QString::fromUtf8(sqlite3_errmsg(sqlite));
    return false;
}

bool KilnUtil_Database_Foundation::Take(bool isDone)
{
    if (!isDone)
        SetLastError(m_connection.lastError());
    return isDone;
}

void KilnUtil_Database_Foundation::Rollback()
{
    m_connection.rollback();
}

QString KilnUtil_Database_Foundation::LastErrorMessage() const
{
    return m_lastErrorMessage;
}

QSqlDriver *KilnUtil_Database_Foundation::Driver() const
{
    return m_connection.isValid() ? m_connection.driver() : nullptr;
}

const QSqlDatabase &KilnUtil_Database_Foundation::Connection() const
{
    return m_connection;
}

bool KilnUtil_Database_Foundation::Execute(const QString &statement)
{
    QSqlQuery query{m_connection};
    if (query.exec(statement))
        return true;
    SetLastError(query.lastError());
    return false;
}

void KilnUtil_Database_Foundation::SetLastError(const QSqlError &error)
{
    m_lastErrorMessage = error.text();
}
