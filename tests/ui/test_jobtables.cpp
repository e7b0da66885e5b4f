// SPDX-License-Identifier: MIT
#include "db/database.h"
#include "jobs/queuelessjobslist.h"
#include "ui/elapsedticker.h"
#include "ui/finishedjobswidget.h"
#include "ui/queuewidgets.h"
#include "ui/uidriver.h"
#include "viewer/textview.h"
#include "widgets/contrast.h"
#include "widgets/movablerowstable.h"

#include <QAbstractItemModelTester>
#include <QAbstractProxyModel>
#include <QClipboard>
#include <QLineEdit>

using namespace Qt::Literals::StringLiterals;

namespace {
using WarnAnswer = KilnUtil_UserPrompt::WarnAnswer;

QString CellText(const QTableView &table, int row, int column)
{
    return table.model()->index(row, column).data().toString();
}

QAbstractItemModel *SourceOf(const QTableView &table)
{
    return qobject_cast<const QAbstractProxyModel *>(table.model())->sourceModel();
}

QPoint CellCentre(const QTableView &table, int row)
{
    return table.visualRect(table.model()->index(row, 1)).center();
}

/// The page of the long jobs, whose jobs run until they are released, and that of the finished jobs.
struct JobPages : PagePlace
{
    Taskmill_JobType gated = manager.AddGatedJobType();
    Taskmill_JobQueue &queue = *manager.Long().Queue();
    Taskmill_LongJobsQueueWidget queueTab{&window, manager};
    KilnUtil_MovableRowsTable &table = queueTab.Table();
    Taskmill_FinishedJobs &finished = manager.FinishedJobs();
    Taskmill_FinishedJobsWidget finishedTab{&window, finished};
    KilnUtil_TableWidget &finishedTable = *finishedTab.Table();
    QStringList inputFiles;

    JobPages() { Show(); }

    /// Jobs "job 1", "job 2" and so on.
    void Submit(int count)
    {
        for (int number = 0; number < count; ++number) {
            inputFiles.append(manager.InputFile(u"in%1"_s.arg(inputFiles.size())));
            manager.Long().Submit(manager.NewJob(gated, inputFiles.last()));
        }
        queueTab.FillTable();
    }

    /// Finished jobs 1, 2, ... named "a", "b", ...
    void AddFinishedJobs(int count)
    {
        for (int number = 1; number <= count; ++number) {
            Taskmill_JobRecord job = manager.JobOf(gated, number);
            job.Name = QString{QChar{u'a' + number - 1}};
            finished.AddJob(job);
        }
        finishedTab.FillTable();
    }

    static void Select(KilnUtil_TableWidget &table, const QList<int> &rows)
    {
        for (const int row : rows)
            table.selectionModel()->select(table.model()->index(row, 0),
                                           QItemSelectionModel::Select | QItemSelectionModel::Rows);
    }
    void Choose(int row, const QString &entry) const { ChooseFromMenu(table, CellCentre(table, row), entry); }
};
} // namespace

class TestJobTables : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    /// Many gaps are announced as a new layout.
    void RefreshKeepsThePlaceOfTheReader_data()
    {
        QTest::addColumn<int>("count");
        QTest::newRow("few gaps") << 200;
        QTest::newRow("many gaps") << 220;
    }

    void RefreshKeepsThePlaceOfTheReader()
    {
        QFETCH(const int, count);
        JobPages pages;
        constexpr auto reportMode = QAbstractItemModelTester::FailureReportingMode::QtTest;
        const QAbstractItemModelTester tester{pages.table.model(), reportMode};
        const QAbstractItemModelTester sourceTester{SourceOf(pages.table), reportMode};
        pages.queue.SetPaused(true);
        pages.Submit(count);
        pages.table.sortByColumn(0, Qt::DescendingOrder);
        const QPersistentModelIndex inSource = SourceOf(pages.table)->index(94, 0);
        pages.table.setCurrentIndex(pages.table.model()->index(count - 95, 1));
        pages.table.scrollTo(pages.table.model()->index(count - 100, 0), QAbstractItemView::PositionAtTop);
        const auto top = [&] {
            return CellText(pages.table, pages.table.rowAt(0), 0);
        };
        QCOMPARE(top(), u"100"_s);

        // Every second row vanishes, and three come above.
        QList<int> gone;
        for (int jobID = 1; jobID <= count; jobID += 2)
            gone.append(jobID);
        gone.removeOne(95);
        pages.manager.Long().RemoveNow(gone);
        pages.Submit(3);
        QCOMPARE(pages.table.model()->rowCount(), count / 2 + 4);
        QCOMPARE(CellText(pages.table, 0, 0), QString::number(count + 3));
        QCOMPARE(inSource.data().toInt(), 95);
        QCOMPARE(top(), u"100"_s);
        QCOMPARE(CellText(pages.table, pages.table.currentIndex().row(), 0), u"95"_s);
        QCOMPARE(pages.table.SelectedRows(), QList<int>{pages.table.currentIndex().row()});

        // At the top, the table stays there. What nobody sees is filled when it is looked at.
        pages.table.scrollToTop();
        pages.window.hide();
        pages.manager.Long().Submit(pages.manager.NewJob(pages.gated));
        pages.window.show();
        QCOMPARE(top(), QString::number(count + 4));
    }

    void ActionsMeanTheJobUnderTheCursor()
    {
        JobPages pages;
        pages.queue.SetPaused(true);
        pages.Submit(3);
        pages.table.sortByColumn(1, Qt::DescendingOrder);
        pages.Choose(0, u"Show Input File"_s);
        QCOMPARE(TakeViewerCaptions(pages.window),
                 QStringList{u"Input file of job 3:  "_s + pages.inputFiles[2]});
        pages.table.setCurrentIndex(pages.table.model()->index(2, 1));
        QTest::keyClick(&pages.table, Qt::Key_Return);
        QCOMPARE(TakeViewerCaptions(pages.window),
                 QStringList{u"Input file of job 1:  "_s + pages.inputFiles[0]});
        pages.manager.prompt.answers = {WarnAnswer::Yes};
        QTest::keyClick(&pages.table, Qt::Key_Delete);
        QCOMPARE(pages.queue.JobIDs(), (QList<int>{2, 3}));
        QCOMPARE(ColumnTexts(pages.table, 0), (QStringList{u"3"_s, u"2"_s}));
    }

    void RemoveTakesSelectedAndClickedRows_data()
    {
        QTest::addColumn<int>("column");
        QTest::addColumn<QList<int>>("selected");
        QTest::addColumn<int>("clicked");
        QTest::addColumn<QList<int>>("left");
        // Of the jobs 1 to 5; the numbers of rows are those of the view.
        QTest::newRow("sorted, one row") << 0 << QList<int>{} << 1 << QList{1, 2, 3, 5};
        QTest::newRow("sorted, two rows") << 0 << QList{1, 3} << 3 << QList{1, 3, 5};
        QTest::newRow("unsorted") << -1 << QList{1, 2} << 2 << QList{1, 4, 5};
    }

    void RemoveTakesSelectedAndClickedRows()
    {
        QFETCH(const int, column);
        QFETCH(const QList<int>, selected);
        QFETCH(const int, clicked);
        JobPages pages;
        pages.queue.SetPaused(true);
        pages.Submit(5);
        pages.table.sortByColumn(column, Qt::DescendingOrder);
        JobPages::Select(pages.table, selected);
        pages.manager.prompt.answers = {WarnAnswer::Yes};
        pages.Choose(clicked, u"Remove"_s);
        QTEST(pages.queue.JobIDs(), "left");

        // A click below the rows is on none.
        pages.table.clearSelection();
        pages.table.setCurrentIndex({});
        pages.table.selectionModel()->setCurrentIndex(pages.table.model()->index(0, 0),
                                                      QItemSelectionModel::NoUpdate);
        QCOMPARE(ChooseFromMenu(pages.table, QPoint{5, 300}, {}).first(), u"(Remove)"_s);
    }

    void NoOtherJobBecomesCurrent()
    {
        JobPages pages;
        pages.queue.SetPaused(true);
        pages.Submit(4);
        pages.table.selectRow(1);
        pages.manager.Long().RemoveNow({2});
        pages.queueTab.FillTable();
        pages.table.clearFocus();
        pages.table.setFocus();
        QVERIFY(!pages.table.currentIndex().isValid());
        QVERIFY(pages.table.SelectedRows().isEmpty());
        QTest::keyClick(&pages.table, Qt::Key_Return);
        QTest::keyClick(&pages.table, Qt::Key_Delete);
        QCOMPARE(TakeViewerCaptions(pages.window), QStringList{});
        QVERIFY(pages.manager.prompt.asked.isEmpty());
        // The keys go on from the place.
        QTest::keyClick(&pages.table, Qt::Key_Down);
        QCOMPARE(CellText(pages.table, pages.table.currentIndex().row(), 0), u"3"_s);
    }

    /// Of a job without an output file it is the output text.
    void DoubleClickShowsTheEndOfTheOutput()
    {
        JobPages pages;
        const auto openOutput = [](KilnUtil_TableWidget &table) {
            table.setCurrentIndex(table.model()->index(0, 1));
            QTest::keyClick(&table, Qt::Key_Return);
        };
        pages.Submit(1);
        QTRY_COMPARE(pages.queue.JobAt(0)->Status(), Taskmill_JobStatus::Running);
        openOutput(pages.table);
        QCOMPARE(TakeViewerCaptions(pages.window), QStringList{u"Log of job 1"_s});

        for (const bool hasFile : {false, true}) {
            Taskmill_JobRecord job = pages.manager.JobOf(pages.gated, hasFile ? 2 : 1, pages.inputFiles[0]);
            job.StdOutAndStdErr = u"line\n"_s.repeated(500);
            if (hasFile)
                job.OutputFile = WriteTestFile(pages.manager.Path(u"a.out"_s), job.StdOutAndStdErr.toUtf8());
            pages.finished.AddJob(job);
        }
        pages.finishedTab.FillTable();
        pages.finishedTable.sortByColumn(0, Qt::DescendingOrder);
        const QString output = u"Output file of job 2:  "_s + pages.manager.Path(u"a.out"_s);
        const auto shown = [&](const QString &entry) {
            ChooseFromMenu(pages.finishedTable, CellCentre(pages.finishedTable, 0), entry);
            return TakeViewerCaptions(pages.window).join(u' ');
        };
        QCOMPARE(shown(u"Show Input File"_s), u"Input file of job 2:  "_s + pages.inputFiles[0]);
        QCOMPARE(shown(u"Show Output File"_s), output);
        QCOMPARE(shown(u"Show stdout and stderr"_s), u"Log of job 2"_s);
        for (const auto &caption : {output, u"Log of job 1"_s}) {
            openOutput(pages.finishedTable);
            const auto *viewer = pages.window.findChild<KilnUtil_TextView *>();
            QVERIFY(viewer);
            QVERIFY(viewer->TopOffset() > 0);
            QVERIFY(viewer->IsAtEnd());
            QCOMPARE(TakeViewerCaptions(pages.window), QStringList{caption});
            pages.finished.Remove({static_cast<int>(pages.finished.Jobs().size()) - 1});
        }
    }

    void JobsThatLeaveWhileTheMenuIsOpen()
    {
        JobPages pages;
        pages.queue.SetPaused(true);
        pages.Submit(3);
        ChooseFromMenu(pages.table, CellCentre(pages.table, 1), u"Show Input File"_s,
                       [&] { pages.manager.Long().Clear(); });
        QCOMPARE(TakeViewerCaptions(pages.window), QStringList{});
        QCOMPARE(pages.table.model()->rowCount(), 0);
    }

    void RowsAreMovedByKeysAndByHand()
    {
        JobPages pages;
        const QAbstractItemModelTester tester{SourceOf(pages.table)};
        pages.queue.SetPaused(true);
        pages.Submit(5);
        const auto press = [&pages](Qt::Key key) {
            QTest::keyClick(&pages.table, key, Qt::AltModifier);
            return ColumnTexts(pages.table, 0).join(QString{});
        };
        JobPages::Select(pages.table, {2, 4});
        QCOMPARE(press(Qt::Key_Up), u"13254"_s);
        QCOMPARE(press(Qt::Key_Home), u"35124"_s);
        QCOMPARE(press(Qt::Key_Down), u"13524"_s);
        QCOMPARE(press(Qt::Key_End), u"12435"_s);
        QCOMPARE(pages.table.SelectedRows(), (QList{3, 4}));
        // As the drop of a drag does.
        Q_EMIT pages.table.RowsMovedSignal(1);
        QCOMPARE(ColumnTexts(pages.table, 0).join(QString{}), u"13524"_s);
        QCOMPARE(pages.table.SelectedRows(), (QList{1, 2}));
        QVERIFY(pages.table.IsInSourceOrder());

        // A table that is sorted otherwise stays so.
        pages.table.sortByColumn(0, Qt::DescendingOrder);
        QVERIFY(!pages.table.IsInSourceOrder());
        QCOMPARE(press(Qt::Key_Home), u"54321"_s);
        QCOMPARE(pages.queue.JobIDs(), (QList{3, 5, 1, 2, 4}));
        // A job that starts before others goes to the front.
        pages.table.ShowSourceOrder();
        pages.table.clearSelection();
        pages.Choose(0, u"Hold"_s);
        QVERIFY(!pages.queue.FindByJobID(3)->MayStart());
        pages.queue.SetPaused(false);
        pages.queueTab.FillTable();
        QCOMPARE(ColumnTexts(pages.table, 0).join(QString{}), u"53124"_s);
    }

    void ADragMovesOnlyWhatIsSelected()
    {
        JobPages pages;
        pages.queue.SetPaused(true);
        pages.Submit(5);
        // No drag begins within a way that long.
        const int distance = QApplication::startDragDistance();
        QApplication::setStartDragDistance(10'000);
        const auto selectedByDrag = [&pages](int from, int to) {
            QTest::mousePress(pages.table.viewport(), Qt::LeftButton, {}, CellCentre(pages.table, from));
            for (int row = from; row <= to; ++row)
                QTest::mouseMove(pages.table.viewport(), CellCentre(pages.table, row));
            const QList<int> rows = pages.table.SelectedRows();
            QTest::mouseRelease(pages.table.viewport(), Qt::LeftButton, {}, CellCentre(pages.table, to));
            return rows;
        };
        QCOMPARE(selectedByDrag(1, 3), (QList{1, 2, 3}));
        QCOMPARE(selectedByDrag(2, 4), (QList{1, 2, 3}));
        QCOMPARE(selectedByDrag(0, 1), (QList{0, 1}));
        QApplication::setStartDragDistance(distance);
    }

    void HeldJobsRunFromTheMenu()
    {
        PagePlace place;
        const Taskmill_QueuelessJobsList &list = *place.manager.Queueless().List();
        Taskmill_QueuelessJobsWidget tab{&place.window, place.manager};
        place.Show();
        QList<Taskmill_JobRecord> stored;
        for (int jobID = 1; jobID <= 3; ++jobID) {
            stored.append(place.manager.JobOf(place.manager.AddGatedJobType(), jobID));
            stored.last().Status = Taskmill_JobStatus::Running;
        }
        place.manager.Queueless().Replace(stored);
        tab.FillTable();
        JobPages::Select(tab.Table(), {1, 2});
        (void)ChooseFromMenu(tab.Table(), 0, u"3"_s, u"Run Again"_s);
        QCOMPARE(list.HeldJobIDs(), QList<int>{1});
        (void)ChooseFromMenu(tab.Table(), 0, u"1"_s, u"Run Again"_s);
        QVERIFY(list.HeldJobIDs().isEmpty());
        QVERIFY(ChooseFromMenu(tab.Table(), 0, u"2"_s, {}).contains(u"(Run Again)"_s));
    }

    void FinishedJobsAreRemovedByTheirRows()
    {
        JobPages pages;
        const QAbstractItemModelTester tester{SourceOf(pages.finishedTable),
                                              QAbstractItemModelTester::FailureReportingMode::QtTest};
        pages.AddFinishedJobs(5);
        pages.finishedTable.sortByColumn(1, Qt::DescendingOrder);
        JobPages::Select(pages.finishedTable, {0, 3});
        pages.manager.prompt.answers = {WarnAnswer::No, WarnAnswer::Yes};
        QTest::keyClick(&pages.finishedTable, Qt::Key_Delete);
        QCOMPARE(pages.finished.Jobs().size(), 5);
        QTest::keyClick(&pages.finishedTable, Qt::Key_Delete);
        QVERIFY(pages.manager.prompt.asked.last().text.endsWith(u"\n\ne\nb"_s));
        QCOMPARE(ColumnTexts(pages.finishedTable, 1), (QStringList{u"d"_s, u"c"_s, u"a"_s}));
        QCOMPARE(TestManager::Database().GetFinishedJobs().size(), 3);
    }

    void AJobThatAMessageNamesIsShown()
    {
        JobPages pages;
        pages.queue.SetPaused(true);
        pages.Submit(3);
        static_cast<Taskmill_TabWithMenu &>(pages.queueTab).OpenFilter();
        QTest::keyClicks(QApplication::focusWidget(), u"job 2"_s);
        QTRY_COMPARE(ColumnTexts(pages.table, 1), QStringList{u"job 2"_s});
        QVERIFY(!pages.queueTab.ChooseJob(7));
        QVERIFY(pages.queueTab.ChooseJob(2));
        QCOMPARE(pages.table.model()->rowCount(), 1);
        QVERIFY(pages.queueTab.ChooseJob(3));
        QCOMPARE(CellText(pages.table, pages.table.currentIndex().row(), 1), u"job 3"_s);
    }

    /// A click with Ctrl does not select the row; only selected jobs are removed.
    void SelectedFinishedJobsAreRemoved()
    {
        JobPages pages;
        pages.AddFinishedJobs(5);
        const auto remove = [&pages](int row, const std::function<void()> &whileOpen = {}) {
            (void)ChooseFromMenu(pages.finishedTable, CellCentre(pages.finishedTable, row), u"Remove"_s,
                                 whileOpen, Qt::ControlModifier);
        };
        pages.finishedTable.selectRow(0);
        pages.manager.prompt.answers = {WarnAnswer::Yes, WarnAnswer::Yes};
        remove(2);
        QVERIFY(pages.manager.prompt.asked.last().text.endsWith(u"\n\na"_s));
        QCOMPARE(ColumnTexts(pages.finishedTable, 1), (QStringList{u"b"_s, u"c"_s, u"d"_s, u"e"_s}));
        // The list may change while the menu is open.
        pages.finishedTable.selectRow(2);
        remove(0, [&pages] { pages.finished.Remove({0}); });
        QCOMPARE(ColumnTexts(pages.finishedTable, 1), (QStringList{u"c"_s, u"e"_s}));
    }

    /// A job that is not shown is never acted on.
    void AFilterKeepsHandsOffTheOthers()
    {
        JobPages pages;
        pages.AddFinishedJobs(5);
        pages.queue.SetPaused(true);
        pages.Submit(3);
        for (const bool isQueue : {false, true}) {
            KilnUtil_TableWidget &table = isQueue ? pages.table : pages.finishedTable;
            Taskmill_TabWithMenu &tab = isQueue ? static_cast<Taskmill_TabWithMenu &>(pages.queueTab)
                                                : static_cast<Taskmill_TabWithMenu &>(pages.finishedTab);
            const QStringList before = ColumnTexts(table, 1);
            table.selectAll();
            tab.OpenFilter();
            auto *line = qobject_cast<QLineEdit *>(QApplication::focusWidget());
            QVERIFY(line);
            QTest::keyClicks(line, isQueue ? u"JOB 2"_s : u"c"_s);
            QTRY_COMPARE(ColumnTexts(table, 1), QStringList{isQueue ? u"job 2"_s : u"c"_s});
            QCOMPARE(table.SelectedRows(), QList<int>{0});
            QTest::keyClick(line, Qt::Key_Down);
            QVERIFY(table.hasFocus());
            table.selectAll();
            pages.manager.prompt.answers = {WarnAnswer::Yes};
            QTest::keyClick(&table, Qt::Key_Delete);
            QCOMPARE(ColumnTexts(table, 1), QStringList{});
            QTest::keyClick(&table, Qt::Key_Escape);
            QVERIFY(!line->isVisible());
            QStringList left = before;
            left.removeOne(isQueue ? u"job 2"_s : u"c"_s);
            QCOMPARE(ColumnTexts(table, 1), left);
        }
        // What a message shows is shown.
        pages.finishedTab.OpenFilter();
        QTest::keyClicks(QApplication::focusWidget(), u"nothing"_s);
        QTRY_COMPARE(pages.finishedTable.model()->rowCount(), 0);
        pages.finishedTab.SelectJobs({2, 4});
        QCOMPARE(pages.finishedTable.SelectedRows(), (QList<int>{1, 2}));
    }

    void MarksSayTheResultInWordsToo_data()
    {
        using Status = Taskmill_JobStatus;
        using Verdict = Taskmill_Verdict;
        QTest::addColumn<Status>("status");
        QTest::addColumn<Verdict>("verdict");
        QTest::addColumn<QString>("colour");
        QTest::addColumn<QString>("result");
        QTest::newRow("normal") << Status::Completed << Verdict::Normal << u"green"_s << u"Normal"_s;
        QTest::newRow("not converged")
            << Status::Completed << Verdict::NotConverged << u"amber"_s << u"Not converged"_s;
        QTest::newRow("error") << Status::Completed << Verdict::Error << u"red"_s << u"Error"_s;
        QTest::newRow("failed, although normal")
            << Status::Failed << Verdict::Normal << u"red"_s << u"Normal"_s;
        QTest::newRow("only ended") << Status::Completed << Verdict::None << u"grey"_s << u"Not said"_s;
    }

    void MarksSayTheResultInWordsToo()
    {
        QFETCH(const Taskmill_JobStatus, status);
        QFETCH(const Taskmill_Verdict, verdict);
        QFETCH(const QString, colour);
        QFETCH(const QString, result);
        JobPages pages;
        Taskmill_JobRecord job = pages.manager.JobOf(pages.gated, 1);
        job.Status = status;
        job.Result.Verdict = verdict;
        job.Result.Message = u"THE LINE"_s;
        job.Result.Program = u"MOPAC"_s;
        job.Result.Version = u"22"_s;
        QVERIFY(TestManager::Database().AsOneChange(
            [&job] { return TestManager::Database().InsertFinishedJob(job, true); }));
        pages.finished.Load();
        pages.finishedTab.FillTable();
        const QModelIndex cell = pages.finishedTable.model()->index(0, 2);
        const QColor mark =
            cell.data(Qt::DecorationRole).value<QIcon>().pixmap(16, 16).toImage().pixelColor(8, 8);
        const QString seen = mark.hslSaturationF() < 0.2F ? u"grey"_s
                             : mark.hslHue() > 90         ? u"green"_s
                             : mark.hslHue() > 20         ? u"amber"_s
                                                          : u"red"_s;
        QCOMPARE(seen, colour);
        for (const auto &[base, alternate] :
             {std::pair{QColor{Qt::white}, QColor{0xf0, 0xf0, 0xf0}},
              std::pair{QColor{0x1b, 0x1e, 0x20}, QColor{0x31, 0x36, 0x3b}}}) {
            QVERIFY(KilnUtil_Contrast::Ratio(mark, base) >= 3);
            QVERIFY(KilnUtil_Contrast::Ratio(mark, alternate) >= 2.7);
        }
        QCOMPARE(cell.data(Qt::AccessibleDescriptionRole).toString(),
                 u"MOPAC 22: %1\nTHE LINE"_s.arg(result));
        QCOMPARE(CellText(pages.finishedTable, 0, 10), result);
    }

    void EntriesBehindThePrescribedOnes()
    {
        JobPages pages;
        QList<Taskmill_JobRecord> jobs;
        for (int number = 1; number <= 3; ++number) {
            jobs.append(
                pages.manager.JobOf(pages.gated, number, pages.manager.InputFile(u"%1.in"_s.arg(number))));
            pages.finished.AddJob(jobs.last());
        }
        pages.finishedTab.FillTable();
        JobPages::Select(pages.finishedTable, {0, 2});
        pages.finishedTable.selectionModel()->setCurrentIndex(pages.finishedTable.model()->index(2, 1),
                                                              QItemSelectionModel::NoUpdate);
        const auto choose = [&](const QString &entry) {
            QMenu menu;
            struct Entries : Taskmill_TabMenu
            {
                using Taskmill_TabMenu::Taskmill_TabMenu;
                void AddHelp(const QString &) override {}
            } entries{menu, menu};
            pages.finishedTab.FillMenu(entries);
            const QList<QAction *> actions = menu.actions();
            const auto textOf = [](const QAction *action) {
                return action->text().remove(u'&');
            };
            entries.Choose(*std::ranges::find(actions, entry, textOf));
            return QGuiApplication::clipboard()->text();
        };
        QCOMPARE(choose(u"Copy Path"_s),
                 QDir::toNativeSeparators(jobs[0].InputFilePath + u'\n' + jobs[2].InputFilePath));
        QCOMPARE(choose(u"Copy Command Line"_s), jobs[0].CommandLine() + u'\n' + jobs[2].CommandLine());
        const QString file = pages.manager.Path(u"jobs.csv"_s);
        const auto lines = [&file] {
            return ReadTestFile(file).count("\r\n");
        };
        pages.manager.prompt.texts = {file};
        choose(u"Export..."_s);
        QTRY_COMPARE(lines(), 3);
        pages.finishedTable.clearSelection();
        pages.manager.prompt.texts = {file};
        choose(u"Export..."_s);
        QTRY_COMPARE(lines(), 4);
    }

    void ElapsedTimesGoOnWhileTheyAreSeen()
    {
        JobPages pages;
        const auto *ticker = pages.queueTab.Frame()->findChild<Taskmill_ElapsedTicker *>();
        pages.queue.SetPaused(true);
        pages.Submit(1);
        QVERIFY(!ticker->IsTicking());
        QCOMPARE(CellText(pages.table, 0, 9), QString{});
        pages.queue.SetPaused(false);
        QTRY_VERIFY(ticker->IsTicking());
        QTRY_VERIFY(CellText(pages.table, 0, 9) >= u"0:00:01"_s);
        pages.queueTab.Frame()->hide();
        QTRY_VERIFY(!ticker->IsTicking());
        pages.queueTab.Frame()->show();
        QVERIFY(ticker->IsTicking());
        pages.manager.Release(pages.inputFiles[0]);
        QTRY_VERIFY(!ticker->IsTicking());
    }

    void FinishedJobsReplacedDuringTheQuestion()
    {
        JobPages pages;
        pages.AddFinishedJobs(3);
        pages.finishedTable.selectRow(0);
        pages.manager.prompt.answers = {WarnAnswer::Yes};
        pages.manager.prompt.whenAsked = [&] {
            pages.finished.Load();
        };
        QTest::keyClick(&pages.finishedTable, Qt::Key_Delete);
        QCOMPARE(ColumnTexts(pages.finishedTable, 1), (QStringList{u"a"_s, u"b"_s, u"c"_s}));
        QCOMPARE(TestManager::Database().GetFinishedJobs().size(), 3);
    }
};

QTEST_MAIN(TestJobTables)
#include "test_jobtables.moc"
