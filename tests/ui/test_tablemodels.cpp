// SPDX-License-Identifier: MIT
#include "db/databasetestutil.h"
#include "jobs/job.h"
#include "manager/listings.h"
#include "manager/runningjobs.h"
#include "manager/timetext.h"
#include "ui/finishedjobswidget.h"
#include "ui/jobtypeswidget.h"
#include "ui/queuewidgets.h"
#include "ui/recordinginspector.h"
#include "ui/rowsmodel.h"
#include "ui/runningjobswidget.h"
#include "ui/uidriver.h"
#include "widgets/tablesortproxy.h"
#include "widgets/tablewidget.h"

#include <QAbstractItemModelTester>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr auto reportMode = QAbstractItemModelTester::FailureReportingMode::QtTest;

Taskmill_JobType TheJobType()
{
    Taskmill_JobType jobType = SampleJobType(u"the type"_s);
    jobType.ExecutablePath = TestProgramPath();
    jobType.GenericCommandLine = u"@EXEFILE wait @NAME"_s;
    return jobType;
}

Taskmill_JobRecord TheJob()
{
    Taskmill_JobRecord job = TestManager::JobOf(TheJobType(), 7);
    job.Status = Taskmill_JobStatus::Failed;
    job.PlaceholderValues = {{u"@NAME"_s, u"x"_s}};
    job.Submitted = QDateTime{{2024, 2, 29}, {1, 2, 3}};
    job.Started = QDateTime{{2024, 3, 1}, {4, 5, 6}};
    job.Finished = QDateTime{{2025, 12, 31}, {7, 8, 9}};
    job.InputFilePath = u"/in/x.in"_s;
    job.Conditions.IsHeld = true;
    job.ExitCode = 3;
    job.ProcessorMs = 61'500;
    job.PeakMemoryKB = 2560;
    job.AskedNeeds.Cores = 4;
    job.AskedNeeds.MemoryMB = 300;
    job.Result.Verdict = Taskmill_Verdict::NotConverged;
    job.Result.Program = u"MOPAC"_s;
    return job;
}

/// The window's tables with one row each, and the listings of the same.
struct Tables : PagePlace
{
    RecordingInspector inspector{{{10, 20, u"the name"_s, TestProgramPath()}}};
    Taskmill_RunningJobs running{inspector, manager.JobTypes()};
    Taskmill_LongJobsQueueWidget queue{&window, manager};
    Taskmill_FinishedJobsWidget finished{&window, manager.FinishedJobs()};

    /// The table of that name and its text for the console.
    std::pair<KilnUtil_TableWidget *, QString> Find(const QString &name)
    {
        if (name == "queue"_L1) {
            manager.Long().Queue()->SetPaused(true);
            manager.Long().Submit(new Taskmill_Job{TheJob()});
            queue.FillTable();
            return {&queue.Table(), manager.Long().ListingText()};
        }
        if (name == "finished"_L1) {
            manager.FinishedJobs().AddJob(TheJob());
            finished.FillTable();
            return {finished.Table(), manager.FinishedJobs().ListingText()};
        }
        Taskmill_JobType type = TheJobType();
        manager.JobTypes().Add(type);
        if (name == "types"_L1) {
            types = std::make_unique<Taskmill_JobTypesWidget>(&window, manager.JobTypes());
            return {TableOf(*types->Frame()),
                    Taskmill_Listings::JobTypes().Listing(
                        u"Job Types"_s, {},
                        {Taskmill_Listings::JobTypes().Row(manager.JobTypes().GetAll().first())}, 0)};
        }
        processes = std::make_unique<Taskmill_RunningJobsWidget>(&window, running, manager.Destinations());
        (void)QTest::qWaitFor([this] { return !running.IsReading(); });
        return {TableOf(*processes->Frame()), running.ListingText(inspector.ListProcesses())};
    }

private:
    static KilnUtil_TableWidget *TableOf(const QWidget &page)
    {
        return page.findChild<KilnUtil_TableWidget *>();
    }

    std::unique_ptr<Taskmill_JobTypesWidget> types;
    std::unique_ptr<Taskmill_RunningJobsWidget> processes;
};

/// Headers and cells of a listing with one row.
QStringList ColumnsOf(const QString &listing)
{
    const QStringList lines = listing.split(u'\n');
    QStringList columns;
    auto header = QRegularExpression{u"\\S+( \\S+)* *"_s}.globalMatch(lines.value(2));
    while (header.hasNext()) {
        const auto match = header.next();
        columns += match.captured().trimmed() + u": "_s +
                   lines.value(4).mid(match.capturedStart(), match.capturedLength()).trimmed();
    }
    return columns;
}

QStringList ColumnsOf(const QAbstractItemModel &model)
{
    QStringList columns;
    for (int column = 0; column < model.columnCount(); ++column)
        columns += model.headerData(column, Qt::Horizontal).toString() + u": "_s +
                   model.index(0, column).data().toString();
    return columns;
}

QList<QStringList> Rows(const QString &keys)
{
    QList<QStringList> rows;
    for (const QString &key : keys.split(u' '))
        rows.append({key.first(1), key});
    return rows;
}
} // namespace

/// What the tables show, in the window and on the console, and what their models announce.
class TestTableModels : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    /// The name of a row is that of its table, and where the column stands.
    void EachColumnHasItsText_data()
    {
        QTest::addColumn<QString>("column");
        QTest::addColumn<qsizetype>("count");
        const QString program = TestProgramPath();
        const auto add = [](const char *table, const QStringList &columns) {
            for (qsizetype place = 0; place < columns.size(); ++place)
                QTest::addRow("%s %d", table, static_cast<int>(place)) << columns[place] << columns.size();
        };
        QStringList queue{u"Job ID: 7"_s,
                          u"Name: job 7"_s,
                          u"Status: Pending"_s,
                          u"Job Type: the type"_s,
                          u"Executable Path: "_s + program,
                          u"Command Line: %1 wait x"_s.arg(program),
                          u"Submitted: now"_s,
                          u"Started: 03-01-2024 04:05:06"_s};
        const QStringList measures{u"Processor Time: 0:01:01.5"_s, u"Peak Memory: 2.5 MB"_s,
                                   u"Exit Code: 3"_s, u"Folder: /in"_s};
        add("queue", queue + QStringList{u"Result: Not converged"_s, u"Elapsed:"_s} + measures +
                         QStringList{u"Waits Because: held"_s, u"Cores: 4"_s, u"Memory: 300 MB"_s});
        queue[2] = u"Status: Failed"_s;
        queue[6] = u"Submitted: 02-29-2024 01:02:03"_s;
        queue.insert(4, u"Queue: Short"_s);
        add("finished",
            queue +
                QStringList{u"Finished: 12-31-2025 07:08:09"_s, u"Result:"_s, u"Elapsed: 670 d 03:03:03"_s} +
                measures);
        add("types",
            {u"DBID: 0"_s, u"Name: the type"_s, u"Application Name: mopac"_s,
             u"Executable Path: "_s + program, u"Default Queue: Short"_s,
             u"Input File Filter: Input (*.mop)"_s, u"Output File Filter: Output (*.out)"_s,
             u"Environment Variables: A=1 ; B=\"zwei\""_s, u"Generic Command Line: @EXEFILE wait @NAME"_s});
        add("processes",
            {u"User:"_s, u"Process ID: 10"_s, u"Parent Process ID: 20"_s, u"App Name: the name"_s,
             u"Status: sleeping"_s, u"App Path: "_s + program, u"Command Line: the command line"_s});
    }

    void EachColumnHasItsText()
    {
        QFETCH(QString, column);
        QFETCH(const qsizetype, count);
        const QStringList tag = QString::fromLatin1(QTest::currentDataTag()).split(u' ');
        Tables tables;
        const auto [table, listing] = tables.Find(tag[0]);
        if (const Taskmill_Job *job = tables.manager.Long().Jobs().FindByJobID(7))
            column.replace("now"_L1, job->Record().Submitted.Text(u"MM-dd-yyyy hh:mm:ss"));
        if (column.startsWith("Command Line: "_L1) || column.startsWith("Folder: "_L1))
            column = QDir::toNativeSeparators(column);
        const QStringList shown = ColumnsOf(*table->model());
        QCOMPARE(shown.size(), count);
        QCOMPARE(shown.value(tag[1].toInt()).trimmed(), column);
        const QStringList listed = ColumnsOf(listing);
        // The tables of jobs have more than their listings.
        const bool isOfJobs = tag[0] == "queue"_L1 || tag[0] == "finished"_L1;
        if (isOfJobs && tag[1].toInt() >= listed.size())
            return;
        QCOMPARE(listed.value(tag[1].toInt()).trimmed(), column);
        if (!isOfJobs)
            QCOMPARE(listed.size(), shown.size());
        // A time is sorted as its text is.
        const QString text = column.section(u": "_s, 1);
        const QDateTime time = QDateTime::fromString(text, u"MM-dd-yyyy hh:mm:ss"_s);
        QCOMPARE(table->model()->index(0, tag[1].toInt()).data(KilnUtil_TableSortProxy::SortRole).toString(),
                 time.isValid() ? QString::number(Taskmill_TimeTextOrder(time)) : text);
    }

    /// Rows are known again by the letter that they begin with.
    void MergedRowsAreAnnounced_data()
    {
        QTest::addColumn<QString>("rows");
        QTest::newRow("nothing new") << u"a b c d"_s;
        QTest::newRow("rows behind") << u"a b c d e f"_s;
        QTest::newRow("rows before and between") << u"e a f b g h c d"_s;
        QTest::newRow("rows are gone") << u"b"_s;
        QTest::newRow("another order") << u"d b a c"_s;
        QTest::newRow("other texts") << u"a b1 c1 d"_s;
        QTest::newRow("all at once") << u"e d1 a f1 b"_s;
        QTest::newRow("all others") << u"x y"_s;
    }

    void MergedRowsAreAnnounced()
    {
        Taskmill_RowsModel model{{u"Key"_s, u"Text"_s}, 0, {}, nullptr};
        const QAbstractItemModelTester tester{&model, reportMode};
        model.SetRows(Rows(u"a b c d"_s));
        const QPersistentModelIndex second = model.index(1, 1);
        QSignalSpy changes{&model, &QAbstractItemModel::dataChanged};

        QFETCH(const QString, rows);
        model.SetRows(Rows(rows));
        const QStringList texts = rows.split(u' ');
        QStringList shown;
        for (int row = 0; row < model.rowCount(); ++row)
            shown += model.index(row, 1).data().toString();
        QCOMPARE(shown, texts);
        const QStringList kept = texts.filter(QRegularExpression{u"^b"_s});
        QCOMPARE(second.data().toString(), kept.join(QString{}));
        QCOMPARE(second.isValid(), !kept.isEmpty());
        QStringList announced;
        for (const QList<QVariant> &change : changes) {
            QVERIFY(change[2].value<QList<int>>().contains(KilnUtil_TableSortProxy::SortRole));
            for (int row = change[0].toModelIndex().row(); row <= change[1].toModelIndex().row(); ++row)
                announced += model.index(row, 1).data().toString();
        }
        // New rows are there with their texts.
        QCOMPARE(announced, texts.filter(QRegularExpression{u"^[a-d]1"_s}));
    }
};

QTEST_MAIN(TestTableModels)
#include "test_tablemodels.moc"
