// SPDX-License-Identifier: MIT
#include "db/waitingjobcount.h"

#include <QFileInfo>
#include <QUrl>

#include <sqlite3.h>

using namespace Qt::Literals::StringLiterals;

namespace {
/// Some ten milliseconds, whatever somebody has put in place of the tables.
constexpr int mostSteps = 1'000'000;

int GiveUp(void *)
{
    return 1;
}

std::optional<int> FirstNumber(sqlite3 *database, const char *query)
{
    sqlite3_stmt *statement = nullptr;
    std::optional<int> number;
    if (sqlite3_prepare_v2(database, query, -1, &statement, nullptr) == SQLITE_OK &&
        sqlite3_step(statement) == SQLITE_ROW)
        number = sqlite3_column_int(statement, 0);
    sqlite3_finalize(statement);
    return number;
}
} // namespace

std::optional<int> Taskmill_CountWaitingJobs(const QString &path)
{
    // As a file that nobody changes: no lock is taken, and nothing is written beside it.
    const QByteArray address =
        QUrl::fromLocalFile(QFileInfo{path}.absoluteFilePath()).toEncoded() + "?immutable=1";
    sqlite3 *database = nullptr;
    std::optional<int> count;
    if (sqlite3_open_v2(address.constData(), &database, SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, nullptr) ==
        SQLITE_OK) {
        sqlite3_progress_handler(database, mostSteps, GiveUp, nullptr);
        count = FirstNumber(database, "SELECT (SELECT COUNT(*) FROM LongJobsQueue) + "
                                      "(SELECT COUNT(*) FROM ShortJobsQueue) + "
                                      "(SELECT COUNT(*) FROM QueuelessJobs)");
    }
    sqlite3_close(database);
    return count;
}
