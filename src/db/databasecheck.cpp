// SPDX-License-Identifier: MIT
#include "db/databasecheck.h"

#include "db/addedfields.h"
#include "db/databaseschema.h"
#include "kilnutil/logging.h"

#include <QFileInfo>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <memory>

#include <sqlite3.h>

using namespace Qt::Literals::StringLiterals;

namespace {

struct FinalizeStatement
{
    void operator()(sqlite3_stmt *statement) const { sqlite3_finalize(statement); }
};

/// The texts of the first column of the statement's rows.
int ReadTexts(sqlite3 *database, const QString &text, QStringList &rows)
{
    sqlite3_stmt *prepared = nullptr;
    int result = sqlite3_prepare_v2(database, text.toUtf8().constData(), -1, &prepared, nullptr);
    const std::unique_ptr<sqlite3_stmt, FinalizeStatement> statement{prepared};
    if (result != SQLITE_OK)
        return result;
    while ((result = sqlite3_step(prepared)) == SQLITE_ROW)
        rows.append(QString::fromUtf8(reinterpret_cast<const char *>(sqlite3_column_text(prepared, 0)),
                                      sqlite3_column_bytes(prepared, 0)));
    return result == SQLITE_DONE ? SQLITE_OK : result;
}

int Begin(sqlite3 *database)
{
    const int result = sqlite3_exec(database, "BEGIN", nullptr, nullptr, nullptr);
    QStringList objects;
    // Only reading takes the lock.
    return result == SQLITE_OK ? ReadTexts(database, u"SELECT name FROM sqlite_master LIMIT 1"_s, objects)
                               : result;
}

/// Whether a journal beside the file holds an unfinished change that could not be rolled back: the content
/// may be half of a change then.
bool HasOpenJournal(int result, const QString &path)
{
    return (result & 0xff) == SQLITE_READONLY ||
           (result == SQLITE_CANTOPEN && QFileInfo{path + u"-wal"_s}.size() > 0);
}

constexpr int headerSize = 100;
using Header = std::array<uchar, headerSize>;

/// The file's header and size, through the descriptor that SQLite has: closing another one of the same file
/// would give up the lock.
bool ReadHeader(sqlite3 *database, Header &header, qint64 &size)
{
    sqlite3_file *file = nullptr;
    sqlite3_int64 bytes = 0;
    if (sqlite3_file_control(database, "main", SQLITE_FCNTL_FILE_POINTER, &file) != SQLITE_OK || !file ||
        !file->pMethods || file->pMethods->xFileSize(file, &bytes) != SQLITE_OK)
        return false;
    size = bytes;
    return file->pMethods->xRead(file, header.data(), headerSize, 0) == SQLITE_OK;
}

/// SQLite itself reads a last page that is cut as if it ended in zeros, and the end of a text is lost.
QString ProblemOfSize(sqlite3 *database, const QString &path)
{
    Header header{};
    qint64 size = 0;
    // Pages may still stand in the log beside the file.
    if (!ReadHeader(database, header, size) || QFileInfo{path + u"-wal"_s}.size() > 0)
        return {};
    const auto number = [&header](std::size_t offset) {
        return qFromBigEndian<quint32>(header.data() + offset);
    };
    const quint16 pageSizeField = qFromBigEndian<quint16>(header.data() + 16);
    const qint64 pageSize = pageSizeField == 1 ? 65536 : pageSizeField;
    if (qstrncmp(reinterpret_cast<const char *>(header.data()), "SQLite format 3", 16) != 0 || pageSize < 512)
        return {};
    // The number of pages counts only when it was written together with the last change.
    const qint64 counted = number(24) == number(92) ? number(28) * pageSize : 0;
    const qint64 whole = qMax(counted, (size + pageSize - 1) / pageSize * pageSize);
    return size == whole ? QString{}
                         : u"The end of the file is missing: it holds %1 bytes instead of %2."_s.arg(
                               QString::number(size), QString::number(whole));
}

/// What an SQLite file can hold and no project does. Statements of views and triggers may run for ever, and
/// the rows of virtual tables are not in the file.
int CheckObjects(sqlite3 *database, QString &reason)
{
    QStringList found;
    const int result =
        ReadTexts(database,
                  u"SELECT 'the view ' || name FROM sqlite_master WHERE type = 'view' UNION ALL "
                  "SELECT 'the trigger ' || name FROM sqlite_master WHERE type = 'trigger' UNION ALL "
                  "SELECT 'the virtual table ' || name FROM pragma_table_list WHERE schema = 'main' AND type "
                  "= 'virtual' "
                  "LIMIT 1"_s,
                  found);
    if (result != SQLITE_OK || found.isEmpty())
        return result;
    reason = u"It holds %1, and no project holds such a thing."_s.arg(found.first().left(100));
    return SQLITE_CORRUPT;
}

int ColumnsOf(sqlite3 *database, const QString &table, QStringList &columns)
{
    return ReadTexts(database, u"SELECT name FROM pragma_table_info('%1')"_s.arg(table), columns);
}

/// A table of another program that has the name of one of ours would be read as an empty one.
int CheckTables(sqlite3 *database, QString &reason)
{
    QStringList columns;
    for (const Taskmill_TableDefinition &table : Taskmill_DatabaseSchema()) {
        columns.clear();
        if (const int result = ColumnsOf(database, table.Name, columns); result != SQLITE_OK)
            return result;
        const QStringList ours = Taskmill_ColumnNames(table);
        const bool hasOne = std::ranges::any_of(
            ours, [&columns](const QString &name) { return columns.contains(name, Qt::CaseInsensitive); });
        if (!columns.isEmpty() && !hasOne) {
            reason = u"Its table %1 has none of the columns of a project."_s.arg(table.Name);
            return SQLITE_CORRUPT;
        }
    }
    columns.clear();
    if (const int result = ColumnsOf(database, Taskmill_AddedFields::TableName(), columns);
        result != SQLITE_OK)
        return result;
    const QStringList needed = Taskmill_AddedFields::ColumnNames();
    const bool hasAll = std::ranges::all_of(
        needed, [&columns](const QString &name) { return columns.contains(name, Qt::CaseInsensitive); });
    if (columns.isEmpty() || hasAll)
        return SQLITE_OK;
    reason = u"Its table %1 lacks columns."_s.arg(Taskmill_AddedFields::TableName());
    return SQLITE_CORRUPT;
}

/// A damaged file is refused as a whole: loaded in part and saved again it would lose the rest.
int CheckPages(sqlite3 *database)
{
    // What the checks of the tables say of the values is not the question here.
    sqlite3_exec(database, "PRAGMA ignore_check_constraints = ON", nullptr, nullptr, nullptr);
    QStringList answer;
    const int result = ReadTexts(database, u"PRAGMA quick_check(1)"_s, answer);
    if (result != SQLITE_OK || answer == QStringList{u"ok"_s})
        return result;
    qCWarning(Taskmill_DBLog, "Database file: %ls", qUtf16Printable(answer.join(u' ')));
    return SQLITE_CORRUPT;
}

} // namespace

int Taskmill_CheckDatabaseFile(sqlite3 *database, const QString &path, QString &reason,
                               const std::function<void()> &beforePages)
{
    int result = Begin(database);
    if (HasOpenJournal(result, path)) {
        reason =
            u"A program was interrupted while it wrote to the file, and the journal that it left beside it "
            "cannot be applied here. Open the file once with a program that may write to it, such as "
            "sqlite3, or restore a copy."_s;
        return result;
    }
    if (result == SQLITE_OK || result == SQLITE_CORRUPT) {
        if (const QString problem = ProblemOfSize(database, path); !problem.isEmpty()) {
            reason = problem;
            return SQLITE_CORRUPT;
        }
    }
    for (const auto check : {CheckObjects, CheckTables}) {
        if (result == SQLITE_OK)
            result = check(database, reason);
    }
    if (result != SQLITE_OK)
        return result;
    if (beforePages)
        beforePages();
    return CheckPages(database);
}
