// SPDX-License-Identifier: MIT
// Measures a project of many finished jobs against the plain SQLite calls on the same rows, in the same run:
// opening, listing and saving.

#include "report.h"

#include "db/database.h"
#include "manager/listings.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <cstdlib>

#include <sqlite3.h>

using namespace Qt::Literals::StringLiterals;

namespace {
using Database = Taskmill_Database;

Taskmill_JobRecord Job(int number)
{
    Taskmill_JobRecord job;
    job.JobID = number;
    job.Name = u"molecule_%1.mop"_s.arg(number);
    job.JobType.Name = u"MOPAC"_s;
    job.JobType.ApplicationName = u"mopac"_s;
    job.JobType.ExecutablePath = u"/usr/bin/mopac"_s;
    job.JobType.DefaultQueue = u"Long"_s;
    job.JobType.GenericCommandLine = u"@EXEFILE @INFILE"_s;
    job.QueueName = u"Long"_s;
    job.InputFilePath = u"/home/chemist/calculations/2026/"_s + job.Name;
    // A year of them, no two at the same time.
    const QDateTime submitted = QDateTime{QDate{2025, 11, 21}, QTime{0, 0}}.addSecs(number * 311LL);
    job.Submitted = submitted;
    job.Started = submitted.addSecs(60 + number % 3600);
    job.Finished = submitted.addSecs(7200 + number % 86400);
    job.Status = Taskmill_JobStatus::Completed;
    job.StdOutAndStdErr =
        u"MOPAC Job: \"%1\" ended normally on Nov 21, 2026, at 03:54.\n"_s.arg(job.InputFilePath);
    return job;
}

void PlainSelect(const QByteArray &file)
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

void PlainBackup(const QByteArray &from, const QByteArray &to)
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
} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application{argc, argv};
    const Bench::Options options = Bench::Options::Read(argc, argv);
    Bench::Report report{options};
    const int count = options.Quick ? 10'000 : options.Numbers.value(0, "100000").toInt();
    const QTemporaryDir directory;
    const QString file = directory.filePath(u"bench.mill"_s);
    const QByteArray fileName = file.toLocal8Bit();

    // Both in working copies, as a manager has them.
    Database database{Database::SQLiteMemory, {}, u"QSQLITE"_s, {}, {}, {}, {}, {}};
    database.SetStoragePath(directory.filePath(u"recorded.db"_s));
    if (!database.Open() || !database.CreateTables() || !database.WorkingCopy().Begin())
        return 1;
    database.StartCheckpoints();
    Taskmill_JobType type = Job(0).JobType;
    if (!database.InsertJobType(type, true))
        return 1;
    const double inserting = Bench::MilliSeconds([&] {
        for (int number = 1; number <= count; ++number)
            database.InsertFinishedJob(Job(number), true);
    });
    report.Title("A project of many finished jobs");
    report.Add("finished jobs", count, "");
    report.Add("recording one", inserting / count, "ms");

    const double saving = Bench::MilliSeconds([&] { (void)database.SaveToFile(file); });
    const double copying = Bench::MilliSeconds([&] { PlainBackup(fileName, fileName + ".copy"); });

    Database loaded{Database::SQLiteMemory, {}, u"QSQLITE"_s, {}, {}, {}, {}, {}};
    loaded.SetStoragePath(directory.filePath(u"loaded.db"_s));
    const double loading = Bench::MilliSeconds([&] { (void)loaded.LoadFromFile(file); });
    QList<Taskmill_JobRecord> jobs;
    const double reading = Bench::MilliSeconds([&] { jobs = loaded.GetFinishedJobs(); });
    const double selecting = Bench::MilliSeconds([&] { PlainSelect(fileName); });
    const double listing = Bench::MilliSeconds([&] {
        QList<QStringList> rows;
        for (const Taskmill_JobRecord &job : jobs)
            rows.append(Taskmill_Listings::FinishedJobs().Row(job));
        (void)Taskmill_Listings::FinishedJobs().Listing({}, {}, rows, 0);
    });

    report.Add("saving", saving, "ms", {"online backup to a file", copying, 1.5});
    report.Add("opening", loading + reading, "ms", {"file copy and SELECT *", copying + selecting, 1.5});
    report.Add("opening: checking and copying the file", loading, "ms");
    report.Add("opening: reading the jobs", reading, "ms");
    report.Add("listing", listing, "ms", {"SELECT *", selecting, 0});
    return 0;
}
