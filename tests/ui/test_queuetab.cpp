#include "ui/queuetab.h"

#include "jobs/runmode.h"
#include "kilnutil/tablewidget.h"
#include "support/testmanager.h"
#include "support/testutil.h"
#include "ui/menudriver.h"

#include <QApplication>
#include <QHeaderView>
#include <QPushButton>
#include <QScrollBar>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

namespace {
using WarnAnswer = KilnUtil_UserPrompt::WarnAnswer;

QString CellText(const KilnUtil_TableWidget &table, int row, int column)
{
    return table.model()->index(row, column).data().toString();
}

QStringList ColumnTexts(const KilnUtil_TableWidget &table, int column)
{
    QStringList texts;
    for (int row = 0; row < table.model()->rowCount(); ++row)
        texts.append(CellText(table, row, column));
    return texts;
}
} // namespace

class TestQueueTab : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void RefreshKeepsThePlaceOfTheReader();
    void ManyRefreshesAreOne();
    void MenuOffersWhatTheJobHas();
    void OutputOfARunningJobIsThere();
    void MenuOfAnEmptyTable();
    void RowWhoseNumberIsTheCurrentPositionIsSelectedToo();
    void ActionsMeanTheJobUnderTheCursor();
    void JobsThatLeaveWhileTheMenuIsOpen();
    void RemovalListsTenNames();
    void RemovalOfRunningJobs_data();
    void RemovalOfRunningJobs();
    void LimitIsAskedFor();
    void PauseIsSeenAndEnded();
    void DoubleClickFollowsARunningJob();
    void DroppedFilesGoToThisQueue();

private:
    void Submit(int count);
    [[nodiscard]] Taskmill_JobQueue &Queue() { return m_manager->longJobs.Jobs(); }
    [[nodiscard]] KilnUtil_TableWidget &Table() { return m_tab->Table(); }
    [[nodiscard]] QPoint CellCentre(int row, int column = 1);
    void Choose(int row, const QString &entry);

    std::unique_ptr<TestManager> m_manager;
    std::unique_ptr<QWidget> m_window;
    std::unique_ptr<Taskmill_QueueTab> m_tab;
    Taskmill_JobType m_gated;
    QStringList m_inputFiles;
    MenuDriver m_menu;
};

void TestQueueTab::init()
{
    FailOnQtWarnings();
    m_manager = std::make_unique<TestManager>();
    Taskmill_SetRunMode(Taskmill_RunMode::Gui);
    m_manager->NewProject();
    m_gated = m_manager->AddGatedJobType();
    m_window = std::make_unique<QWidget>();
    m_window->resize(900, 400);
    m_tab = std::make_unique<Taskmill_QueueTab>(
        m_window.get(), m_manager->longJobs,
        Taskmill_QueueTab::Variant{.destination = Taskmill_Destination::Long,
                                   .name = u"Test"_s,
                                   .helpId = u"taskmill/longjobsqueue"_s,
                                   .queue = &Queue()});
    m_tab->Frame()->resize(m_window->size());
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
    m_inputFiles.clear();
}

void TestQueueTab::cleanup()
{
    m_tab.reset();
    m_window.reset();
    m_manager.reset();
}

/// Jobs "job 1", "job 2" and so on, which run until they are released.
void TestQueueTab::Submit(int count)
{
    for (int number = 0; number < count; ++number) {
        m_inputFiles.append(m_manager->InputFile(u"in%1"_s.arg(m_inputFiles.size())));
        m_manager->longJobs.Submit(m_manager->NewJob(m_gated, m_inputFiles.last()));
    }
    m_tab->FillTable();
}

QPoint TestQueueTab::CellCentre(int row, int column)
{
    return Table().visualRect(Table().model()->index(row, column)).center();
}

void TestQueueTab::Choose(int row, const QString &entry)
{
    m_menu.RightClick(Table().viewport(), CellCentre(row), entry);
}

void TestQueueTab::RefreshKeepsThePlaceOfTheReader()
{
    Queue().SetPaused(true);
    Submit(200);
    Table().sortByColumn(0, Qt::DescendingOrder);
    Table().setCurrentIndex(Table().model()->index(105, 1));
    Table().scrollTo(Table().model()->index(100, 0), QAbstractItemView::PositionAtTop);
    QCOMPARE(CellText(Table(), Table().rowAt(0), 0), u"100"_s);

    // Two rows vanish above the reader's place and one below, and three come above.
    for (const int jobID : {180, 150, 3})
        Queue().RemoveByJobID(jobID);
    Submit(3);
    QCOMPARE(Table().model()->rowCount(), 200);
    QCOMPARE(CellText(Table(), 0, 0), u"203"_s);
    QCOMPARE(CellText(Table(), Table().rowAt(0), 0), u"100"_s);
    QCOMPARE(CellText(Table(), Table().currentIndex().row(), 0), u"95"_s);
    QCOMPARE(Table().SelectedRows(), QList<int>{Table().currentIndex().row()});
    Table().setCurrentIndex(Table().model()->index(Table().currentIndex().row() + 1, 5));
    Table().horizontalScrollBar()->setValue(100);
    m_tab->FillTable();
    QCOMPARE(Table().horizontalScrollBar()->value(), 100);

    // Every second row at once.
    QList<int> gone;
    for (int jobID = 1; jobID <= 203; jobID += 2) {
        if (Queue().FindByJobID(jobID))
            gone.append(jobID);
    }
    m_manager->longJobs.RemoveNow(gone);
    m_tab->FillTable();
    QCOMPARE(CellText(Table(), Table().rowAt(0), 0), u"100"_s);
    QCOMPARE(CellText(Table(), 0, 0), u"202"_s);
    QCOMPARE(CellText(Table(), Table().currentIndex().row(), 0), u"94"_s);

    // At the top, the table stays there.
    Table().scrollToTop();
    Submit(1);
    QCOMPARE(CellText(Table(), Table().rowAt(0), 0), u"204"_s);
}

void TestQueueTab::ManyRefreshesAreOne()
{
    QSignalSpy changes{Table().model(), &QAbstractItemModel::rowsInserted};
    Queue().SetPaused(true);
    for (int number = 0; number < 50; ++number)
        m_manager->longJobs.Submit(m_manager->NewJob(m_gated));
    QTRY_COMPARE(Table().model()->rowCount(), 50);
    QCOMPARE(changes.size(), 1);

    // What nobody sees is not filled, but is there when it is looked at.
    m_window->hide();
    m_manager->longJobs.Submit(m_manager->NewJob(m_gated));
    QTest::qWait(0);
    QCOMPARE(changes.size(), 1);
    m_window->show();
    QCOMPARE(Table().model()->rowCount(), 51);
}

void TestQueueTab::MenuOffersWhatTheJobHas()
{
    Submit(2);
    QTRY_COMPARE(Queue().JobAt(0)->Status(), Taskmill_JobStatus::Running);
    QFile::remove(m_inputFiles[1]);
    Choose(1, {});
    QCOMPARE(m_menu.entries,
             (QStringList{u"Remove"_s, u"(Show Input File)"_s, u"(Stream Output File)"_s,
                          u"(Show stdout and stderr)"_s, u"(Stream stdout and stderr)"_s, u"-"_s,
                          u"Maximum Number of Running Jobs Allowed (Currently 1)..."_s, u"-"_s,
                          u"Pause Queue"_s, u"-"_s, u"Help"_s}));
    Queue().SetPaused(true);
    Choose(0, {});
    QCOMPARE(m_menu.entries[1], u"Show Input File"_s);
    QCOMPARE(m_menu.entries[8], u"Unpause Queue"_s);
}

void TestQueueTab::OutputOfARunningJobIsThere()
{
    const Taskmill_JobType talker = m_manager->AddJobType(u"Talker"_s, u"print hello waitfor @INFILE.go"_s);
    m_manager->longJobs.Submit(m_manager->NewJob(talker, m_manager->InputFile(u"talk"_s)));
    m_tab->FillTable();
    QTRY_VERIFY(!Queue().JobAt(0)->GatherOutput().isEmpty());
    Choose(0, u"Show stdout and stderr"_s);
    Choose(0, u"Stream stdout and stderr"_s);
    QCOMPARE(TakeViewerCaptions(*m_window), (QStringList{u"Log of job 1"_s, u"Log of job 1"_s}));
}

void TestQueueTab::MenuOfAnEmptyTable()
{
    m_menu.RightClick(Table().viewport(), QPoint{100, 100}, u"Pause Queue"_s);
    QCOMPARE(m_menu.entries.first(5),
             (QStringList{u"(Remove)"_s, u"(Show Input File)"_s, u"(Stream Output File)"_s,
                          u"(Show stdout and stderr)"_s, u"(Stream stdout and stderr)"_s}));
    QVERIFY(Queue().IsPaused());
}

void TestQueueTab::RowWhoseNumberIsTheCurrentPositionIsSelectedToo()
{
    Queue().SetPaused(true);
    Submit(3);
    Table().sortByColumn(0, Qt::DescendingOrder);
    // The current job stands in row 0 and at position 2: row 2 is taken with it.
    m_manager->prompt.answers = {WarnAnswer::No};
    Choose(0, u"Remove"_s);
    QVERIFY(m_manager->prompt.asked.first().text.endsWith(
        u"following 2 selected jobs from the Long Jobs Queue?\n\njob 3\njob 1"_s));
    QCOMPARE(Queue().Count(), 3);
}

void TestQueueTab::ActionsMeanTheJobUnderTheCursor()
{
    Queue().SetPaused(true);
    Submit(3);
    Table().sortByColumn(1, Qt::DescendingOrder);
    Choose(0, u"Show Input File"_s);
    QCOMPARE(TakeViewerCaptions(*m_window), QStringList{u"Input file of job 3:  "_s + m_inputFiles[2]});

    Table().setCurrentIndex(Table().model()->index(2, 1));
    QTest::keyClick(&Table(), Qt::Key_Return);
    QCOMPARE(TakeViewerCaptions(*m_window), QStringList{u"Input file of job 1:  "_s + m_inputFiles[0]});

    m_manager->prompt.answers = {WarnAnswer::Yes};
    QTest::keyClick(&Table(), Qt::Key_Delete);
    QCOMPARE(Queue().JobIDs(), (QList<int>{2, 3}));
    QCOMPARE(ColumnTexts(Table(), 0), (QStringList{u"3"_s, u"2"_s}));
}

void TestQueueTab::JobsThatLeaveWhileTheMenuIsOpen()
{
    Queue().SetPaused(true);
    Submit(3);
    Table().setCurrentIndex(Table().model()->index(1, 1));
    m_menu.Run([this] { m_tab->ContextMenuSlot(CellCentre(1)); }, u"Show Input File"_s,
               [this] { m_manager->longJobs.Clear(); });
    QCOMPARE(TakeViewerCaptions(*m_window), QStringList{});
    QCOMPARE(Table().model()->rowCount(), 0);
}

void TestQueueTab::RemovalListsTenNames()
{
    Queue().SetPaused(true);
    Submit(11);
    Table().selectAll();
    m_manager->prompt.answers = {WarnAnswer::Yes};
    Choose(0, u"Remove"_s);
    const ScriptedPrompt::Asked question = m_manager->prompt.asked.first();
    QCOMPARE(question.title, u"Remove Selected Jobs from Long Jobs Queue"_s);
    QVERIFY(question.text.startsWith(
        u"Are you sure you want to remove the following 11 selected jobs from the Long Jobs Queue?\n\njob 1\n"_s));
    QVERIFY(question.text.endsWith(u"\njob 10\n... 1 more ..."_s));
    QCOMPARE(Queue().Count(), 0);
    QCOMPARE(Table().model()->rowCount(), 0);
}

void TestQueueTab::RemovalOfRunningJobs_data()
{
    QTest::addColumn<WarnAnswer>("answer");
    QTest::addColumn<QList<int>>("remaining");
    QTest::newRow("killed too") << WarnAnswer::Yes << QList<int>{};
    QTest::newRow("left") << WarnAnswer::No << QList<int>{1};
    QTest::newRow("cancelled") << WarnAnswer::Cancel << QList<int>{1, 2, 3};
}

void TestQueueTab::RemovalOfRunningJobs()
{
    QFETCH(WarnAnswer, answer);
    QFETCH(QList<int>, remaining);
    Submit(3);
    Table().selectAll();
    m_manager->prompt.answers = {WarnAnswer::Yes, answer};
    Choose(0, u"Remove"_s);
    QCOMPARE(m_manager->prompt.asked.size(), 2);
    QCOMPARE(m_manager->prompt.asked.last().title, u"Removal of Selected Running Jobs"_s);
    QCOMPARE(Queue().JobIDs(), remaining);
}

void TestQueueTab::LimitIsAskedFor()
{
    Submit(3);
    m_manager->prompt.texts = {u"2"_s};
    Choose(0, u"Maximum Number of Running Jobs Allowed (Currently 1)..."_s);
    const ScriptedPrompt::Asked question = m_manager->prompt.asked.first();
    QCOMPARE(question.text,
             u"Enter Maximum Number of Running Jobs Allowed at a Time for the Long Jobs Queue"_s);
    QCOMPARE(question.items, (QStringList{u"1"_s, u"1"_s})); // now, and the least
    QCOMPARE(Queue().MaxRunningJobs(), 2);
    QCOMPARE(ColumnTexts(Table(), 2), (QStringList{u"Running"_s, u"Running"_s, u"Pending"_s}));

    Choose(0, u"Maximum Number of Running Jobs Allowed (Currently 2)..."_s); // cancelled
    QCOMPARE(Queue().MaxRunningJobs(), 2);
}

void TestQueueTab::PauseIsSeenAndEnded()
{
    QSignalSpy paused{m_tab.get(), &Taskmill_QueueTab::PausedChangedSignal};
    auto *unpause = m_tab->Frame()->findChild<QPushButton *>();
    QVERIFY(!unpause->isVisible());
    Choose(0, u"Pause Queue"_s);
    QVERIFY(unpause->isVisible());
    Submit(1);
    QCOMPARE(CellText(Table(), 0, 2), u"Pending"_s);

    QTest::mouseClick(unpause, Qt::LeftButton);
    QVERIFY(!Queue().IsPaused());
    QVERIFY(!unpause->isVisible());
    QCOMPARE(CellText(Table(), 0, 2), u"Running"_s);
    QCOMPARE(paused.size(), 2);
}

void TestQueueTab::DoubleClickFollowsARunningJob()
{
    m_gated.OutputFileFilter = u"Output (*.out)"_s;
    Submit(2);
    const QString output = WriteTestFile(Queue().JobAt(0)->Record().OutputFile, "cycle 1\n");
    WriteTestFile(Queue().JobAt(1)->Record().OutputFile, "of an earlier run\n");
    const auto doubleClick = [this](int row) {
        QTest::mouseClick(Table().viewport(), Qt::LeftButton, {}, CellCentre(row));
        QTest::mouseDClick(Table().viewport(), Qt::LeftButton, {}, CellCentre(row));
    };
    doubleClick(0);
    QCOMPARE(TakeViewerCaptions(*m_window), QStringList{u"Streaming "_s + output});
    doubleClick(1);
    QCOMPARE(TakeViewerCaptions(*m_window), QStringList{u"Input file of job 2:  "_s + m_inputFiles[1]});
    QFile::remove(m_inputFiles[1]);
    doubleClick(1);
    QCOMPARE(TakeViewerCaptions(*m_window), QStringList{});
}

void TestQueueTab::DroppedFilesGoToThisQueue()
{
    QSignalSpy dropped{m_tab.get(), &Taskmill_QueueTab::FilesDroppedSignal};
    const QString file = m_manager->InputFile(u"dropped file.in"_s);
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(file)});
    QDropEvent drop{QPointF{50, 50}, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, {}};
    QDragEnterEvent enter{QPoint{50, 50}, drop.possibleActions(), &data, Qt::LeftButton, {}};
    QApplication::sendEvent(Table().viewport(), &enter);
    QApplication::sendEvent(Table().viewport(), &drop);
    QTRY_COMPARE(dropped.size(), 1);
    QCOMPARE(dropped.first().first().toStringList(), QStringList{file});
    QCOMPARE(dropped.first().last().value<Taskmill_Destination>(), Taskmill_Destination::Long);
}

QTEST_MAIN(TestQueueTab)
#include "test_queuetab.moc"
