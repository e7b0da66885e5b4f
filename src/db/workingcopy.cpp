// SPDX-License-Identifier: MIT
#include "db/workingcopy.h"

#include "db/databasefile.h"
#include "kilnutil/logging.h"
#include "kilnutil/statefolder.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QSet>
#include <QThread>

#include <algorithm>
#include <array>

#include <sqlite3.h>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr auto prefix = "work-"_L1;
constexpr std::array databaseSuffixes{".db"_L1, ".db-wal"_L1, ".db-shm"_L1, ".db-journal"_L1};

QString RandomName()
{
    return u"%1"_s.arg(QRandomGenerator::system()->generate64(), 16, 16, QChar{u'0'});
}

bool WorksInWriteAheadMode(const QString &path)
{
    sqlite3 *database = nullptr;
    bool works = sqlite3_open_v2(path.toUtf8().constData(), &database,
                                 SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr) == SQLITE_OK &&
                 sqlite3_exec(database,
                              "PRAGMA synchronous = OFF; PRAGMA journal_mode = WAL; BEGIN IMMEDIATE; "
                              "CREATE TABLE WorkingCopy (Name TEXT); COMMIT",
                              nullptr, nullptr, nullptr) == SQLITE_OK;
    // The mode stays another where the file system is not fit for this one.
    works = works && QFile::exists(path + u"-wal"_s);
    sqlite3_close(database);
    return works;
}

/// Whether the folder, once it is made, takes working copies. It is tried until it does: a disk may be full.
bool IsFit(const QString &folder)
{
    static QSet<QString> fitFolders;
    if (!KilnUtil_MakeMachineFolder(folder))
        return false;
    if (fitFolders.contains(folder))
        return true;
    const QString base = folder + u"/try-"_s + RandomName();
    const bool isFit =
        KilnUtil_FileLock{base + u".lock"_s}.IsHeld() && WorksInWriteAheadMode(base + u".db"_s);
    for (const QLatin1StringView suffix : databaseSuffixes)
        QFile::remove(base + suffix);
    QFile::remove(base + u".lock"_s);
    if (isFit)
        fitFolders.insert(folder);
    else
        qCWarning(Taskmill_DBLog, "No working copy can be kept in %ls", qUtf16Printable(folder));
    return isFit;
}

QString FitFolder()
{
    const QStringList folders = KilnUtil_MachineFolderPaths();
    const auto folder = std::ranges::find_if(folders, IsFit);
    return folder == folders.end() ? QString{} : *folder;
}

QByteArray ProcessNote(const QString &text)
{
    return QByteArray::number(QCoreApplication::applicationPid()) + '\n' + text.toUtf8() + '\n';
}

/// One name for a file that has several, whether it is there yet or not.
QString CanonicalPath(const QString &path)
{
    const QFileInfo file{path};
    const QString canonical = file.canonicalFilePath();
    return Taskmill_FoldedName(
        canonical.isEmpty()
            ? QDir{QFileInfo{file.absolutePath()}.canonicalFilePath()}.filePath(file.fileName())
            : canonical);
}
} // namespace

Taskmill_WorkingCopy::Taskmill_WorkingCopy(const QString &base)
    : m_base{base}
    , m_lock{base + u".lock"_s}
{
    if (m_lock.IsHeld())
        ReadNote();
}

Taskmill_WorkingCopy::~Taskmill_WorkingCopy()
{
    if (m_lock.IsHeld() && !m_isNoted)
        Remove();
}

std::unique_ptr<Taskmill_WorkingCopy> Taskmill_WorkingCopy::Make()
{
    const QString folder = FitFolder();
    if (folder.isEmpty())
        return nullptr;
    std::unique_ptr<Taskmill_WorkingCopy> copy{
        new Taskmill_WorkingCopy{folder + u'/' + prefix + RandomName()}};
    QFile file{copy->Path()};
    // SQLite gives what it puts beside it the same rights.
    const bool isMade = copy->m_lock.IsHeld() && file.open(QIODevice::WriteOnly | QIODevice::NewOnly,
                                                           QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    return isMade ? std::move(copy) : nullptr;
}

std::vector<std::unique_ptr<KilnUtil_FileLock>> Taskmill_WorkingCopy::LockSearch()
{
    constexpr int longestWaitMs = 5000;
    constexpr int pauseMs = 5;
    std::vector<std::unique_ptr<KilnUtil_FileLock>> locks;
    const QDeadlineTimer deadline{longestWaitMs};
    // Always in the same order, so that two managers do not wait for each other.
    for (const QString &folder : KilnUtil_MachineFolderPaths()) {
        if (!KilnUtil_IsMachineFolder(folder))
            continue;
        auto lock = std::make_unique<KilnUtil_FileLock>(folder + u"/search.lock"_s);
        while (lock->TakenState() == KilnUtil_FileLock::State::HeldElsewhere && !deadline.hasExpired()) {
            QThread::msleep(pauseMs);
            lock = std::make_unique<KilnUtil_FileLock>(folder + u"/search.lock"_s);
        }
        locks.push_back(std::move(lock));
    }
    return locks;
}

std::vector<std::unique_ptr<Taskmill_WorkingCopy>> Taskmill_WorkingCopy::TakeAbandoned()
{
    QSet<QString> bases;
    const QStringList folders = KilnUtil_MachineFolderPaths();
    for (const QString &folder : folders) {
        if (!KilnUtil_IsMachineFolder(folder))
            continue;
        const auto files =
            QDir{folder}.entryInfoList({prefix + u"*.db"_s, prefix + u"*.lock"_s}, QDir::Files);
        for (const QFileInfo &file : files)
            bases.insert(file.path() + u'/' + file.completeBaseName());
    }
    std::vector<std::unique_ptr<Taskmill_WorkingCopy>> abandoned;
    for (const QString &base : std::as_const(bases)) {
        std::unique_ptr<Taskmill_WorkingCopy> copy{new Taskmill_WorkingCopy{base}};
        // Without a note it was not complete, or there was no room for a note.
        if (copy->m_lock.IsHeld() && QFileInfo{copy->Path()}.size() > 0)
            abandoned.push_back(std::move(copy));
        else if (copy->m_lock.IsHeld() && copy->MayHoldChanges())
            qCWarning(Taskmill_DBLog, "A working copy without its beginning is kept as %ls",
                      qUtf16Printable(copy->SetAside()));
        else if (copy->m_lock.IsHeld())
            copy->Remove();
    }
    std::ranges::sort(abandoned, [](const auto &a, const auto &b) { return a->LastUsed() > b->LastUsed(); });
    return abandoned;
}

QDateTime Taskmill_WorkingCopy::LastUsed() const
{
    return std::max(QFileInfo{Path()}.lastModified(), QFileInfo{Path() + u"-wal"_s}.lastModified());
}

void Taskmill_WorkingCopy::Note(const QString &projectPath)
{
    m_isNoted = true;
    m_notedProject = projectPath;
    if (!m_lock.WriteNote(ProcessNote(projectPath)))
        qCWarning(Taskmill_DBLog, "Nothing can be noted beside %ls", qUtf16Printable(Path()));
}

void Taskmill_WorkingCopy::ReadNote()
{
    const QByteArray note = KilnUtil_FileLock::Note(m_base + u".lock"_s);
    const QByteArrayList lines = note.split('\n');
    // Both lines end in a line feed.
    m_isNoted = lines.size() > 2;
    m_notedProject = m_isNoted ? QString::fromUtf8(lines[1]) : QString{};
}

bool Taskmill_WorkingCopy::MayHoldChanges() const
{
    // No project file has such tables, and no log is there before they are made.
    const QByteArray mark = "CREATE TABLE WorkingCopy";
    constexpr qint64 blockSize = 1024L * 1024;
    if (QFileInfo{m_base + u".db-wal"_s}.size() > 0)
        return true;
    QFile file{Path()};
    if (!file.open(QIODevice::ReadOnly))
        return true;
    QByteArray end;
    for (QByteArray block = file.read(blockSize); !block.isEmpty(); block = file.read(blockSize)) {
        if ((end + block).contains(mark))
            return true;
        end = block.last(qMin(block.size(), mark.size()));
    }
    return file.error() != QFileDevice::NoError;
}

void Taskmill_WorkingCopy::Remove()
{
    for (const QLatin1StringView suffix : databaseSuffixes)
        QFile::remove(m_base + suffix);
    // Last: without it the files are nobody's.
    m_lock.Remove();
}

QString Taskmill_WorkingCopy::SetAside()
{
    const QFileInfo file{m_base};
    const QString name = u"damaged-"_s + file.fileName().sliced(prefix.size());
    QString aside = file.path() + u'/' + name;
    for (int number = 2; QFile::exists(aside + u".db"_s); ++number)
        aside = u"%1/%2-%3"_s.arg(file.path(), name, QString::number(number));
    // What stands in the log may be all that is sound.
    QFile::rename(m_base + u".db-wal"_s, aside + u".db-wal"_s);
    const bool renamed = QFile::rename(Path(), aside + u".db"_s);
    if (renamed)
        Remove();
    else
        LeaveInPlace();
    return renamed ? aside + u".db"_s : Path();
}

Taskmill_ProjectLock::Taskmill_ProjectLock(const QString &projectPath)
    : m_projectPath{CanonicalPath(projectPath)}
{
    const QString folder = FitFolder();
    if (folder.isEmpty())
        return;
    constexpr qsizetype digits = 16;
    const QByteArray hash = QCryptographicHash::hash(m_projectPath.toUtf8(), QCryptographicHash::Sha256);
    const QString name = u"/project-"_s + QString::fromLatin1(hash.toHex().first(digits)) + u".lock"_s;
    // The other manager may have had room where this one has none.
    const QStringList folders = KilnUtil_MachineFolderPaths();
    for (const QString &other : folders) {
        if (other == folder || !KilnUtil_IsMachineFolder(other) || !QFile::exists(other + name))
            continue;
        auto lock = std::make_unique<KilnUtil_FileLock>(other + name);
        if (lock->TakenState() != KilnUtil_FileLock::State::HeldElsewhere)
            continue;
        m_path = other + name;
        m_lock = std::move(lock);
        return;
    }
    m_path = folder + name;
    m_lock = std::make_unique<KilnUtil_FileLock>(m_path);
    m_lock->WriteNote(ProcessNote(m_projectPath));
}

Taskmill_ProjectLock::~Taskmill_ProjectLock()
{
    if (m_lock)
        m_lock->Remove();
}

bool Taskmill_ProjectLock::IsHeldElsewhere() const
{
    return m_lock && m_lock->TakenState() == KilnUtil_FileLock::State::HeldElsewhere;
}

QString Taskmill_ProjectLock::Holder() const
{
    const QByteArray number = KilnUtil_FileLock::Note(m_path).split('\n').first();
    return number.isEmpty() ? u"another process"_s : u"process "_s + QString::fromLatin1(number);
}

bool Taskmill_ProjectLock::IsOf(const QString &projectPath) const
{
    return CanonicalPath(projectPath) == m_projectPath;
}
