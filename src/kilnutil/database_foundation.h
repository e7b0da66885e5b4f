// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QSqlDatabase>
#include <QString>

class QSqlDriver;
class QSqlError;

/// The text with every single quote doubled, to stand between single quotes in a statement.
[[nodiscard]] QString KilnUtil_SQLEscape(const QString &text);

/// Base of a database object: one connection, opened on demand, its transactions, and whether it holds
/// changes that its file does not have.
class KilnUtil_Database_Foundation : public QObject
{
    Q_OBJECT

public:
    enum DatabaseTypeEnum
    {
        SQLiteMemory = 0,
        SQLiteFile = 1,
        MySQL = 2,
        PostgreSQL = 3
    };

    /// Makes no connection yet. `description` is the text such as "Connection to SQLite memory database:  <no
    /// name>".
    KilnUtil_Database_Foundation(DatabaseTypeEnum kind, const QString &name, const QString &driverName,
                                 const QString &host, const QString &userName, const QString &password,
                                 const QString &description, const QString &objectName);
    ~KilnUtil_Database_Foundation() override;
    Q_DISABLE_COPY_MOVE(KilnUtil_Database_Foundation)

    [[nodiscard]] DatabaseTypeEnum Kind() const;
    [[nodiscard]] QString Name() const;
    [[nodiscard]] QString Description() const;

    /// The project file this database was loaded from or saved to; empty for one never saved.
    [[nodiscard]] QString FilePath() const;
    void SetFilePath(const QString &filePath);
    /// File name of the project file; empty when there is none.
    [[nodiscard]] QString Title() const;

    /// True after any committed change since MarkUnchanged(), and after MarkChanged().
    [[nodiscard]] bool HasUnsavedChanges() const;
    void MarkUnchanged();
    void MarkChanged();

    /// Keeps the content of an in-memory database in this file instead, which is for this object alone. To be
    /// called before it is opened.
    void SetStoragePath(const QString &path) { m_storagePath = path; }
    /// Empty when the content is in memory.
    [[nodiscard]] QString StoragePath() const { return m_storagePath; }

    /// Makes sure the connection is open; creates no tables. False when the driver is missing or the open
    /// fails.
    bool Open();
    [[nodiscard]] bool IsOpen() const;
    /// Closes the connection and forgets it; a later Open() makes a new one. All queries and models on the
    /// connection must be gone.
    virtual void Close();

    /// Text of the last error of the connection or of a statement run on it.
    [[nodiscard]] QString LastErrorMessage() const;
    /// The connection's driver; nullptr while it was never opened.
    [[nodiscard]] QSqlDriver *Driver() const;

    virtual bool InitializeTables() = 0;
    virtual bool CreateTables() = 0;
    virtual bool UpgradeTables() = 0;

Q_SIGNALS:
    /// HasUnsavedChanges(), FilePath() or Title() have another value.
    void StateChangedSignal();

protected:
    /// While it lives, Commit() does not count as a change: creating, upgrading and loading are none.
    class UntrackedScope
    {
    public:
        explicit UntrackedScope(KilnUtil_Database_Foundation &database);
        ~UntrackedScope();
        Q_DISABLE_COPY_MOVE(UntrackedScope)

    private:
        KilnUtil_Database_Foundation &m_database;
        bool m_before;
    };

    [[nodiscard]] const QSqlDatabase &Connection() const;
    [[nodiscard]] bool TracksChanges() const { return m_tracksChanges; }
    /// Called when the connection has been opened; false closes it again.
    [[nodiscard]] virtual bool PrepareConnection() { return true; }
    /// Runs one statement that returns no rows; on failure keeps the error for LastErrorMessage().
    bool Execute(const QString &statement);
    /// Gives up whatever transaction is open.
    void Rollback();
    void SetLastError(const QSqlError &error);

private:
    friend class KilnUtil_Database_Transaction;

    /// Begins a transaction, or joins the one that an earlier failure left open on an SQLite connection.
    bool BeginTransaction();
    /// Ends the transaction and counts as a change, even of nothing; a failed commit is rolled back.
    bool Commit();
    void SetHasUnsavedChanges(bool hasUnsavedChanges);

    [[nodiscard]] bool RunSQLite(const char *statement);
    /// Whether that was done; else the connection says why not.
    [[nodiscard]] bool Take(bool isDone);

    DatabaseTypeEnum m_kind;
    QString m_name;
    QString m_driverName;
    QString m_host;
    QString m_userName;
    QString m_password;
    QString m_description;
    QString m_filePath;
    QString m_storagePath;
    QString m_connectionName; ///< unique for each connection that was ever opened
    QSqlDatabase m_connection;
    QString m_lastErrorMessage;
    bool m_hasUnsavedChanges = false;
    bool m_tracksChanges = true;
};
