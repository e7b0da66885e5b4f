#include "ui/finishedjobswidget.h"

#include "db/database.h"
#include "jobs/runmode.h"
#include "kilnutil/tablewidget.h"
#include "support/testmanager.h"
#include "support/testutil.h"
#include "ui/menudriver.h"

#include <QApplication>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

namespace {
using WarnAnswer = KilnUtil_UserPrompt::WarnAnswer;
} // namespace

class TestFinishedJobsWidget : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void MenuNeedsACurrentJob();
    void MenuOffersWhatTheJobHas();
    void ViewersShowTheJobUnderTheCursor();
    void RemovalFollowsTheRows();
    void RemovalOfAListThatIsReplaced();
    void ReplacedListIsShownAtOnce();
    void KeepsThePlaceWhileJobsFinish();

private:
    void AddJobs(int count);
    [[nodiscard]] KilnUtil_TableWidget &Table() { return *m_tab->Table(); }
    void Choose(int row, const QString &entry);
    [[nodiscard]] QList<int> JobIDs() const;
    [[nodiscard]] static qsizetype RecordedJobs() { return TestManager::Database().GetFinishedJobs().size(); }

    std::unique_ptr<TestManager> m_manager;
    std::unique_ptr<QWidget> m_window;
    std::unique_ptr<Taskmill_FinishedJobsWidget> m_tab;
    MenuDriver m_menu;
};

void TestFinishedJobsWidget::init()
{
    FailOnQtWarnings();
    m_manager = std::make_unique<TestManager>();
    Taskmill_SetRunMode(Taskmill_RunMode::Gui);
    m_manager->NewProject();
    m_window = std::make_unique<QWidget>();
    m_window->resize(900, 400);
    m_tab = std::make_unique<Taskmill_FinishedJobsWidget>(m_window.get());
    m_tab->Frame()->resize(m_window->size());
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
}

void TestFinishedJobsWidget::cleanup()
{
    m_tab.reset();
    m_window.reset();
    m_manager.reset();
}

/// Finished jobs 1, 2, ... named "a", "b", ... that ended in the opposite order of their names.
void TestFinishedJobsWidget::AddJobs(int count)
{
    const Taskmill_JobType jobType = m_manager->AddJobType(u"Type"_s, u"exit 0"_s);
    for (int number = 1; number <= count; ++number) {
        Taskmill_JobRecord job;
        job.JobID = static_cast<int>(m_tab->Jobs().size()) + 1;
        job.Name = QString{QChar{u'a' + number - 1}};
        job.JobType = jobType;
        job.QueueName = u"Long"_s;
        job.Status = Taskmill_JobStatus::Completed;
        job.Finished = QDateTime{QDate{2026, 1, 31}, QTime{12, 0}}.addDays(-number);
        job.InputFilePath = m_manager->InputFile(job.Name + u".in"_s);
        job.OutputFile = WriteTestFile(m_manager->Path(job.Name + u".out"_s), "done\n");
        job.StdOutAndStdErr = u"output"_s;
        m_tab->AddJob(job);
    }
    m_tab->FillTable();
}

void TestFinishedJobsWidget::Choose(int row, const QString &entry)
{
    const QPoint place = Table().visualRect(Table().model()->index(row, 1)).center();
    m_menu.RightClick(Table().viewport(), place, entry);
}

QList<int> TestFinishedJobsWidget::JobIDs() const
{
    QList<int> jobIDs;
    std::ranges::transform(m_tab->Jobs(), std::back_inserter(jobIDs), &Taskmill_JobRecord::JobID);
    return jobIDs;
}

void TestFinishedJobsWidget::MenuNeedsACurrentJob()
{
    AddJobs(1);
    Table().setCurrentIndex({});
    m_tab->ContextMenuSlot(QPoint{10, 10}); // would not return if a menu were shown
    QVERIFY(!QApplication::activePopupWidget());
}

void TestFinishedJobsWidget::MenuOffersWhatTheJobHas()
{
    AddJobs(2);
    Choose(0, {});
    QCOMPARE(m_menu.entries, (QStringList{u"Remove"_s, u"Show Input File"_s, u"Show Output File"_s,
                                          u"Show stdout and stderr"_s, u"-"_s, u"Help"_s}));
    QFile::remove(m_manager->Path(u"b.in"_s));
    QFile::remove(m_manager->Path(u"b.out"_s));
    Choose(1, {});
    QCOMPARE(m_menu.entries.first(4), (QStringList{u"Remove"_s, u"(Show Input File)"_s,
                                                   u"(Show Output File)"_s, u"Show stdout and stderr"_s}));
}

void TestFinishedJobsWidget::ViewersShowTheJobUnderTheCursor()
{
    AddJobs(3);
    Table().sortByColumn(1, Qt::DescendingOrder);
    Choose(0, u"Show Output File"_s);
    QCOMPARE(TakeViewerCaptions(*m_window),
             QStringList{u"Output file of c:  "_s + m_manager->Path(u"c.out"_s)});
    Choose(0, u"Show Input File"_s);
    QCOMPARE(TakeViewerCaptions(*m_window),
             QStringList{u"Input file of c:  "_s + m_manager->Path(u"c.in"_s)});
    Choose(2, u"Show stdout and stderr"_s);
    QCOMPARE(TakeViewerCaptions(*m_window), QStringList{u"Log of a"_s});

    QTest::keyClick(&Table(), Qt::Key_Return);
    QCOMPARE(TakeViewerCaptions(*m_window),
             QStringList{u"Output file of a:  "_s + m_manager->Path(u"a.out"_s)});
    // Without an output file nothing is shown, not even the input file.
    QFile::remove(m_manager->Path(u"a.out"_s));
    QTest::keyClick(&Table(), Qt::Key_Return);
    QCOMPARE(TakeViewerCaptions(*m_window), QStringList{});
}

void TestFinishedJobsWidget::RemovalFollowsTheRows()
{
    AddJobs(14);
    Table().sortByColumn(9, Qt::AscendingOrder); // the last job ended first
    for (const int row : {0, 13})
        Table().selectionModel()->select(Table().model()->index(row, 0),
                                         QItemSelectionModel::Select | QItemSelectionModel::Rows);
    m_manager->prompt.answers = {WarnAnswer::No, WarnAnswer::Yes};
    QTest::keyClick(&Table(), Qt::Key_Delete);
    QCOMPARE(m_tab->Jobs().size(), 14);
    QTest::keyClick(&Table(), Qt::Key_Delete);
    QCOMPARE(m_manager->prompt.asked.last().text,
             u"Are you sure you want to remove the following 2 selected finished jobs?\n\nn\na"_s);
    QCOMPARE(JobIDs(), (QList<int>{2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13}));
    QCOMPARE(RecordedJobs(), 12);

    Table().selectAll();
    m_manager->prompt.answers = {WarnAnswer::Yes};
    Choose(0, u"Remove"_s);
    QCOMPARE(m_manager->prompt.asked.last().title, u"Remove Selected Finished Jobs"_s);
    QVERIFY(m_manager->prompt.asked.last().text.endsWith(u"\nd\n... 2 more ..."_s));
    QCOMPARE(RecordedJobs(), 0);
    QCOMPARE(Table().model()->rowCount(), 0);
}

void TestFinishedJobsWidget::RemovalOfAListThatIsReplaced()
{
    AddJobs(3);
    QList<Taskmill_JobRecord> others = m_tab->Jobs();
    others.removeFirst();
    Table().selectRow(0);
    m_manager->prompt.answers = {WarnAnswer::Yes};
    m_manager->prompt.whenAsked = [&] {
        m_tab->SetJobs(others);
    };
    QTest::keyClick(&Table(), Qt::Key_Delete);
    QCOMPARE(JobIDs(), (QList<int>{2, 3}));
    QCOMPARE(RecordedJobs(), 3);
}

void TestFinishedJobsWidget::ReplacedListIsShownAtOnce()
{
    AddJobs(3);
    m_tab->RemoveAt(0);
    m_tab->RemoveAt(7);
    m_tab->RemoveAt(-1);
    QCOMPARE(Table().model()->rowCount(), 2);
    QCOMPARE(Table().model()->index(0, 1).data().toString(), u"b"_s);
    m_tab->Clear();
    QCOMPARE(Table().model()->rowCount(), 0);
    QCOMPARE(RecordedJobs(), 3);
}

void TestFinishedJobsWidget::KeepsThePlaceWhileJobsFinish()
{
    for (int times = 0; times < 8; ++times)
        AddJobs(26);
    Table().sortByColumn(0, Qt::DescendingOrder);
    Table().setCurrentIndex(Table().model()->index(105, 1));
    Table().scrollTo(Table().model()->index(100, 0), QAbstractItemView::PositionAtTop);
    const QVariant top = Table().indexAt(QPoint{}).data();
    AddJobs(5);
    QCOMPARE(Table().indexAt(QPoint{}).data(), top);
    QCOMPARE(Table().SelectedRows(), QList<int>{110});
}

QTEST_MAIN(TestFinishedJobsWidget)
#include "test_finishedjobswidget.moc"
