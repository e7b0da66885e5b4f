// SPDX-License-Identifier: MIT
#include "db/databasecopy.h"

#include "db/contentstamp.h"
#include "db/databasecheck.h"
#include "db/databasefile.h"
#include "kilnutil/database_foundation.h"
#include "kilnutil/logging.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

#include <future>
#include <limits>
#include <memory>

#include <sqlite3.h>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto ownerOnly = QFileDevice::ReadOwner | QFileDevice::WriteOwner;

// For a file that is thrown away whenever something fails.
const QString writeAtOnce = u"PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF"_s;

struct CloseDatabase
{
    void operator()(sqlite3 *database) const { sqlite3_close(database); }
};
using FileDatabase = std::unique_ptr<sqlite3, CloseDatabase>;

int OpenFile(const QString &path, int flags, FileDatabase &database)
{
    sqlite3 *opened = nullptr;
    // The path is absolute, so that no name is taken for a URI.
    const int result = sqlite3_open_v2(path.toUtf8().constData(), &opened, flags, nullptr);
    database.reset(opened);
    return result;
}

int CopyContent(sqlite3 *from, sqlite3 *to)
{
    sqlite3_backup *backup = sqlite3_backup_init(to, "main", from, "main");
    if (!backup)
        return sqlite3_errcode(to);
    const int result = sqlite3_backup_step(backup, -1);
    const int finished = sqlite3_backup_finish(backup);
    if (result == SQLITE_DONE)
        return finished;
    return finished == SQLITE_OK ? result : finished;
}

int Execute(sqlite3 *database, const QString &statements)
{
    return sqlite3_exec(database, statements.toUtf8().constData(), nullptr, nullptr, nullptr);
}

/// "DROP TABLE ..." and "DROP INDEX ..." for what a working copy knows beside its project.
int DropsOfWorkingCopy(sqlite3 *database, QString &statements)
{
    const auto append = [](void *text, int, char **values, char **) {
        *static_cast<QString *>(text) += QString::fromUtf8(values[0]) + u';';
        return 0;
    };
    return sqlite3_exec(database,
                        "SELECT 'DROP ' || type || ' \"' || name || '\"' FROM sqlite_master "
                        "WHERE name GLOB 'WorkingCopy*' AND sql IS NOT NULL ORDER BY type",
                        append, &statements, nullptr);
}

/// What comes from a database in write-ahead mode still has that mark, and the file system of a project need
/// not be fit for that mode.
bool LeaveWriteAheadMode(const QString &path)
{
    constexpr qint64 versionsInHeader = 18;
    QFile file{path};
    return file.open(QIODevice::ReadWrite) && file.seek(versionsInHeader) &&
           file.write(QByteArrayLiteral("\1\1")) == 2 && file.flush();
}

/// Leaves of a copy what a project file is to hold.
int MakeProjectFile(const QString &path)
{
    if (!LeaveWriteAheadMode(path))
        return SQLITE_IOERR;
    FileDatabase copy;
    int result = OpenFile(path, SQLITE_OPEN_READWRITE, copy);
    if (result == SQLITE_OK)
        result = Execute(copy.get(), writeAtOnce);
    // The number tells two savings from each other; 0 is what a file of another program has.
    QString statements = u"PRAGMA secure_delete = ON; BEGIN; PRAGMA user_version = %1;"_s.arg(
        QRandomGenerator::global()->bounded(1, std::numeric_limits<int>::max()));
    if (result == SQLITE_OK)
        result = DropsOfWorkingCopy(copy.get(), statements);
    return result == SQLITE_OK ? Execute(copy.get(), statements + u"COMMIT"_s) : result;
}

/// Opens a file and leaves it in a read transaction if it may be loaded.
int OpenChecked(const QString &path, FileDatabase &source, QString &reason,
                const std::function<void()> &beforePages = {})
{
    // A device or a pipe could block for ever.
    const QFileInfo file{path};
    if (!file.isFile())
        return SQLITE_CANTOPEN;
    const int result = OpenFile(file.absoluteFilePath(), SQLITE_OPEN_READONLY, source);
    return result == SQLITE_OK
               ? Taskmill_CheckDatabaseFile(source.get(), file.absoluteFilePath(), reason, beforePages)
               : result;
}

int Load(sqlite3 *database, const QString &path, QString &reason)
{
    FileDatabase source;
    const int result = OpenChecked(path, source, reason);
    return result == SQLITE_OK ? CopyContent(source.get(), database) : result;
}

/// Copies the bytes of a file on a thread of its own, without waiting until they are on the disk.
class BackgroundCopy
{
public:
    BackgroundCopy(const QString &path, const QString &newFile)
        : m_from{path}
        , m_newFile{newFile}
    {
    }

    void Start()
    {
        m_copies = std::async(std::launch::async, [this] { return Copy(); });
    }
    [[nodiscard]] bool IsStarted() const { return m_copies.valid(); }
    bool Wait() { return m_copies.get(); }

private:
    bool Copy()
    {
        QFile newFile{m_newFile};
        if (!m_from.open(QIODevice::ReadOnly | QIODevice::Unbuffered) ||
            !newFile.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered, ownerOnly))
            return false;
        constexpr qsizetype blockSize = 1 << 20;
        QByteArray block{blockSize, Qt::Uninitialized};
        qint64 size = 0;
        while ((size = m_from.read(block.data(), blockSize)) > 0) {
            if (newFile.write(block.constData(), size) != size)
                return false;
        }
        newFile.close();
        return size == 0 && newFile.error() == QFileDevice::NoError;
    }

    /// Open as long as this lives: closing it would give up the lock that keeps others from changing the
    /// file.
    QFile m_from;
    const QString m_newFile;
    std::future<bool> m_copies;
};

/// The same into a new file.
int LoadIntoFile(const QString &newFile, const QString &path, QString &reason)
{
    // Checking every page of a large file takes longer than copying it. What stands in a log beside the file
    // is not in its bytes.
    BackgroundCopy bytes{path, newFile};
    FileDatabase source;
    int result = OpenChecked(path, source, reason, [&] {
        if (QFileInfo{path + u"-wal"_s}.size() == 0)
            bytes.Start();
    });
    if (bytes.IsStarted()) {
        const bool isCopied = bytes.Wait();
        if (result == SQLITE_OK && isCopied)
            return SQLITE_OK;
        QFile::remove(newFile);
        return result == SQLITE_OK ? SQLITE_FULL : result;
    }
    if (result != SQLITE_OK)
        return result;
    FileDatabase copy;
    result = OpenFile(newFile, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, copy);
    if (result == SQLITE_OK)
        result = Execute(copy.get(), writeAtOnce);
    if (result == SQLITE_OK)
        result = CopyContent(source.get(), copy.get());
    copy.reset();
    return result == SQLITE_OK && !QFile::setPermissions(newFile, ownerOnly) ? SQLITE_PERM : result;
}

/// Removes SQLite's files beside a database: they belong to content that is gone, and SQLite would apply them
/// to the new one.
void RemoveFilesBeside(const QString &path)
{
    for (const auto suffix : {"-journal"_L1, "-wal"_L1, "-shm"_L1})
        QFile::remove(path + suffix);
}

/// A new file beside the target, removed again unless it takes the target's place.
class NewFile
{
public:
    explicit NewFile(const QString &target)
        : m_target{target}
    {
    }

    ~NewFile()
    {
        if (!m_path.isEmpty())
            QFile::remove(m_path);
    }

    Q_DISABLE_COPY_MOVE(NewFile)

    bool Create()
    {
        const QDir directory = QFileInfo{m_target}.dir();
        RemoveLeftovers(directory);
        for (int attempt = 0; attempt < 100; ++attempt) {
            const quint64 number = QRandomGenerator::global()->generate64();
            const QString path =
                directory.filePath(u".taskmill-%1.saving"_s.arg(number, 16, 16, QChar{u'0'}));
            QFile file{path};
            // Nobody may read the content meanwhile who may not read the target.
            const bool created = QFile::exists(m_target)
                                     ? file.open(QIODevice::WriteOnly | QIODevice::NewOnly,
                                                 QFileDevice::ReadOwner | QFileDevice::WriteOwner)
                                     : file.open(QIODevice::WriteOnly | QIODevice::NewOnly);
            if (created) {
                m_path = path;
                return true;
            }
            if (!QFile::exists(path))
                return false;
        }
        return false;
    }

    [[nodiscard]] QString Path() const { return m_path; }

    bool TakePlace()
    {
        if (!Taskmill_SyncFile(m_path) ||
            (QFile::exists(m_target) && !Taskmill_TakeOverPermissions(m_path, m_target)) ||
            !Taskmill_ReplaceFile(m_path, m_target))
            return false;
        m_path.clear();
        RemoveFilesBeside(m_target);
        return true;
    }

private:
    // A process that was killed while saving leaves its file behind.
    static void RemoveLeftovers(const QDir &directory)
    {
        const QDateTime longAgo = QDateTime::currentDateTime().addSecs(-3600);
        const auto leftovers = directory.entryInfoList({u".taskmill-*.saving*"_s},
                                                       QDir::Files | QDir::Hidden | QDir::NoSymLinks);
        for (const QFileInfo &leftover : leftovers) {
            if (leftover.lastModified() < longAgo)
                QFile::remove(leftover.filePath());
        }
    }

    QString m_target;
    QString m_path;
};

// The file that the name leads to; empty for links in a circle.
QString FollowLinks(const QString &path)
{
    QFileInfo file{path};
    for (int links = 0; links < 40; ++links) {
        if (!file.isSymbolicLink())
            return file.absoluteFilePath();
        file.setFile(file.symLinkTarget());
    }
    return {};
}

int Save(sqlite3 *database, const QString &path,
         const std::function<bool(const QString &stamp)> &beforeReplacing)
{
    const QString target = FollowLinks(path);
    const QFileInfo before{target};
    if (target.isEmpty() || (before.exists() && !before.isFile()))
        return SQLITE_CANTOPEN;
    if (before.exists() && !before.isWritable())
        return SQLITE_READONLY;

    NewFile newFile{target};
    if (!newFile.Create())
        return SQLITE_CANTOPEN;
    FileDatabase copy;
    int result = OpenFile(newFile.Path(), SQLITE_OPEN_READWRITE, copy);
    if (result == SQLITE_OK)
        result = Execute(copy.get(), writeAtOnce);
    if (result == SQLITE_OK)
        result = CopyContent(database, copy.get());
    copy.reset();
    if (result == SQLITE_OK)
        result = MakeProjectFile(newFile.Path());
    if (result == SQLITE_OK && beforeReplacing && !beforeReplacing(Taskmill_ContentStamp(newFile.Path())))
        result = SQLITE_ABORT;
    if (result == SQLITE_OK && !newFile.TakePlace())
        result = SQLITE_IOERR;
    return result;
}

int Report(int result, bool isSave, const QString &path, const QString &problem, QString *reason)
{
    if (result != SQLITE_OK)
        // The caller reports the failure to the user.
        qCInfo(Taskmill_DBLog, "Cannot %s %ls: %s. %ls", isSave ? "save" : "load", qUtf16Printable(path),
               sqlite3_errstr(result), qUtf16Printable(problem));
    if (reason)
        *reason = problem;
    return result;
}
} // namespace

int LoadOrSaveDb(sqlite3 *database, const char *fileName, int isSave, QString *reason,
                 const std::function<bool(const QString &stamp)> &beforeReplacing)
{
    const QString path = QString::fromUtf8(fileName);
    if (path.isEmpty())
        return SQLITE_CANTOPEN;
    QString problem;
    const int result = isSave ? Save(database, path, beforeReplacing) : Load(database, path, problem);
    return Report(result, isSave != 0, path, problem, reason);
}

int Taskmill_CopyIntoFile(const QString &fileName, const QString &newFile, QString *reason)
{
    RemoveFilesBeside(newFile);
    QFile::remove(newFile);
    QString problem;
    const int result = LoadIntoFile(newFile, fileName, problem);
    return Report(result, false, fileName, problem, reason);
}

bool Taskmill_ForgetRunsInFile(const QString &fileName, const QStringList &runs)
{
    FileDatabase file;
    if (OpenFile(fileName, SQLITE_OPEN_READWRITE, file) != SQLITE_OK)
        return false;
    QStringList texts;
    for (const QString &run : runs)
        texts += u'\'' + KilnUtil_SQLEscape(run) + u'\'';
    return Execute(file.get(),
                   u"DELETE FROM AddedFields WHERE Owner = 'job' AND Name = 'Run' AND Value IN (%1)"_s.arg(
                       texts.join(u','))) == SQLITE_OK;
}

int Taskmill_CheckWorkingCopy(const QString &path)
{
    FileDatabase copy;
    QString reason;
    const int result = OpenFile(path, SQLITE_OPEN_READWRITE, copy);
    return result == SQLITE_OK ? Taskmill_CheckDatabaseFile(copy.get(), path, reason) : result;
}
