// SPDX-License-Identifier: MIT
#include "db/finishedjobreader.h"

#include "db/addedfields.h"
#include "db/jobfields.h"

#include <utility>

#include <sqlite3.h>

using namespace Qt::Literals::StringLiterals;

struct Taskmill_FinishedJobReader::Connection
{
    sqlite3 *database = nullptr;

    Connection() = default;
    ~Connection() { sqlite3_close(database); }
    Q_DISABLE_COPY_MOVE(Connection)

    bool Open(const QString &path)
    {
        constexpr int longestWaitMs = 5000;
        const bool isOpen = !path.isEmpty() && sqlite3_open_v2(path.toUtf8().constData(), &database,
                                                               SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK;
        if (isOpen)
            sqlite3_busy_timeout(database, longestWaitMs);
        return isOpen;
    }
};

struct Taskmill_FinishedJobReader::Statement
{
    Taskmill_RowCursor rows;
    Taskmill_JobRowReader reader;
    QList<std::pair<QString, int>> fields{}; ///< with their places

    template <typename Database>
    Statement(const Database &database, const QString &text, const Taskmill_JobTypesByID &jobTypes)
        : rows{database, text}
        , reader{jobTypes, rows}
    {
    }

    Taskmill_JobRecord Job()
    {
        Taskmill_JobRecord job = reader.Read({});
        Taskmill_AddedFields::Fields values;
        for (const auto &[name, place] : std::as_const(fields)) {
            if (const QString value = rows.Text(place); !value.isEmpty())
                values.insert(name, value);
        }
        if (!values.isEmpty())
            Taskmill_SetFieldsOfJob(job, values);
        return job;
    }
};

namespace {
/// As a column of the statement.
QString NameOfField(const QString &field)
{
    return u"Field"_s + field;
}
} // namespace

Taskmill_FinishedJobReader::Taskmill_FinishedJobReader(const QSqlDatabase &connection, QString storagePath,
                                                       QString keyColumn,
                                                       const Taskmill_FinishedJobReading &reading,
                                                       Taskmill_JobTypesByID jobTypes)
    : m_shared{connection}
    , m_storagePath{std::move(storagePath)}
    , m_keyColumn{std::move(keyColumn)}
    , m_columns{WhatIsSelected(reading)}
    , m_fields{reading.Fields}
    , m_jobTypes{std::move(jobTypes)}
{
}

Taskmill_FinishedJobReader::~Taskmill_FinishedJobReader() = default;

QString Taskmill_FinishedJobReader::WhatIsSelected(const Taskmill_FinishedJobReading &reading)
{
    QStringList selected{QString{}};
    selected += reading.Columns;
    for (const QString &field : reading.Fields)
        selected +=
            u"(SELECT Value FROM AddedFields WHERE Owner = 'job' AND OwnerID = FinishedJobs.JobID AND "
            "Name = '%1') AS %2"_s.arg(field, NameOfField(field));
    return selected.join(u',');
}

bool Taskmill_FinishedJobReader::OpenOwn()
{
    auto own = std::make_unique<Connection>();
    if (!own->Open(m_storagePath))
        return false;
    m_find.reset();
    m_read.reset();
    m_own = std::move(own);
    // Nobody may have it when it is closed.
    m_shared = {};
    return true;
}

std::unique_ptr<Taskmill_FinishedJobReader::Statement>
Taskmill_FinishedJobReader::Prepare(const QString &condition) const
{
    const QString text =
        u"SELECT %1 AS RowKey%2 FROM FinishedJobs WHERE %1 %3"_s.arg(m_keyColumn, m_columns, condition);
    auto statement = m_own ? std::make_unique<Statement>(m_own->database, text, m_jobTypes)
                           : std::make_unique<Statement>(m_shared, text, m_jobTypes);
    for (const QString &field : m_fields)
        statement->fields.append({field, statement->rows.Column(NameOfField(field))});
    return statement;
}

std::optional<Taskmill_JobRecord> Taskmill_FinishedJobReader::Find(qint64 key)
{
    if (!m_find)
        m_find = Prepare(u"= ?"_s);
    m_find->rows.Start({key});
    std::optional<Taskmill_JobRecord> job;
    if (m_find->rows.Next())
        job = m_find->Job();
    m_find->rows.Stop();
    return job;
}

QByteArray Taskmill_FinishedJobReader::ReadOutput(const QString &storagePath, const QString &keyColumn,
                                                  qint64 key)
{
    Connection own;
    if (!own.Open(storagePath))
        return {};
    Taskmill_RowCursor rows{own.database,
                            u"SELECT StdOutAndStdErr FROM FinishedJobs WHERE %1 = ?"_s.arg(keyColumn)};
    rows.Start({key});
    return rows.Next() ? rows.Utf8(0) : QByteArray{};
}

std::optional<qint64> Taskmill_FinishedJobReader::Read(qint64 behind, int count, const Take &take)
{
    if (!m_read)
        m_read = Prepare(u"> ? ORDER BY 1 LIMIT ?"_s);
    Taskmill_RowCursor &rows = m_read->rows;
    std::optional<qint64> last;
    rows.Start({behind, count});
    while (rows.Next()) {
        last = rows.LongInteger(0);
        take(*last, m_read->Job());
    }
    rows.Stop();
    return last;
}
