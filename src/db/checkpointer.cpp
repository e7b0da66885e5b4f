// SPDX-License-Identifier: MIT
#include "db/checkpointer.h"

#include "kilnutil/logging.h"
#include "kilnutil/threadstart.h"

#include <chrono>
#include <utility>

#include <sqlite3.h>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr std::chrono::milliseconds collecting{900};
/// So many do not wait so long: while the log is brought onto the disk, a commit that makes it longer may
/// have to wait, and it waits the longer the more there is.
constexpr qint64 mostCollected = 500;
/// In pages: the disk gets back what a longer one takes.
constexpr int longLog = 20'000;
/// So long nobody has to have written before the log is shortened: the next commit would wait for that.
constexpr std::chrono::seconds quietTime{1};

/// The base of the copy was written without waiting for the disk.
void SyncFile(sqlite3 *database)
{
    sqlite3_file *file = nullptr;
    if (sqlite3_file_control(database, "main", SQLITE_FCNTL_FILE_POINTER, &file) == SQLITE_OK && file &&
        file->pMethods)
        file->pMethods->xSync(file, SQLITE_SYNC_NORMAL);
}
} // namespace

Taskmill_Checkpointer::Taskmill_Checkpointer(const QString &path)
    : m_path{path}
    , m_thread{QThread::create([this] { Run(); })}
{
    m_thread->setObjectName(u"checkpoints"_s);
    KilnUtil_StartThread(*m_thread);
}

Taskmill_Checkpointer::~Taskmill_Checkpointer()
{
    {
        const std::lock_guard lock{m_mutex};
        m_ends = true;
    }
    m_wake.notify_one();
    m_thread->wait();
}

void Taskmill_Checkpointer::NoteChange()
{
    {
        const std::lock_guard lock{m_mutex};
        ++m_lastChange;
        if (m_lastChange > m_stored + 1 && m_lastChange != m_tried + mostCollected)
            return;
    }
    m_wake.notify_one();
}

qint64 Taskmill_Checkpointer::LastChange() const
{
    const std::lock_guard lock{m_mutex};
    return m_lastChange;
}

bool Taskmill_Checkpointer::IsStored(qint64 change) const
{
    const std::lock_guard lock{m_mutex};
    return change <= m_stored;
}

qint64 Taskmill_Checkpointer::WaitForChanges()
{
    std::unique_lock lock{m_mutex};
    m_wake.wait(lock, [this] { return m_lastChange > m_stored || m_ends; });
    // More may come at once.
    m_wake.wait_for(lock, collecting, [this] { return m_lastChange >= m_tried + mostCollected || m_ends; });
    m_tried = m_lastChange;
    return m_ends ? 0 : m_lastChange;
}

bool Taskmill_Checkpointer::Store(sqlite3 *database)
{
    int inLog = 0;
    int copied = 0;
    // What does not fit now, because somebody reads, is brought over the next time.
    const int result =
        sqlite3_wal_checkpoint_v2(database, nullptr, SQLITE_CHECKPOINT_PASSIVE, &inLog, &copied);
    const bool hasFailed = result != SQLITE_OK && result != SQLITE_BUSY;
    if (hasFailed && !std::exchange(m_isFailureLogged, true))
        qCWarning(Taskmill_DBLog, "Cannot bring changes into %ls: %s", qUtf16Printable(m_path),
                  sqlite3_errstr(result));
    m_isFailureLogged = hasFailed;
    const bool isAllStored = result == SQLITE_OK && copied == inLog;
    m_isLogLong = inLog > longLog;
    return isAllStored;
}

void Taskmill_Checkpointer::ShortenLog(sqlite3 *database)
{
    const std::unique_lock nobodyWrites{m_logMutex, std::try_to_lock};
    if (nobodyWrites)
        sqlite3_wal_checkpoint_v2(database, nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr);
    m_isLogLong = false;
}

bool Taskmill_Checkpointer::IsPause()
{
    std::unique_lock lock{m_mutex};
    return !m_wake.wait_for(lock, quietTime, [this] { return m_lastChange > m_stored || m_ends; });
}

void Taskmill_Checkpointer::Run()
{
    sqlite3 *database = nullptr;
    if (sqlite3_open_v2(m_path.toUtf8().constData(), &database, SQLITE_OPEN_READWRITE, nullptr) ==
        SQLITE_OK) {
        // Only a connection that has read something knows of the log.
        sqlite3_exec(database, "SELECT COUNT(*) FROM sqlite_master", nullptr, nullptr, nullptr);
        SyncFile(database);
        while (const qint64 change = WaitForChanges()) {
            if (Store(database)) {
                const std::lock_guard lock{m_mutex};
                m_stored = change;
            }
            if (m_isLogLong && IsPause())
                ShortenLog(database);
        }
    }
    sqlite3_close(database);
}
