// SPDX-License-Identifier: MIT
#include "databasetestutil.h"

#include <QSqlDriver>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTemporaryDir>
#include <QUuid>

#include <sqlite3.h>

using namespace Qt::Literals::StringLiterals;

std::unique_ptr<Taskmill_Database> MakeClosedDatabase()
{
    return std::make_unique<Taskmill_Database>(Taskmill_Database::SQLiteMemory, QString{}, u"QSQLITE"_s,
                                               QString{}, QString{}, QString{}, u"Test database"_s,
                                               u"Database Object"_s);
}

std::unique_ptr<Taskmill_Database> MakeDatabase()
{
    auto database = MakeClosedDatabase();
    if (!database->Open() || !database->InitializeTables())
        qFatal("cannot make a database");
    return database;
}

RawDatabase::RawDatabase(const QString &path)
    : m_connection{QSqlDatabase::addDatabase(u"QSQLITE"_s, QUuid::createUuid().toString())}
{
    m_connection.setDatabaseName(path);
    if (!m_connection.open())
        qFatal("cannot open %ls", qUtf16Printable(path));
}

RawDatabase::~RawDatabase()
{
    const QString name = m_connection.connectionName();
    m_connection.close();
    m_connection = QSqlDatabase{};
    QSqlDatabase::removeDatabase(name);
}

void RawDatabase::Execute(const QStringList &statements)
{
    for (const QString &statement : statements) {
        QSqlQuery query{m_connection};
        if (!query.exec(statement))
            qFatal("%ls: %ls", qUtf16Printable(statement), qUtf16Printable(query.lastError().text()));
    }
}

QStringList RawDatabase::Rows(const QString &statement)
{
    QSqlQuery query{m_connection};
    if (!query.exec(statement))
        qFatal("%ls: %ls", qUtf16Printable(statement), qUtf16Printable(query.lastError().text()));
    QStringList rows;
    while (query.next()) {
        QStringList values;
        for (int column = 0; column < query.record().count(); ++column)
            values.append(query.value(column).toString());
        rows.append(values.join(u'|'));
    }
    return rows;
}

void RefuseWrites(const Taskmill_Database &database, bool refuse)
{
    sqlite3 *handle = *static_cast<sqlite3 *const *>(database.Driver()->handle().constData());
    sqlite3_exec(handle, refuse ? "PRAGMA query_only = ON" : "PRAGMA query_only = OFF", nullptr, nullptr,
                 nullptr);
}

QStringList RowsOfFile(const QString &path, const QString &statement)
{
    return RawDatabase{path}.Rows(statement);
}

QStringList RowsOf(Taskmill_Database &database, const QString &statement)
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(u"copy.mill"_s);
    if (!database.SaveToFile(path))
        qFatal("cannot save");
    return RowsOfFile(path, statement);
}

Taskmill_JobType SampleJobType(const QString &name)
{
    return {
        .JobTypeID = 0,
        .Name = name,
        .ApplicationName = u"mopac"_s,
        .ExecutablePath = u"/opt/it's/mopac"_s,
        .DefaultQueue = u"Short"_s,
        .GenericCommandLine = u"@EXEFILE @INFILE\nline two"_s,
        .InputFileFilter = u"Input (*.mop)"_s,
        .OutputFileFilter = u"Output (*.out)"_s,
        .EnvironmentVariables = u"A=1\nB=\"zwei\""_s,
    };
}

Taskmill_JobRecord SampleJob(const Taskmill_JobType &jobType, qint32 jobID)
{
    Taskmill_JobRecord job;
    job.JobClass = u"class o'9"_s;
    job.Name = u"Wasser – 水's"_s;
    job.ClientName = u"host"_s;
    job.ClientAppName = u"app"_s;
    job.ClientAddress = u"127.0.0.1"_s;
    job.ClientPort = 4711;
    job.ClientUID = 1000;
    job.ClientGID = 100;
    job.ClientNotification = true;
    job.JobType = jobType;
    job.QueueName = u"Long"_s;
    job.InputFilePath = u"/tmp/Größe's.mop"_s;
    job.InputFilePath2 = u"/tmp/second"_s;
    job.Status = Taskmill_JobStatus::Completed;
    job.StdOutAndStdErr = u"out\n'err' ü"_s;
    job.Submitted = QDateTime{QDate{2024, 2, 29}, QTime{1, 2, 3}};
    job.Started = QDateTime{QDate{2024, 2, 29}, QTime{1, 2, 4}};
    job.Finished = QDateTime{QDate{2024, 3, 1}, QTime{0, 0, 0}};
    job.JobID = jobID;
    job.DeriveOutputFile();
    return job;
}

void AddSampleFields(Taskmill_JobRecord &job)
{
    job.StandardInputFile = u"/tmp/stdin's"_s;
    job.StandardOutputFile = u"/tmp/stdout"_s;
    job.OutputFile = u"other.log"_s;
    job.CheckpointFile = u"a.chk"_s;
    job.CheckpointFile2 = u"b.chk"_s;
    // Their order counts, also beyond the ninth.
    for (int number = 12; number > 0; --number)
        job.PlaceholderValues.append({u"@A %1"_s.arg(number), u"Größe\n'%1'"_s.arg(number)});
    job.PlaceholderValues.append({u"@EMPTY"_s, u""_s});
}
