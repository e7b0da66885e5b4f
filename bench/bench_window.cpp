// SPDX-License-Identifier: MIT
// Measures the window's tabs with many jobs: how long each change blocks the event loop. Run with the
// platform "offscreen"; the numbers of finished and of waiting jobs may be given.

#include "report.h"

#include "db/databasejobstore.h"
#include "db/databasemanager.h"
#include "processes/processinspector.h"
#include "ui/finishedjobswidget.h"
#include "ui/queuewidgets.h"
#include "widgets/tablewidget.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QScrollBar>
#include <QTabWidget>
#include <QThread>
#include <QWheelEvent>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {
using Bench::MilliSeconds;

Bench::Report *g_report = nullptr;

/// The most that the event loop may be blocked, in ms.
constexpr double mostForAChange = 10;
constexpr double mostForASwitch = 50;
constexpr double mostForARemoval = 1000;
constexpr double mostRepaints = 12; ///< a second

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

/// One turn of the event loop, with what Qt itself finds to be painted.
void Turn()
{
    QCoreApplication::processEvents();
}

void MeasureSorting(KilnUtil_TableWidget &table)
{
    const int columns = table.model()->columnCount();
    for (int column = 0; column < columns; ++column) {
        const QString name = table.model()->headerData(column, Qt::Horizontal).toString();
        Row(qPrintable(u"sort by "_s + name), MilliSeconds([&] {
                table.sortByColumn(column, Qt::DescendingOrder);
                Turn();
            }));
    }
}

/// A change is made again and again, as one alone says little; the median counts.
void Changes(const char *what, const std::function<void()> &change)
{
    constexpr int times = 15;
    QList<double> values;
    for (int i = 0; i < times; ++i)
        values.append(MilliSeconds(change));
    Row(what, Bench::Median(values), mostForAChange);
}

/// From the top to the bottom and on from there, the events painted one by one.
void MeasureScrolling(KilnUtil_TableWidget &table)
{
    table.scrollToTop();
    Turn();
    QWidget *viewport = table.viewport();
    Changes("scroll: a step of the wheel", [&] {
        const QPointF place{200, 200};
        QWheelEvent step{place,
                         viewport->mapToGlobal(place),
                         {},
                         {0, -120},
                         Qt::NoButton,
                         Qt::NoModifier,
                         Qt::NoScrollPhase,
                         false};
        QCoreApplication::sendEvent(viewport, &step);
        Turn();
    });
    Changes("scroll: a page", [&] {
        table.verticalScrollBar()->triggerAction(QAbstractSlider::SliderPageStepAdd);
        Turn();
    });
    Changes("scroll: anywhere", [&] {
        const int rows = table.verticalScrollBar()->maximum();
        table.verticalScrollBar()->setValue((table.verticalScrollBar()->value() + rows / 3) % rows);
        Turn();
    });
    table.scrollToTop();
    Turn();
}

void MeasureFinished(Taskmill_FinishedJobsWidget &tab, int count)
{
    g_report->Title(QByteArray::number(count).append(" finished jobs").constData());
    const double before = ResidentMegabytes();
    QList<Taskmill_JobRecord> jobs = Jobs(count, Taskmill_JobStatus::Completed);
    const double records = ResidentMegabytes();
    Row("show the list", MilliSeconds([&] {
            tab.SetJobs(jobs);
            Turn();
        }));
    jobs.clear();
    const double all = ResidentMegabytes();
    g_report->Add("memory a job", (all - before) * 1e3 / count, "kB", 1.5);
    g_report->Add("memory a job, of it the table's", (all - records) * 1e3 / count, "kB");
    Changes("a full repaint of the rows", [&tab] { tab.Table()->viewport()->repaint(); });
    MeasureScrolling(*tab.Table());
    const auto add = [&] {
        tab.AddJob(Job(static_cast<int>(tab.Jobs().size()) + 1, Taskmill_JobStatus::Completed));
        tab.FillTable();
        Turn();
    };
    Changes("one more job, sorted by number", add);
    MeasureSorting(*tab.Table());
    Changes("one more job, sorted by time, newest first", add);
    Row("select all", MilliSeconds([&] {
            tab.Table()->selectAll();
            Turn();
        }));
    Changes("one more job, all selected", add);
    Row("remove every second job", MilliSeconds([&] {
            QList<int> positions;
            for (int position = 0; position < tab.Jobs().size(); position += 2)
                positions.append(position);
            tab.Remove(positions);
            Turn();
        }),
        mostForARemoval);
}

void MeasureQueue(Taskmill_LongJobsQueueWidget &jobs, int count)
{
    g_report->Title(QByteArray::number(count).append(" waiting jobs").constData());
    Taskmill_QueueTab &tab = *jobs.Tab();
    Row("show the list", MilliSeconds([&] {
            jobs.Replace(Jobs(count, Taskmill_JobStatus::Pending));
            tab.FillTable();
            Turn();
        }));
    Row("refresh without a change", MilliSeconds([&] { tab.FillTable(); }), mostForAChange);
    int number = count;
    const auto submit = [&] {
        jobs.Submit(new Taskmill_Job{Job(++number, Taskmill_JobStatus::Pending)});
        tab.FillTable();
        Turn();
    };
    const auto remove = [&](int position) {
        jobs.Jobs().RemoveAt(position);
        tab.FillTable();
        Turn();
    };
    Changes("one more job", submit);
    Changes("the first job leaves", [&] { remove(0); });
    MeasureSorting(tab.Table());
    Changes("one more job, sorted by time", submit);
    Changes("a job in the middle leaves", [&] { remove(count / 2); });
}

/// Counts what a widget paints.
class PaintCounter final : public QObject
{
public:
    explicit PaintCounter(QWidget &widget) { widget.installEventFilter(this); }

    bool eventFilter(QObject *, QEvent *event) override
    {
        Paints += event->type() == QEvent::Paint ? 1 : 0;
        return false;
    }

    int Paints = 0;
};

/// Jobs leave the queue for the finished ones as fast as the event loop turns, the queue being shown.
void MeasureDraining(Taskmill_LongJobsQueueWidget &jobs, Taskmill_FinishedJobsWidget &finishedJobs)
{
    constexpr int milliSeconds = 3000;
    g_report->Title("A queue that is drained at full speed");
    const PaintCounter counter{*jobs.Tab()->Table().viewport()};
    QElapsedTimer total;
    QList<double> turns;
    total.start();
    while (total.elapsed() < milliSeconds && jobs.Jobs().Count() > 1) {
        turns.append(MilliSeconds([&] {
            Taskmill_JobRecord job = jobs.Jobs().JobAt(0)->Record();
            job.SetStatus(Taskmill_JobStatus::Completed, true);
            jobs.Jobs().RemoveAt(0);
            finishedJobs.AddJob(job);
            QCoreApplication::processEvents();
        }));
        // At the pace of the fastest programs.
        QThread::usleep(500);
    }
    const double seconds = static_cast<double>(total.elapsed()) / 1e3;
    g_report->Add("jobs a second", static_cast<double>(turns.size()) / seconds, "");
    g_report->Add("repaints a second", counter.Paints / seconds, "", mostRepaints);
    Row("longest turn of the event loop", std::ranges::max(turns), mostForAChange);
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
    Turn();

    MeasureFinished(finishedJobs, finishedCount);
    const auto switchTo = [&window](int tab) {
        return MilliSeconds([&window, tab] {
            window.setCurrentIndex(tab);
            Turn();
        });
    };
    switchTo(1);
    MeasureQueue(longJobs, waitingCount);
    Row("switch to the finished jobs", switchTo(0), mostForASwitch);
    Row("switch to the waiting jobs", switchTo(1), mostForASwitch);
    MeasureDraining(longJobs, finishedJobs);
    return 0;
}
