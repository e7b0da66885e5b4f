// SPDX-License-Identifier: MIT
// Measures a project of many finished jobs against the plain SQLite calls on the same rows, in the same run:
// opening, listing and saving.

#include "records.h"
#include "report.h"

#include "db/databasemanager.h"
#include "manager/manager.h"

#include <QCoreApplication>
#include <QTemporaryDir>

using namespace Qt::Literals::StringLiterals;

namespace {
/// Opens it as the manager does: checking the file, copying it, job types, numbers of the jobs.
class OpenedProject
{
public:
    [[nodiscard]] double Open(const QString &file)
    {
        return Bench::MilliSeconds([&] {
            if (!m_manager.Project().OpenProject(file))
                qFatal("the project cannot be opened");
        });
    }
    [[nodiscard]] const Taskmill_FinishedJobs &FinishedJobs() { return m_manager.FinishedJobs(); }

private:
    Bench::NoNotifier m_notifier;
    Taskmill_Manager m_manager{m_notifier, Taskmill_ReadOnlyProjects::Open};
};

void MeasureRecording(Bench::Report &report, const QTemporaryDir &directory)
{
    constexpr int jobs = 2000;
    Taskmill_Database database{Taskmill_Database::SQLiteMemory, {}, u"QSQLITE"_s, {}, {}, {}, {}, {}};
    database.SetStoragePath(directory.filePath(u"recorded.db"_s));
    if (!database.Open() || !database.CreateTables() || !database.WorkingCopy().Begin())
        qFatal("no working copy");
    database.StartCheckpoints();
    const double inserting = Bench::MilliSeconds([&] {
        for (int number = 1; number <= jobs; ++number)
            database.InsertFinishedJob(Bench::FinishedJob(number), true);
    });
    report.Add("recording one", inserting / jobs, "ms");
}

void MeasureProject(Bench::Report &report, const QTemporaryDir &directory, int count)
{
    const QString file = directory.filePath(u"bench.mill"_s);
    const QByteArray fileName = file.toLocal8Bit();
    if (!Bench::MakeProject(file, count))
        qFatal("no project file");
    report.Title("A project of many finished jobs");
    report.Add("finished jobs", count, "");
    MeasureRecording(report, directory);

    OpenedProject project;
    const double copying = Bench::MilliSeconds([&] { Bench::CopyDatabase(fileName, fileName + ".copy"); });
    const double opening = project.Open(file);
    const double selecting = Bench::MilliSeconds([&] { Bench::SelectAll(fileName); });
    report.Add("opening", opening, "ms", {"file copy and SELECT *", copying + selecting, 1.5});
    report.Add("opening", opening, "ms", {"file copy", copying, 3});
    const double listing = Bench::MilliSeconds([&] { (void)project.FinishedJobs().ListingText(); });
    report.Add("listing", listing, "ms", {"SELECT *", selecting, 3});
    const double inTerminal = Bench::MilliSeconds([&] { (void)project.FinishedJobs().ListingText(120); });
    report.Add("listing in a terminal of 120 columns", inTerminal, "ms", {"SELECT *", selecting, 3});
    Taskmill_Database &database = *Taskmill_Database_Manager::Global().CurrentDatabase();
    const double saving =
        Bench::MilliSeconds([&] { (void)database.SaveToFile(directory.filePath(u"saved.mill"_s)); });
    report.Add("saving", saving, "ms", {"online backup to a file", copying, 1.5});
}
} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application{argc, argv};
    const Bench::Options options = Bench::Options::Read(argc, argv);
    Bench::Report report{options};
    const QTemporaryDir directory;
    qputenv("TASKMILLPREFS_DIR", directory.path().toLocal8Bit());
    MeasureProject(report, directory, options.Quick ? 10'000 : options.Numbers.value(0, "100000").toInt());
    return 0;
}
