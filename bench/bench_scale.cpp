// SPDX-License-Identifier: MIT
// Measures what depends on how much a manager holds: how soon the next job starts and a client is notified,
// and what a submission and a completion cost with ever more waiting and finished jobs.

#include "manager.h"
#include "report.h"

#include "db/databasejobstore.h"
#include "db/databasemanager.h"
#include "jobs/jobtypelist.h"
#include "manager/projectdatabase.h"

#include <QCoreApplication>
#include <QFile>

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {
using Bench::Manager;

/// Begin and end of each job of stamp.dat, in their order.
QList<std::array<qint64, 2>> Stamps(const Manager &manager)
{
    QFile file{QFile::decodeName(manager.File("stamps"))};
    QList<std::array<qint64, 2>> stamps;
    if (!file.open(QIODevice::ReadOnly))
        return stamps;
    std::array<qint64, 2> times{};
    while (file.read(reinterpret_cast<char *>(times.data()), sizeof times) == sizeof times)
        stamps.append(times);
    return stamps;
}

/// From the end of a process to the begin of the next one, and to its client's notification.
void MeasureLatency(Bench::Report &report, Manager::Mode mode, int waiting)
{
    const int jobs = 200;
    const Manager manager{mode};
    const Bench::NotificationSink sink;
    manager.Submit(Manager::Request(manager.File("gate.dat"), sink.Port()), true);
    for (int i = 0; i < jobs; ++i)
        manager.Submit(Manager::Request(manager.File("stamp.dat"), sink.Port()), true);
    for (int i = 0; i < waiting; ++i)
        manager.Submit(Manager::Request(manager.File("plain.dat")), i == waiting - 1);
    manager.OpenGate();
    const QList<qint64> notified = sink.Take(jobs + 1).sliced(1);
    const auto stamps = Stamps(manager);
    QList<double> toStart;
    QList<double> toNotification;
    for (int i = 0; i < jobs && i < stamps.size(); ++i) {
        toNotification.append(static_cast<double>(notified[i] - stamps[i][1]) / 1e6);
        if (i > 0)
            toStart.append(static_cast<double>(stamps[i][0] - stamps[i - 1][1]) / 1e6);
    }
    const QByteArray where = (mode == Manager::Mode::Window ? "window, " : "console, ") +
                             QByteArray::number(waiting) + " waiting: ";
    report.Add(where + "end to next start", Bench::Median(toStart), "ms", 5);
    report.Add(where + "end to notification", Bench::Median(toNotification), "ms", 5);
}

/// A project with so many waiting and so many finished jobs, whose client is notified at the port.
void MakeProject(const QString &path, int jobs, const QByteArray &inputFile, quint16 port)
{
    auto &manager = Taskmill_Database_Manager::Global();
    Taskmill_Database *database = manager.Database(KilnUtil_Database_Foundation::SQLiteMemory, {}, true);
    Taskmill_DatabaseJobStore store;
    Taskmill_JobTypeList jobTypes{store};
    if (!Taskmill_FillNewProject(*database, jobTypes) || jobTypes.GetAll().isEmpty())
        qFatal("no project");
    Taskmill_JobRecord job;
    job.JobType = jobTypes.GetAll().first();
    job.QueueName = u"Long"_s;
    job.Name = u"plain.dat"_s;
    job.InputFilePath = QFile::decodeName(inputFile);
    job.ClientName = u"bench"_s;
    job.ClientAppName = u"bench"_s;
    job.ClientAddress = u"127.0.0.1"_s;
    job.ClientPort = port;
    job.ClientNotification = true;
    for (int number = 1; number <= jobs; ++number) {
        job.JobID = number;
        job.SetStatus(Taskmill_JobStatus::Completed, true);
        database->InsertFinishedJob(job, true);
        job.JobID = jobs + number;
        job.SetStatus(Taskmill_JobStatus::Pending, true);
        database->InsertLongJob(job, true);
    }
    database->SetGeneralData(u"LastJobID"_s, QString::number(2 * jobs));
    if (!database->SaveToFile(path))
        qFatal("project not saved");
    manager.CloseAll();
}

struct Costs
{
    double Submission = 0; ///< of one, in ms, as Completion
    double Completion = 0;
    double Megabytes = 0;
};

Costs MeasureCosts(int jobs)
{
    const QTemporaryDir directory;
    const QString input = directory.filePath(u"plain.dat"_s);
    QFile file{input};
    if (!file.open(QIODevice::WriteOnly))
        qFatal("no input file");
    const QString project = directory.filePath(u"bench.mill"_s);
    const Bench::NotificationSink sink;
    MakeProject(project, jobs, QFile::encodeName(input), sink.Port());
    Manager manager{Manager::Mode::Console, project};
    const int count = 500;
    const QByteArray request = Manager::Request(manager.File("plain.dat"), sink.Port());
    manager.Submit(request, true);
    const double submission = Bench::MilliSeconds([&] {
        for (int i = 0; i < count; ++i)
            manager.Submit(request, true);
    });
    const double megabytes = manager.ResidentMegabytes();
    manager.Type("unpause long jobs");
    const QList<qint64> ends = sink.Take(count + 1);
    return {.Submission = submission / count,
            .Completion = static_cast<double>(ends.last() - ends.first()) / 1e6 / count,
            .Megabytes = megabytes};
}

void MeasureGrowth(Bench::Report &report)
{
    report.Title("Growth: the same work with so many waiting and as many finished jobs");
    const QList<int> sizes =
        report.Quick() ? QList<int>{10, 10'000} : QList<int>{10, 100, 1000, 10'000, 100'000};
    Costs first;
    for (const int jobs : sizes) {
        const Costs costs = MeasureCosts(jobs);
        if (jobs == sizes.first())
            first = costs;
        const QByteArray with = " with " + QByteArray::number(jobs);
        report.Add("submission" + with, costs.Submission, "ms", {"with 10", first.Submission, 1.5});
        report.Add("completion" + with, costs.Completion, "ms", {"with 10", first.Completion, 1.5});
        report.Add("resident memory" + with, costs.Megabytes, "MB");
    }
}
} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application{argc, argv};
    qputenv("VELTRA_EXE", TASKMILL_BENCH_JOB);
    Bench::Report report{Bench::Options::Read(argc, argv)};
    report.Title("From a process's end");
    for (const auto mode : {Manager::Mode::Console, Manager::Mode::Window}) {
        for (const int waiting : {10, 10'000})
            MeasureLatency(report, mode, waiting);
    }
    MeasureGrowth(report);
    return 0;
}
