// SPDX-License-Identifier: MIT
#include "records.h"

#include "db/database.h"
#include "db/databasemanager.h"
#include "manager/projectdatabase.h"

#include "db/databasejobstore.h"
#include "jobs/jobtypelist.h"

#include <cstdlib>

#include <sqlite3.h>

using namespace Qt::Literals::StringLiterals;

namespace Bench {
namespace {
constexpr int jobsInserted = 100'000;

/// The rows that are there again and again with other numbers, which is quicker than inserting each.
bool MultiplyRows(const QString &path, int jobs)
{
    sqlite3 *database = nullptr;
    sqlite3_open(path.toUtf8().constData(), &database);
    int result = sqlite3_exec(database, "PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF; BEGIN", nullptr,
                              nullptr, nullptr);
    QStringList columns;
    for (const QString &column :
         Taskmill_ColumnNames(Taskmill_DatabaseSchema().at(static_cast<int>(Taskmill_Table::FinishedJobs)))) {
        if (column == "FinishedJobID"_L1 || column == "JobID"_L1)
            columns += column + u" + %1"_s;
        else if (column == "Name"_L1)
            columns += u"'molecule_' || ((JobID + %1) * 7919 % 1000003) || '.mop'"_s;
        else
            columns += column;
    }
    for (int first = jobsInserted; first < jobs && result == SQLITE_OK; first += jobsInserted) {
        const QString statement = u"INSERT INTO FinishedJobs SELECT "_s + columns.join(u", "_s) +
                                  u" FROM FinishedJobs WHERE FinishedJobID < %2"_s;
        result = sqlite3_exec(database, statement.arg(first).arg(jobsInserted).toUtf8().constData(), nullptr,
                              nullptr, nullptr);
        const QString fields = u"INSERT INTO AddedFields SELECT Owner, OwnerID + %1, Name, Value FROM "
                               u"AddedFields WHERE Owner = 'job' "
                               "AND OwnerID <= %2"_s;
        if (result == SQLITE_OK)
            result = sqlite3_exec(database, fields.arg(first).arg(jobsInserted).toUtf8().constData(), nullptr,
                                  nullptr, nullptr);
    }
    if (result == SQLITE_OK)
        result = sqlite3_exec(database, "COMMIT", nullptr, nullptr, nullptr);
    sqlite3_close(database);
    return result == SQLITE_OK;
}
} // namespace

Taskmill_JobRecord FinishedJob(int number)
{
    Taskmill_JobRecord job;
    job.JobID = number;
    job.Name = u"molecule_%1.mop"_s.arg(number * 7919LL % 1'000'003);
    job.JobType.Name = u"MOPAC"_s;
    job.JobType.ApplicationName = u"mopac"_s;
    job.JobType.ExecutablePath = u"/usr/bin/mopac"_s;
    job.JobType.DefaultQueue = u"Long"_s;
    job.JobType.GenericCommandLine = u"@EXEFILE @INFILE"_s;
    job.QueueName = u"Long"_s;
    job.InputFilePath = u"/home/chemist/calculations/2026/"_s + job.Name;
    const QDateTime submitted = QDateTime{QDate{2025, 11, 21}, QTime{0, 0}}.addSecs(number * 311LL);
    job.Submitted = submitted;
    job.Started = submitted.addSecs(60 + number % 3600);
    job.Finished = submitted.addSecs(7200 + number % 86400);
    job.Status = Taskmill_JobStatus::Completed;
    job.StdOutAndStdErr =
        u"MOPAC Job: \"%1\" ended normally on Nov 21, 2026, at 03:54.\n"_s.arg(job.InputFilePath);
    job.ProcessorMs = (7100 + number % 86000) * 1000LL;
    job.PeakMemoryKB = 20'000 + number * 7919LL % 4'000'000;
    job.Result.Program = u"MOPAC"_s;
    job.Result.Version = u"22.0.6"_s;
    job.Result.Message = u"JOB ENDED NORMALLY"_s;
    // Every tenth does not converge, every fiftieth ends with an error.
    job.Result.Verdict = number % 50 == 0   ? Taskmill_Verdict::Error
                         : number % 10 == 0 ? Taskmill_Verdict::NotConverged
                                            : Taskmill_Verdict::Normal;
    job.Result.Steps = 12;
    for (int step = 0; step < 12; ++step)
        job.Result.Energies.append(-76.4 - 0.01 * step);
    return job;
}

bool MakeProject(const QString &path, int jobs)
{
    auto &manager = Taskmill_Database_Manager::Global();
    Taskmill_Database *database = manager.Adopt(Taskmill_Database_Manager::MakeMemoryDatabase());
    Taskmill_DatabaseJobStore store;
    Taskmill_JobTypeList jobTypes{store};
    const bool made = Taskmill_FillNewProject(*database, jobTypes) && database->AsOneChange([&] {
        for (int number = 1; number <= qMin(jobs, jobsInserted); ++number)
            database->InsertFinishedJob(FinishedJob(number), true);
        return true;
    });
    const bool saved = made && database->SetGeneralData(u"LastJobID"_s, QString::number(jobs)) == 1 &&
                       database->SaveToFile(path);
    manager.CloseAll();
    return saved && MultiplyRows(path, jobs);
}

void CopyDatabase(const QByteArray &from, const QByteArray &to)
{
    sqlite3 *source = nullptr;
    sqlite3 *target = nullptr;
    sqlite3_open(from.constData(), &source);
    sqlite3_open(to.constData(), &target);
    sqlite3_backup *backup = sqlite3_backup_init(target, "main", source, "main");
    sqlite3_backup_step(backup, -1);
    sqlite3_backup_finish(backup);
    sqlite3_close(target);
    sqlite3_close(source);
}

void SelectAll(const QByteArray &file)
{
    sqlite3 *database = nullptr;
    sqlite3_open_v2(file.constData(), &database, SQLITE_OPEN_READONLY, nullptr);
    sqlite3_stmt *select = nullptr;
    sqlite3_prepare_v2(database, "SELECT * FROM FinishedJobs", -1, &select, nullptr);
    qint64 bytes = 0;
    while (sqlite3_step(select) == SQLITE_ROW) {
        for (int column = 0; column < sqlite3_column_count(select); ++column) {
            if (sqlite3_column_text(select, column))
                bytes += sqlite3_column_bytes(select, column);
        }
    }
    sqlite3_finalize(select);
    sqlite3_close(database);
    if (bytes == 0)
        std::abort();
}
} // namespace Bench
