// SPDX-License-Identifier: MIT
#include "db/databasecopy.h"

#include "db/databasecheck.h"
#include "db/databasefile.h"
#include "kilnutil/logging.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

#include <memory>

#include <sqlite3.h>

using namespace Qt::Literals::StringLiterals;

namespace {

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

int Load(sqlite3 *database, const QString &path, QString &reason)
{
    // A device or a pipe could block for ever.
    const QFileInfo file{path};
    if (!file.isFile())
        return SQLITE_CANTOPEN;
    FileDatabase source;
    int result = OpenFile(file.absoluteFilePath(), SQLITE_OPEN_READONLY, source);
    if (result == SQLITE_OK)
        result = Taskmill_CheckDatabaseFile(source.get(), file.absoluteFilePath(), reason);
    return result == SQLITE_OK ? CopyContent(source.get(), database) : result;
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
        // They belong to the content that is gone; SQLite would apply them to the new one.
        for (const auto suffix : {"-journal"_L1, "-wal"_L1, "-shm"_L1})
            QFile::remove(m_target + suffix);
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

int Save(sqlite3 *database, const QString &path)
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
    // The new file needs no journal: it is thrown away whenever something fails.
    if (result == SQLITE_OK)
        result = sqlite3_exec(copy.get(), "PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF", nullptr,
                              nullptr, nullptr);
    if (result == SQLITE_OK)
        result = CopyContent(database, copy.get());
    // A database that was loaded from a file in write-ahead mode still has that mark.
    if (result == SQLITE_OK)
        result = sqlite3_exec(copy.get(), "PRAGMA journal_mode = DELETE", nullptr, nullptr, nullptr);
    copy.reset();
    if (result == SQLITE_OK && !newFile.TakePlace())
        result = SQLITE_IOERR;
    return result;
}

} // namespace

int LoadOrSaveDb(sqlite3 *database, const char *fileName, int isSave, QString *reason)
{
    const QString path = QString::fromUtf8(fileName);
    if (path.isEmpty())
        return SQLITE_CANTOPEN;
    QString problem;
    const int result = isSave ? Save(database, path) : Load(database, path, problem);
    if (result != SQLITE_OK)
        // Whoever wanted it reports it to the user.
        qCInfo(Taskmill_DBLog, "Cannot %s %s: %s. %ls", isSave ? "save" : "load", fileName,
               sqlite3_errstr(result), qUtf16Printable(problem));
    if (reason)
        *reason = problem;
    return result;
}
