// SPDX-License-Identifier: MIT
// Measures the details beneath the table of finished jobs: how they follow a key that is held down, and how
// they show an output of 4 GB that grows by a line a millisecond, and 64 MB that a job has printed. Run with
// the platform "offscreen"; the number of finished jobs may be given.

#include "records.h"
#include "report.h"

#include "manager/manager.h"
#include "ui/detailspane.h"
#include "ui/detailssplitter.h"
#include "ui/detailsswitch.h"
#include "ui/finishedjobswidget.h"
#include "ui/outputpage.h"
#include "viewer/textview.h"
#include "widgets/tablewidget.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QKeyEvent>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <atomic>

using namespace Qt::Literals::StringLiterals;

namespace {
using Bench::MilliSeconds;

enum PageNumber
{
    General,
    Output
};

constexpr double mostToOpen = 300;  // ms
constexpr double mostMemory = 20;   // MB
constexpr double mostForATurn = 10; // ms
constexpr qint64 outputSize = 4LL * 1024 * 1024 * 1024;

double ResidentMegabytes()
{
    QFile status{u"/proc/self/statm"_s};
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    return status.readAll().split(' ').value(1).toDouble() * 4096 / 1e6;
}

void Turn()
{
    QCoreApplication::processEvents();
}

/// A line a millisecond, until it is stopped.
class Writer final : public QThread
{
public:
    explicit Writer(const QString &path)
        : m_file{path}
    {
        if (!m_file.open(QIODevice::WriteOnly) || !m_file.resize(outputSize) || !m_file.seek(outputSize))
            qFatal("no room for the output");
        // As a file that was written: lines in every place that is looked at.
        for (int line = 0; line < 200'000; ++line)
            WriteLine(line);
    }
    ~Writer() override
    {
        m_stops = true;
        wait();
    }
    Q_DISABLE_COPY_MOVE(Writer)

protected:
    void run() override
    {
        for (int line = 0; !m_stops; ++line) {
            WriteLine(line);
            m_file.flush();
            usleep(1000);
        }
    }

private:
    void WriteLine(int line)
    {
        m_file.write("   cycle " + QByteArray::number(line) + "  energy  -1234.567890  change  1.2345E-05\n");
    }

    QFile m_file;
    std::atomic_bool m_stops = false;
};

/// Of turns of the event loop with what was done before each.
struct Turns
{
    QList<double> durations; // ms

    void Take(const std::function<void()> &before)
    {
        durations.append(MilliSeconds([&before] {
            before();
            Turn();
        }));
    }
    void Report(Bench::Report &report, const QByteArray &what) const
    {
        report.Add(what + ": median turn", Bench::Median(durations), "ms", mostForATurn);
        report.Add(what + ": longest turn", std::ranges::max(durations), "ms", mostForATurn);
    }
};

void HoldKeyDown(Bench::Report &report, KilnUtil_TableWidget &table, const QByteArray &what)
{
    constexpr int times = 200;
    constexpr int repeatMs = 33;
    table.setCurrentIndex(table.model()->index(0, 0));
    Turn();
    Turns turns;
    for (int count = 0; count < times; ++count) {
        turns.Take([&table] {
            QKeyEvent press{QEvent::KeyPress, Qt::Key_Down, Qt::NoModifier, {}, true};
            QCoreApplication::sendEvent(&table, &press);
        });
        QElapsedTimer pause;
        pause.start();
        while (pause.elapsed() < repeatMs) {
            turns.Take([] {});
            QThread::usleep(500);
        }
    }
    turns.Report(report, what);
}

/// Shows the last job of the table, whose output ends with a line that holds the text, and turns the event
/// loop for so long.
void MeasureOutput(Bench::Report &report, Taskmill_DetailsSplitter &splitter, KilnUtil_TableWidget &table,
                   const QString &text, int followMs, const QByteArray &what)
{
    const int row = table.model()->rowCount() - 1;
    const auto *page = splitter.findChild<Taskmill_OutputPage *>();
    const double before = ResidentMegabytes();
    QElapsedTimer opening;
    opening.start();
    table.setCurrentIndex(table.model()->index(row, 0));
    Turns turns;
    const auto isShown = [page, &text] {
        const QStringList rows = page->View().VisibleText();
        return !rows.isEmpty() && rows.last().contains(text);
    };
    while (!isShown() && opening.elapsed() < 10'000)
        turns.Take([] {});
    report.Add("the last lines are seen", static_cast<double>(opening.elapsed()), "ms", mostToOpen);
    while (opening.elapsed() < followMs) {
        turns.Take([] {});
        QThread::usleep(200);
    }
    turns.Report(report, what);
    report.Add("memory", ResidentMegabytes() - before, "MB", mostMemory);
}
} // namespace

int main(int argc, char **argv)
{
    QApplication application{argc, argv};
    const Bench::Options options = Bench::Options::Read(argc, argv);
    Bench::Report report{options};
    const int count = options.Numbers.value(0, "100000").toInt();

    const QTemporaryDir directory;
    qputenv("TASKMILLPREFS_DIR", directory.path().toLocal8Bit());
    const QString file = directory.filePath(u"bench.mill"_s);
    Bench::NoNotifier notifier;
    Taskmill_Manager manager{notifier, Taskmill_ReadOnlyProjects::Open};
    if (!Bench::MakeProject(file, count) || !manager.Project().OpenProject(file))
        qFatal("no project");

    QWidget window;
    window.resize(1200, 800);
    Taskmill_FinishedJobsWidget tab{&window, manager.FinishedJobs()};
    Taskmill_DetailsSwitch details{nullptr};
    Taskmill_DetailsSplitter splitter{&window, tab, tab, manager.Results(), details};
    splitter.resize(window.size());
    KilnUtil_TableWidget &table = *tab.Table();
    window.show();
    Turn();

    report.Title(QByteArray::number(count).append(" finished jobs, a key is held down").constData());
    HoldKeyDown(report, table, "without details");
    details.SetOn(true);
    for (const auto &[page, what] : {std::pair{General, "general"_ba}, std::pair{Output, "output"_ba}}) {
        splitter.Pane()->Pages().setCurrentIndex(page);
        HoldKeyDown(report, table, what);
    }

    report.Title("An output of 4 GB that grows by a line a millisecond");
    Taskmill_JobRecord job = Bench::FinishedJob(count + 1);
    job.OutputFile = directory.filePath(u"large.out"_s);
    manager.FinishedJobs().AddJob(job);
    tab.FillTable();
    Turn();
    {
        Writer writer{job.OutputFile};
        writer.start();
        MeasureOutput(report, splitter, table, u"-1234.567890"_s, 5000, "while it grows");
    }

    report.Title("A job that has printed 64 MB");
    constexpr qsizetype printedSize = 64L * 1024 * 1024;
    const QString line = u"   cycle 1  energy  -777.654321  change  1.2345E-05\n"_s;
    Taskmill_JobRecord printed = Bench::FinishedJob(count + 2);
    printed.StdOutAndStdErr = line.repeated(printedSize / line.size());
    manager.FinishedJobs().AddJob(printed);
    printed.StdOutAndStdErr.clear();
    tab.FillTable();
    Turn();
    MeasureOutput(report, splitter, table, u"-777.654321"_s, 2000, "it is shown");
    manager.Project().CloseProject();
    return 0;
}
