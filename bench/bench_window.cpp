// Measures the window's tabs with many jobs: how long each change blocks the event loop. Run with the
// platform "offscreen"; the numbers of finished and of waiting jobs may be given.

#include "report.h"

#include "db/databasejobstore.h"
#include "db/databasemanager.h"
#include "jobs/processinspector.h"
#include "kilnutil/tablewidget.h"
#include "ui/finishedjobswidget.h"
#include "ui/queuewidgets.h"

#include <QApplication>
#include <QFile>
#include <QTabWidget>

using namespace Qt::Literals::StringLiterals;

namespace {
using Bench::MilliSeconds;

Bench::Report *g_report = nullptr;

/// The most that the event loop may be blocked, in ms; 0 where there is no limit.
constexpr double mostForAChange = 10;
constexpr double mostForASwitch = 50;

void Row(const char *what, double milliSeconds, double most = 0)
{
    g_report->Add(what, milliSeconds, "ms", most);
}

double ResidentMegabytes()
{
    QFile status{u"/proc/self/statm"_s};
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    return status.readAll().split(' ').value(1).toDouble() * 4096 / 1e6;
}

Taskmill_JobRecord Job(int number, Taskmill_JobStatus status)
{
    Taskmill_JobRecord job;
    job.JobID = number;
    job.Name = u"molecule_%1.mop"_s.arg(number * 7919LL % 1'000'003);
    job.JobType.JobTypeID = 1;
    job.JobType.Name = u"MOPAC"_s;
    job.JobType.ApplicationName = u"mopac"_s;
    job.JobType.ExecutablePath = u"/usr/bin/mopac"_s;
    job.JobType.DefaultQueue = u"Long"_s;
    job.JobType.GenericCommandLine = u"@EXEFILE @INFILE"_s;
    job.QueueName = u"Long"_s;
    job.InputFilePath = u"/home/chemist/calculations/2026/"_s + job.Name;
    job.OutputFile = job.InputFilePath + u".out"_s;
    job.SetStatus(Taskmill_JobStatus::Pending, true);
    if (status == Taskmill_JobStatus::Completed) {
        job.SetStatus(Taskmill_JobStatus::Running, true);
        job.SetStatus(Taskmill_JobStatus::Completed, true);
    }
    return job;
}

QList<Taskmill_JobRecord> Jobs(int count, Taskmill_JobStatus status)
{
    QList<Taskmill_JobRecord> jobs;
    jobs.reserve(count);
    for (int number = 1; number <= count; ++number)
        jobs.append(Job(number, status));
    return jobs;
}

void Paint(QWidget &window)
{
    window.repaint();
    QCoreApplication::processEvents();
}

void MeasureSorting(KilnUtil_TableWidget &table, QWidget &window)
{
    const int columns = table.model()->columnCount();
    for (int column = 0; column < columns; ++column) {
        const QString name = table.model()->headerData(column, Qt::Horizontal).toString();
        Row(qPrintable(u"sort by "_s + name), MilliSeconds([&] {
                table.sortByColumn(column, Qt::DescendingOrder);
                Paint(window);
            }));
    }
}

void MeasureFinished(Taskmill_FinishedJobsWidget &tab, QWidget &window, int count)
{
    g_report->Title(QByteArray::number(count).append(" finished jobs").constData());
    const double before = ResidentMegabytes();
    QList<Taskmill_JobRecord> jobs = Jobs(count, Taskmill_JobStatus::Completed);
    const double records = ResidentMegabytes();
    Row("show the list", MilliSeconds([&] {
            tab.SetJobs(jobs);
            Paint(window);
        }));
    jobs.clear();
    const double all = ResidentMegabytes();
    g_report->Add("memory a job", (all - before) * 1e3 / count, "kB", 1.5);
    g_report->Add("memory a job, of it the table's", (all - records) * 1e3 / count, "kB");
    const auto add = [&] {
        tab.AddJob(Job(static_cast<int>(tab.Jobs().size()) + 1, Taskmill_JobStatus::Completed));
        tab.FillTable();
        Paint(window);
    };
    Row("one more job, sorted by number", MilliSeconds(add), mostForAChange);
    MeasureSorting(*tab.Table(), window);
    Row("one more job, sorted by time, newest first", MilliSeconds(add), mostForAChange);
    Row("select all", MilliSeconds([&] {
            tab.Table()->selectAll();
            Paint(window);
        }));
    Row("one more job, all selected", MilliSeconds(add), mostForAChange);
    Row("remove every second job", MilliSeconds([&] {
            QList<int> positions;
            for (int position = 0; position < tab.Jobs().size(); position += 2)
                positions.append(position);
            tab.Remove(positions);
            Paint(window);
        }));
}

void MeasureQueue(Taskmill_LongJobsQueueWidget &jobs, QWidget &window, int count)
{
    g_report->Title(QByteArray::number(count).append(" waiting jobs").constData());
    Taskmill_QueueTab &tab = *jobs.Tab();
    Row("show the list", MilliSeconds([&] {
            jobs.Replace(Jobs(count, Taskmill_JobStatus::Pending));
            tab.FillTable();
            Paint(window);
        }));
    Row("refresh without a change", MilliSeconds([&] { tab.FillTable(); }), mostForAChange);
    int number = count;
    const auto submit = [&] {
        jobs.Submit(new Taskmill_Job{Job(++number, Taskmill_JobStatus::Pending)});
        tab.FillTable();
        Paint(window);
    };
    Row("one more job", MilliSeconds(submit), mostForAChange);
    Row("the first job leaves", MilliSeconds([&] {
            jobs.Jobs().RemoveAt(0);
            tab.FillTable();
            Paint(window);
        }),
        mostForAChange);
    MeasureSorting(tab.Table(), window);
    Row("one more job, sorted by time", MilliSeconds(submit), mostForAChange);
    Row("a job in the middle leaves", MilliSeconds([&] {
            jobs.Jobs().RemoveAt(count / 2);
            tab.FillTable();
            Paint(window);
        }),
        mostForAChange);
}
} // namespace

int main(int argc, char **argv)
{
    QApplication application{argc, argv};
    const Bench::Options options = Bench::Options::Read(argc, argv);
    Bench::Report report{options};
    g_report = &report;
    const int finishedCount = options.Numbers.value(0, "100000").toInt();
    const int waitingCount = options.Numbers.value(1, "10000").toInt();

    QTabWidget window;
    window.resize(1200, 800);
    Taskmill_DatabaseJobStore store;
    const auto inspector = Taskmill_MakeProcessInspector();
    Taskmill_FinishedJobsWidget finishedJobs{&window};
    Taskmill_LongJobsQueueWidget longJobs{&window, store, finishedJobs, *inspector};
    window.addTab(finishedJobs.Frame(), u"Finished Jobs"_s);
    window.addTab(longJobs.Tab()->Frame(), u"Long Jobs Queue"_s);
    window.show();
    Paint(window);

    MeasureFinished(finishedJobs, window, finishedCount);
    const auto switchTo = [&window](int tab) {
        return MilliSeconds([&window, tab] {
            window.setCurrentIndex(tab);
            Paint(window);
        });
    };
    switchTo(1);
    MeasureQueue(longJobs, window, waitingCount);
    Row("switch to the finished jobs", switchTo(0), mostForASwitch);
    Row("switch to the waiting jobs", switchTo(1), mostForASwitch);
    return 0;
}
