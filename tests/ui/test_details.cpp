// SPDX-License-Identifier: MIT
#include "ui/detailspane.h"
#include "ui/detailssplitter.h"
#include "ui/detailsswitch.h"
#include "ui/finishedjobswidget.h"
#include "ui/inputpage.h"
#include "ui/outputpage.h"
#include "ui/progresspage.h"
#include "ui/queuewidgets.h"
#include "ui/uidriver.h"
#include "viewer/textview.h"
#include "widgets/plotwidget.h"
#include "widgets/tablewidget.h"

#include <QAction>
#include <QMainWindow>
#include <QPushButton>
#include <QTabWidget>
#include <QTextEdit>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {
enum PageNumber
{
    General,
    Output,
    Progress,
    Input
};

const QString failingLine = u"*** FAILED TO CONVERGE GEOMETRY OPTIMIZATION IN 2 ITERATIONS ***"_s;

/// What xtb prints of two steps, with lines before the end.
QString OutputOfTwoSteps(int linesBehind = 0)
{
    return u"     |                       x T B                       |\n"
           "   * xtb version 6.6.1 (8d0f1dd)\n"
           " ....... CYCLE    1 .......\n"
           "   1   -40.4000000 -0.4E+02  0.4E+00   11.1       0.0  T\n"
           "   2   -40.5000000 -0.1E+00  0.4E+00   11.1       1.0  T\n"
           "     * total energy  :   -40.5000000 Eh\n"
           " ....... CYCLE    2 .......\n"
           "   1   -40.6000000 -0.4E+02  0.4E+00   11.1       0.0  T\n"
           "     * total energy  :   -40.6000000 Eh\n"
           "   "_s +
           failingLine + u"\n"_s + u"end\n"_s.repeated(linesBehind);
}

/// The tab of the finished jobs with their details, in a window that is high enough for them.
struct DetailsPlace : PagePlace
{
    Taskmill_JobType type = manager.AddGatedJobType();
    Taskmill_FinishedJobs &finished = manager.FinishedJobs();
    Taskmill_FinishedJobsWidget tab{&window, finished};
    KilnUtil_TableWidget &table = *tab.Table();
    Taskmill_DetailsSwitch detailsSwitch{nullptr};
    Taskmill_DetailsSplitter *splitter =
        new Taskmill_DetailsSplitter{&window, tab, tab, manager.Results(), detailsSwitch};

    DetailsPlace()
    {
        auto *layout = new QVBoxLayout{&window};
        layout->addWidget(splitter);
        window.resize(900, 700);
        window.show();
        if (!QTest::qWaitForWindowActive(&window))
            qFatal("the window does not come");
    }

    Taskmill_JobRecord Job(int number, const QByteArray &input)
    {
        const QString file = WriteTestFile(manager.Path(u"in%1"_s.arg(number)), input);
        Taskmill_JobRecord job = manager.JobOf(type, number, file);
        job.Submitted = Taskmill_JobTime::Now();
        job.Started = job.Submitted;
        job.Finished = job.Submitted;
        return job;
    }
    void Add(const Taskmill_JobRecord &job)
    {
        finished.AddJob(job);
        tab.FillTable();
    }
    void ChooseRow(int row) const { table.setCurrentIndex(table.model()->index(row, 1)); }
    void ShowDetails(PageNumber page)
    {
        detailsSwitch.SetOn(true);
        splitter->Pane()->Pages().setCurrentIndex(page);
    }
    template <typename Page>
    [[nodiscard]] Page &PageOf() const
    {
        return *splitter->findChild<Page *>();
    }
    [[nodiscard]] int ShownJobID() const
    {
        return splitter->Pane()->Job() ? splitter->Pane()->Job()->Record.JobID : -1;
    }
};
} // namespace

class TestDetails : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void AreRememberedAsTheUserChooses()
    {
        const TestSurroundings surroundings;
        const auto isOn = [](int windowHeight) {
            Taskmill_DetailsSwitch atStart{nullptr};
            atStart.SuggestFor(windowHeight);
            return atStart.IsOn();
        };
        QVERIFY(isOn(601));
        QVERIFY(!isOn(600));
        {
            Taskmill_DetailsSwitch details{nullptr};
            QCOMPARE(details.Entry().shortcut(), QKeySequence{Qt::Key_F4});
            details.Entry().trigger();
            details.SetPage(Progress);
            details.SetShare(0.3);
        }
        QVERIFY(isOn(300));
        const Taskmill_DetailsSwitch next{nullptr};
        QCOMPARE(next.Page(), static_cast<int>(Progress));
        QCOMPARE(next.Share(), 0.3);
        next.Entry().trigger();
        QVERIFY(!isOn(900));
    }

    void FollowTheCurrentRow()
    {
        DetailsPlace place;
        QVERIFY(!place.splitter->Pane());
        place.Add(place.Job(1, "first\n"));
        Taskmill_JobRecord second = place.Job(2, "second\n");
        second.Status = Taskmill_JobStatus::Failed;
        second.ExitCode = 3;
        second.StdOutAndStdErr = OutputOfTwoSteps();
        second.CheckpointFile = u"<a>.chk"_s;
        place.Add(second);
        place.ShowDetails(General);
        // The table keeps more than half of the height.
        QVERIFY(place.splitter->sizes().first() > place.splitter->sizes().last());
        QCOMPARE(place.ShownJobID(), -1);
        place.ChooseRow(0);
        QTRY_COMPARE(place.ShownJobID(), 1);
        place.ChooseRow(1);
        QTRY_COMPARE(place.ShownJobID(), 2);
        const auto *general = place.splitter->findChild<QTextEdit *>();
        const QString text = general->toPlainText();
        for (const QString &part :
             {u"job 2"_s, u"Failed"_s, u"Not converged, xtb 6.6.1, 2 steps"_s, failingLine, u"<a>.chk"_s,
              place.manager.Path(u"in2"_s), second.CommandLine()})
            QVERIFY2(text.contains(part), qPrintable(part + u" in "_s + text));

        place.finished.Remove({1});
        place.tab.FillTable();
        QTRY_COMPARE(place.ShownJobID(), -1);
        place.detailsSwitch.SetOn(false);
        place.ChooseRow(0);
        QTest::qWait(0);
        QCOMPARE(place.ShownJobID(), -1);
        place.detailsSwitch.SetOn(true);
        QCOMPARE(place.ShownJobID(), 1);
    }

    void ShowTheInputAndWhetherItWasChanged_data()
    {
        QTest::addColumn<int>("seconds"); // from the submission to the last change of the file
        QTest::addColumn<QString>("said");
        QTest::newRow("before") << -60 << u"not changed since the job was submitted"_s;
        QTest::newRow("in the same second") << 0 << u"not changed since the job was submitted"_s;
        QTest::newRow("while it waited") << 60 << u"after the job was submitted"_s;
        QTest::newRow("while it ran") << 150 << u"while the job ran"_s;
        QTest::newRow("later") << 600 << u"after the job had ended"_s;
    }

    void ShowTheInputAndWhetherItWasChanged()
    {
        QFETCH(const int, seconds);
        QFETCH(const QString, said);
        DetailsPlace place;
        Taskmill_JobRecord job = place.Job(1, "opt tight\n* xyz 0 1\n");
        const QDateTime submitted{QDate{2026, 3, 1}, QTime{10, 0, 0, 200}};
        job.Submitted = submitted;
        job.Started = submitted.addSecs(100);
        job.Finished = submitted.addSecs(200);
        {
            QFile file{job.InputFilePath};
            QVERIFY(file.open(QIODevice::ReadWrite));
            QVERIFY(file.setFileTime(submitted.addSecs(seconds).addMSecs(500),
                                     QFileDevice::FileModificationTime));
        }
        place.Add(job);
        place.ChooseRow(0);
        place.ShowDetails(Input);
        const auto &page = place.PageOf<Taskmill_InputPage>();
        QTRY_COMPARE(page.View().VisibleText(), (QStringList{u"opt tight"_s, u"* xyz 0 1"_s}));
        QVERIFY2(page.Caption().endsWith(said), qPrintable(page.Caption()));
    }

    void ShowTheFailingLineOfTheOutput()
    {
        DetailsPlace place;
        Taskmill_JobRecord job = place.Job(1, {});
        job.OutputFile = WriteTestFile(place.manager.Path(u"a.out"_s), OutputOfTwoSteps(500).toUtf8());
        job.Finished = Taskmill_JobTime::Now();
        place.Add(job);
        // Of one without a file, what it printed.
        Taskmill_JobRecord other = place.Job(2, {});
        other.StdOutAndStdErr = u"no such option\n"_s;
        place.Add(other);
        // What it wrote has been replaced by a later job.
        Taskmill_JobRecord earlier = job;
        earlier.JobID = 3;
        earlier.Finished = QDateTime{{2024, 2, 29}, {1, 2, 3}};
        place.Add(earlier);
        place.ChooseRow(0);
        place.ShowDetails(Output);
        auto &page = place.PageOf<Taskmill_OutputPage>();
        QTRY_COMPARE(page.View().MarkedText(), failingLine);
        QVERIFY2(!page.Caption().contains(u"written on"_s), qPrintable(page.Caption()));
        QVERIFY(page.View().VisibleText().contains(u"   "_s + failingLine));
        auto *open = page.findChild<QPushButton *>();
        open->click();
        const auto *viewer = place.window.findChild<QMainWindow *>();
        QVERIFY(viewer);
        QTRY_COMPARE(viewer->findChild<KilnUtil_TextView *>()->MarkedText(), failingLine);
        QCOMPARE(TakeViewerCaptions(place.window),
                 QStringList{u"Output file of job 1:  "_s + job.OutputFile});

        // It may be long, so that nobody waits for it.
        place.ChooseRow(1);
        place.splitter->Pane()->UpdateSlot();
        QVERIFY(page.Caption().contains(u"reading"_s));
        QTRY_COMPARE(page.View().VisibleText(), QStringList{u"no such option"_s});
        QVERIFY(!page.View().HasMark());
        QVERIFY(page.Caption().startsWith(u"What the job printed"_s));
        place.ChooseRow(2);
        QTRY_VERIFY2(page.Caption().endsWith(u"after the job had ended"_s), qPrintable(page.Caption()));
    }

    void AreReachedByTheTabKey()
    {
        DetailsPlace place;
        Taskmill_JobRecord job = place.Job(1, {});
        job.StdOutAndStdErr = u"printed\n"_s;
        place.Add(job);
        place.ShowDetails(Output);
        place.table.setFocus();
        place.ChooseRow(0);
        const auto &page = place.PageOf<Taskmill_OutputPage>();
        auto *button = page.findChild<QPushButton *>();
        QTRY_VERIFY(button->isVisible());
        QTRY_VERIFY(button->isEnabled());
        const QTabWidget &pages = place.splitter->Pane()->Pages();
        const QList<const QWidget *> order{pages.tabBar(), &page.View(), button, pages.cornerWidget()};
        for (const QWidget *wanted : order) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            QCOMPARE(static_cast<const QWidget *>(QApplication::focusWidget()), wanted);
        }
        // The keys go on in the table.
        place.detailsSwitch.SetOn(false);
        QVERIFY(place.table.hasFocus());
    }

    /// Each project begins with job 1.
    void BelongToOneProject()
    {
        DetailsPlace place;
        Taskmill_JobRecord job = place.Job(1, {});
        job.StdOutAndStdErr = OutputOfTwoSteps();
        place.Add(job);
        place.ChooseRow(0);
        place.ShowDetails(Progress);
        const auto *plot = place.splitter->findChild<KilnUtil_PlotWidget *>();
        QTRY_COMPARE(plot->Series().Values, (QList<double>{-40.5, -40.6}));
        place.manager.NewProject();
        Taskmill_JobRecord other = place.Job(1, {});
        other.Name = u"other"_s;
        other.StdOutAndStdErr = u"printed\n"_s;
        place.Add(other);
        place.splitter->Pane()->UpdateSlot();
        QCOMPARE(place.ShownJobID(), -1);
        place.ChooseRow(0);
        QTRY_COMPARE(place.ShownJobID(), 1);
        QVERIFY(plot->Series().Values.isEmpty());
        place.ShowDetails(Output);
        auto &page = place.PageOf<Taskmill_OutputPage>();
        QTRY_COMPARE(page.View().VisibleText(), QStringList{u"printed"_s});
    }

    void FollowAJobToItsEnd_data()
    {
        QTest::addColumn<bool>("isSeen");
        QTest::newRow("which the user sees") << true;
        QTest::newRow("while another tab is in front") << false;
    }

    void FollowAJobToItsEnd()
    {
        QFETCH(const bool, isSeen);
        PagePlace place;
        Taskmill_LongJobsQueueWidget tab{&place.window, place.manager};
        const Taskmill_FinishedJobsWidget ended{&place.window, place.manager.FinishedJobs()};
        Taskmill_DetailsSwitch details{nullptr};
        details.SetPage(Output);
        details.SetOn(true);
        auto *splitter =
            new Taskmill_DetailsSplitter{&place.window, tab, ended, place.manager.Results(), details};
        auto *layout = new QVBoxLayout{&place.window};
        layout->addWidget(splitter);
        place.window.resize(900, 700);
        place.window.show();
        QVERIFY(QTest::qWaitForWindowActive(&place.window));
        const Taskmill_JobType type = place.manager.AddJobType(
            u"Two Words"_s, u"print first waitfor @INFILE.go print second waitfor @INFILE.end"_s);
        const QString input = place.manager.InputFile(u"a.in"_s);
        place.manager.Long().Queue()->SetPaused(true);
        place.manager.Long().Submit(place.manager.NewJob(type, input));
        tab.FillTable();
        tab.Table().setCurrentIndex(tab.Table().model()->index(0, 0));
        const auto *page = splitter->findChild<Taskmill_OutputPage *>();
        QTRY_COMPARE(page->Caption(), u"The job has not been started."_s);
        place.manager.Long().Queue()->SetPaused(false);
        QTRY_COMPARE(page->View().VisibleText(), QStringList{u"first"_s});
        TestManager::Release(input);
        QTRY_COMPARE(page->View().VisibleText(), (QStringList{u"first"_s, u"second"_s}));
        // It leaves the table, but the user still reads.
        splitter->setVisible(isSeen);
        WriteTestFile(input + u".end"_s, {});
        QTRY_COMPARE(place.manager.FinishedJobs().Count(), 1);
        splitter->show();
        QTRY_COMPARE(tab.Table().model()->rowCount(), 0);
        QTRY_COMPARE(splitter->Pane()->Job()->Record.Status, Taskmill_JobStatus::Completed);
        QTRY_COMPARE(page->View().VisibleText(), (QStringList{u"first"_s, u"second"_s}));
        place.manager.FinishedJobs().Remove({0});
        splitter->Pane()->UpdateSlot();
        QVERIFY(!splitter->Pane()->Job());
    }

    void ShowTheEnergiesOfAJob()
    {
        DetailsPlace place;
        Taskmill_JobRecord job = place.Job(1, {});
        job.StdOutAndStdErr =
            OutputOfTwoSteps() + u"          | TOTAL ENERGY              -40.610000000000 Eh   |\n"_s;
        place.Add(job);
        place.Add(place.Job(2, {}));
        place.ChooseRow(0);
        place.ShowDetails(Progress);
        const auto plots = place.splitter->findChildren<KilnUtil_PlotWidget *>();
        QCOMPARE(plots.size(), 3);
        QTRY_COMPARE(plots[0]->Series().Values, (QList<double>{-40.5, -40.6, -40.61}));
        QTRY_COMPARE(plots[2]->Series().Values, QList<double>{-40.6});
        QVERIFY(plots[1]->TextOf(0).isEmpty());
        // The energy of the last structure comes after the steps and is no change.
        QCOMPARE(plots[0]->TextOf(2), u"after step 2: -40.610000 hartree"_s);
        QCOMPARE(plots[1]->TextOf(1), u"step 2: 1.00e-01 hartree"_s);
        QCOMPARE(plots[1]->Series().Values.size(), 2);
        QCOMPARE(place.PageOf<Taskmill_ProgressPage>().Csv(),
                 u"step,energy (hartree),change of energy (hartree)\n1,-40.5,\n2,-40.6,-0.1\n,-40.61,\n"_s);
        place.ChooseRow(1);
        QTRY_VERIFY(plots[0]->Series().Values.isEmpty());
        QCOMPARE(plots[0]->accessibleDescription(), u"The output shows no energies."_s);

        Taskmill_ProgramResult running;
        running.Steps = 12;
        running.Energies = {-40.1, -40.123456};
        QCOMPARE(Taskmill_ProgressText(running), u"step 12, -40.123456 hartree"_s);
        QCOMPARE(Taskmill_ProgressText({}), QString{});
    }
};

QTEST_MAIN(TestDetails)
#include "test_details.moc"
