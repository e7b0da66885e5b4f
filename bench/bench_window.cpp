// SPDX-License-Identifier: MIT
// Measures the window's tabs with many jobs: how long each change blocks the event loop. Run with the
// platform "offscreen"; the numbers of finished and of waiting jobs may be given.

#include "records.h"
#include "report.h"

#include "manager/manager.h"
#include "ui/finishedjobswidget.h"
#include "ui/queuewidgets.h"
#include "widgets/tablewidget.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QScrollBar>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QThread>
#include <QWheelEvent>

#include <algorithm>
#include <ctime>

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

/// One that waits, or has just finished.
Taskmill_JobRecord Job(int number, Taskmill_JobStatus status)
{
    Taskmill_JobRecord job = Bench::FinishedJob(number);
    job.Status = {};
    job.SetStatus(status, true);
    return job;
}

QList<Taskmill_JobRecord> WaitingJobs(int count)
{
    QList<Taskmill_JobRecord> jobs;
    jobs.reserve(count);
    for (int number = 1; number <= count; ++number)
        jobs.append(Job(number, Taskmill_JobStatus::Pending));
    return jobs;
}

/// One turn of the event loop, with what Qt itself finds to be painted.
void Turn()
{
    QCoreApplication::processEvents();
}

/// Until the rows stand in the new order, which may be found in the background.
void MeasureSorting(KilnUtil_TableWidget &table)
{
    int layouts = 0;
    const auto counting = QObject::connect(table.model(), &QAbstractItemModel::layoutChanged, &table,
                                           [&layouts] { ++layouts; });
    const int columns = table.model()->columnCount();
    for (int column = 0; column < columns; ++column) {
        const QString name = table.model()->headerData(column, Qt::Horizontal).toString();
        const int before = layouts;
        Row(qPrintable(u"sort by "_s + name), MilliSeconds([&] {
                table.sortByColumn(column, Qt::DescendingOrder);
                while (layouts == before)
                    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
                Turn();
            }));
    }
    QObject::disconnect(counting);
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

void MeasureFinished(Taskmill_FinishedJobsWidget &tab, Taskmill_Manager &manager, const QString &file)
{
    Taskmill_FinishedJobs &jobs = manager.FinishedJobs();
    const double before = ResidentMegabytes();
    if (!manager.Project().OpenProject(file))
        qFatal("the project cannot be opened");
    Turn();
    const double all = ResidentMegabytes();
    const auto count = static_cast<double>(jobs.Count());
    g_report->Title(QByteArray::number(jobs.Count()).append(" finished jobs").constData());
    Row("show the list", MilliSeconds([&] {
            jobs.Load();
            Turn();
        }));
    g_report->Add("memory a job", (all - before) * 1e3 / count, "kB", 0.3);
    Changes("a full repaint of the rows", [&tab] { tab.Table()->viewport()->repaint(); });
    MeasureScrolling(*tab.Table());
    const auto add = [&] {
        jobs.AddJob(Job(static_cast<int>(jobs.Count()) + 1, Taskmill_JobStatus::Completed));
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
            for (int position = 0; position < jobs.Count(); position += 2)
                positions.append(position);
            jobs.Remove(positions);
            while (jobs.IsRemoving())
                Turn();
        }),
        mostForARemoval);
}

void MeasureQueue(Taskmill_QueueTab &tab, Taskmill_QueueOwner &owner, int count)
{
    g_report->Title(QByteArray::number(count).append(" waiting jobs").constData());
    owner.Queue()->SetPaused(true);
    Row("show the list", MilliSeconds([&] {
            owner.Replace(WaitingJobs(count));
            tab.FillTable();
            Turn();
        }));
    Row("refresh without a change", MilliSeconds([&] { tab.FillTable(); }), mostForAChange);
    int number = count;
    const auto submit = [&] {
        owner.Submit(new Taskmill_Job{Job(++number, {})});
        tab.FillTable();
        Turn();
    };
    const auto remove = [&](int position) {
        owner.Jobs().RemoveAt(position);
        tab.FillTable();
        Turn();
    };
    Changes("one more job", submit);
    Changes("the first job leaves", [&] { remove(0); });
    MeasureSorting(tab.Table());
    Changes("one more job, sorted by time", submit);
    Changes("a job in the middle leaves", [&] { remove(count / 2); });
}

/// Of this thread, in ms: waiting for the disk costs none.
double ProcessorMs()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
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
void MeasureDraining(Taskmill_QueueTab &tab, Taskmill_QueueOwner &owner, Taskmill_FinishedJobs &finishedJobs)
{
    constexpr int milliSeconds = 3000;
    g_report->Title("A queue that is drained at full speed");
    const PaintCounter counter{*tab.Table().viewport()};
    QElapsedTimer total;
    QList<double> turns;
    double mostWork = 0;
    total.start();
    while (total.elapsed() < milliSeconds && owner.Jobs().Count() > 1) {
        const double before = ProcessorMs();
        turns.append(MilliSeconds([&] {
            Taskmill_JobRecord job = owner.Jobs().JobAt(0)->Record();
            job.SetStatus(Taskmill_JobStatus::Completed, true);
            owner.Jobs().RemoveAt(0);
            finishedJobs.AddJob(job);
            QCoreApplication::processEvents();
        }));
        mostWork = std::max(mostWork, ProcessorMs() - before);
        // At the pace of the fastest programs.
        QThread::usleep(500);
    }
    const double seconds = static_cast<double>(total.elapsed()) / 1e3;
    g_report->Add("jobs a second", static_cast<double>(turns.size()) / seconds, "");
    g_report->Add("repaints a second", counter.Paints / seconds, "", mostRepaints);
    Row("longest turn of the event loop", std::ranges::max(turns), mostForAChange);
    Row("longest turn of the event loop, in processor time", mostWork, mostForAChange);
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

    const QTemporaryDir directory;
    qputenv("TASKMILLPREFS_DIR", directory.path().toLocal8Bit());
    const QString file = directory.filePath(u"bench.mill"_s);
    if (!Bench::MakeProject(file, finishedCount))
        qFatal("no project file");
    Bench::NoNotifier notifier;
    Taskmill_Manager manager{notifier, Taskmill_ReadOnlyProjects::Open};
    if (!manager.Project().NewProject())
        qFatal("no new project");

    QTabWidget window;
    window.resize(1200, 800);
    Taskmill_FinishedJobsWidget finishedJobs{&window, manager.FinishedJobs()};
    Taskmill_LongJobsQueueWidget longJobs{&window, manager};
    window.addTab(finishedJobs.Frame(), u"Finished Jobs"_s);
    window.addTab(longJobs.Frame(), u"Long Jobs Queue"_s);
    window.show();
    Turn();

    MeasureFinished(finishedJobs, manager, file);
    const auto switchTo = [&window](int tab) {
        return MilliSeconds([&window, tab] {
            window.setCurrentIndex(tab);
            Turn();
        });
    };
    switchTo(1);
    MeasureQueue(longJobs, manager.Destinations().Long(), waitingCount);
    Row("switch to the finished jobs", switchTo(0), mostForASwitch);
    Row("switch to the waiting jobs", switchTo(1), mostForASwitch);
    MeasureDraining(longJobs, manager.Destinations().Long(), manager.FinishedJobs());
    manager.Project().CloseProject();
    return 0;
}
