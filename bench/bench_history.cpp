// SPDX-License-Identifier: MIT
// Measures a history of a million finished jobs: what the real program needs of memory to have it open, and
// how long scrolling, sorting, selecting and removing hold the event loop. Run with the platform "offscreen".

#include "manager.h"
#include "records.h"
#include "report.h"

#include "manager/manager.h"
#include "ui/finishedjobswidget.h"
#include "widgets/tablesortproxy.h"
#include "widgets/tablewidget.h"

#include <QApplication>
#include <QCheckBox>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QLineEdit>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr double mostMegabytes = 300;
constexpr double longestTurn = 100; ///< in ms
constexpr int jobsWhenQuick = 100'000;

/// The turns of the event loop, each measured, from what begins a work to when it is done.
class Turns
{
public:
    Turns(Bench::Report &report, const QByteArray &name)
        : m_report{report}
        , m_name{name}
    {
        m_time.start();
    }

    void Do(const std::function<void()> &work)
    {
        m_longest = qMax(m_longest, Bench::MilliSeconds([&work] {
                             work();
                             QCoreApplication::processEvents();
                         }));
    }

    void Until(const std::function<bool()> &isDone)
    {
        while (!isDone()) {
            Do([] {});
            QThread::usleep(500);
        }
        Do([] {});
    }

    ~Turns()
    {
        m_report.Add(m_name, static_cast<double>(m_time.nsecsElapsed()) / 1e6, "ms");
        m_report.Add(m_name + ": longest turn of the event loop", m_longest, "ms", longestTurn);
    }
    Q_DISABLE_COPY_MOVE(Turns)

private:
    Bench::Report &m_report;
    const QByteArray m_name;
    QElapsedTimer m_time;
    double m_longest = 0;
};

void MeasureProgram(Bench::Report &report, const QString &file)
{
    for (const auto mode : {Bench::Manager::Mode::Console, Bench::Manager::Mode::Window}) {
        const Bench::Manager manager{mode, file};
        const QByteArray name = mode == Bench::Manager::Mode::Console ? "console" : "window";
        report.Add(name + ": start to listening", manager.StartMilliSeconds(), "ms");
        report.Add(name + ": resident memory", manager.ResidentMegabytes(), "MB", mostMegabytes);
    }
}

class Table
{
public:
    Table(Bench::Report &report, Taskmill_FinishedJobs &jobs)
        : m_report{report}
        , m_jobs{jobs}
    {
        m_window.resize(1200, 800);
        m_page.Frame()->resize(1200, 800);
        QObject::connect(Model(), &QAbstractItemModel::layoutChanged, &m_window, [this] { ++m_layouts; });
        m_window.show();
        QCoreApplication::processEvents();
    }

    void Scroll()
    {
        Turns turns{m_report, "scroll: 100 places"};
        QScrollBar &bar = *m_table.verticalScrollBar();
        for (int step = 0; step < 100; ++step)
            turns.Do([&bar] { bar.setValue((bar.value() + bar.maximum() / 7) % bar.maximum()); });
    }

    void Sort()
    {
        for (int column = 0; column < Model()->columnCount(); ++column) {
            const QString name = Model()->headerData(column, Qt::Horizontal).toString();
            Turns turns{m_report, "sort by " + name.toUtf8()};
            const int before = m_layouts;
            turns.Do([&] { m_table.sortByColumn(column, Qt::DescendingOrder); });
            turns.Until([&] { return m_layouts > before; });
        }
    }

    void Filter(const QString &text, bool failedOnly)
    {
        m_page.OpenFilter();
        auto *line = m_page.Frame()->findChild<QLineEdit *>();
        auto *check = m_page.Frame()->findChild<QCheckBox *>();
        const int before = Model()->rowCount();
        Turns turns{m_report, failedOnly ? "filter: failed only" : "filter by " + text.toUtf8()};
        turns.Do([&] {
            line->setText(text);
            check->setChecked(failedOnly);
        });
        turns.Until([&] { return !m_table.Rows().IsFiltering() && Model()->rowCount() != before; });
    }

    void CloseFilter()
    {
        const int before = Model()->rowCount();
        Turns turns{m_report, "close the filter"};
        turns.Do([this] {
            QKeyEvent escape{QEvent::KeyPress, Qt::Key_Escape, {}};
            QCoreApplication::sendEvent(&m_table, &escape);
        });
        turns.Until([&] { return Model()->rowCount() != before; });
    }

    void EndJobs(const QByteArray &when)
    {
        Turns turns{m_report, "ten jobs end, " + when};
        for (int i = 0; i < 10; ++i) {
            turns.Do([this] {
                m_jobs.AddJob(Bench::FinishedJob(m_jobs.JobIDAt(m_jobs.Count() - 1) + 1));
                m_page.FillTable();
            });
        }
    }

    void SelectAll()
    {
        Turns turns{m_report, "select all"};
        turns.Do([this] { m_table.selectAll(); });
    }

    /// In the middle of the view, as it is sorted.
    void RemoveHalf()
    {
        const int rows = Model()->rowCount();
        SelectHalf(rows);
        Turns turns{m_report, "remove half of them"};
        QList<int> positions;
        turns.Do([&] { positions = m_table.PositionsOfSelectedRows(); });
        turns.Do([&] { m_jobs.Remove(positions); });
        turns.Until([this] { return !m_jobs.IsRemoving(); });
    }

    void SelectHalf(int rows)
    {
        Turns turns{m_report, "select half of them"};
        turns.Do([this, rows] {
            m_table.clearSelection();
            m_table.selectionModel()->select(
                {Model()->index(rows / 4, 0), Model()->index(rows / 4 * 3 - 1, 0)},
                QItemSelectionModel::Select | QItemSelectionModel::Rows);
        });
    }

    void Find()
    {
        Turns turns{m_report, "finding ten jobs and their outputs"};
        for (int i = 1; i <= 10; ++i)
            turns.Do([&] {
                const qsizetype position = m_jobs.PositionOf(static_cast<int>(m_jobs.Count()) / 10 * i);
                (void)m_jobs.OutputOf(m_jobs.JobAt(qMax(qsizetype{0}, position)));
            });
    }

private:
    [[nodiscard]] QAbstractItemModel *Model() const { return m_table.model(); }

    Bench::Report &m_report;
    Taskmill_FinishedJobs &m_jobs;
    QWidget m_window;
    Taskmill_FinishedJobsWidget m_page{&m_window, m_jobs};
    KilnUtil_TableWidget &m_table = *m_page.Table();
    int m_layouts = 0;
};

void MeasureTable(Bench::Report &report, const QString &file)
{
    Bench::NoNotifier notifier;
    Taskmill_Manager manager{notifier, Taskmill_ReadOnlyProjects::Open};
    const QByteArray fileName = file.toLocal8Bit();
    const double copying = Bench::MilliSeconds([&] { Bench::CopyDatabase(fileName, fileName + ".copy"); });
    const double opening = Bench::MilliSeconds([&] { (void)manager.Project().OpenProject(file); });
    report.Add("opening", opening, "ms", {"file copy", copying, 3});
    Table table{report, manager.FinishedJobs()};
    table.Scroll();
    table.EndJobs("sorted by number");
    table.Find();
    table.Sort();
    table.EndJobs("sorted by time");
    table.Scroll();
    table.Filter(u"molecule_77 mopac"_s, false);
    table.EndJobs("filtered");
    table.Filter({}, true);
    table.CloseFilter();
    table.SelectAll();
    table.EndJobs("all selected");
    // With everything selected.
    table.Filter(u"not converged"_s, false);
    table.CloseFilter();
    table.RemoveHalf();
}
} // namespace

int main(int argc, char **argv)
{
    const QApplication application{argc, argv};
    const Bench::Options options = Bench::Options::Read(argc, argv);
    Bench::Report report{options};
    const QTemporaryDir directory;
    qputenv("TASKMILLPREFS_DIR", directory.path().toLocal8Bit());
    const int count = options.Quick ? jobsWhenQuick : options.Numbers.value(0, "1000000").toInt();
    const QString file = directory.filePath(u"history.mill"_s);
    if (!Bench::MakeProject(file, count))
        qFatal("no project file");
    report.Title(QByteArray::number(count).append(" finished jobs in a project").constData());
    MeasureTable(report, file);
    MeasureProgram(report, file);
    return 0;
}
