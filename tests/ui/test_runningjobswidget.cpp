// SPDX-License-Identifier: MIT
#include "ui/runningjobswidget.h"

#include "manager/processkill.h"
#include "manager/runningjobs.h"
#include "ui/recordinginspector.h"
#include "ui/uidriver.h"
#include "widgets/tablewidget.h"

#include <QCheckBox>
#include <QFrame>
#include <QLabel>
#include <QPushButton>

using namespace Qt::Literals::StringLiterals;

namespace {
/// A process of no job type, its child, and another; opened when the test has added its own.
struct ProcessesPage : PagePlace
{
    RecordingInspector inspector;
    const Taskmill_JobType gated = manager.AddGatedJobType();
    std::unique_ptr<Taskmill_RunningJobs> running =
        std::make_unique<Taskmill_RunningJobs>(inspector, manager.JobTypes());
    std::unique_ptr<Taskmill_RunningJobsWidget> tab;
    KilnUtil_TableWidget *table = nullptr;
    QCheckBox *onlyKnown = nullptr;

    ProcessesPage()
    {
        inspector.processes = {{100, 1, u"shell"_s, u"/none/shell"_s},
                               {20, 100, u"zzz"_s, TestProgramPath()},
                               {3, -1, u"aaa"_s, TestProgramPath()}};
    }
    ~ProcessesPage() { inspector.gate.release(1000); }
    Q_DISABLE_COPY_MOVE(ProcessesPage)

    void Open()
    {
        tab = std::make_unique<Taskmill_RunningJobsWidget>(&window, *running, manager.Destinations());
        table = window.findChild<KilnUtil_TableWidget *>();
        onlyKnown = window.findChild<QCheckBox *>();
        Show();
    }
    [[nodiscard]] QString ProcessIDs() const { return ColumnTexts(*table, 1).join(u' '); }
};
} // namespace

class TestRunningJobsWidget : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void ReadingLeavesTheWindowAlone()
    {
        ProcessesPage page;
        page.Open();
        const auto labels = page.tab->Frame()->findChildren<QLabel *>();
        QLabel *reading = *std::ranges::find(labels, u"Reading..."_s, &QLabel::text);
        QLabel *readAt = labels[1 - labels.indexOf(reading)];
        QTRY_COMPARE(page.ProcessIDs(), u"3 20"_s);
        QTRY_VERIFY(!page.running->IsReading());
        QCOMPARE(page.inspector.TakeCalls(), u"list"_s);
        page.inspector.gate.acquire(page.inspector.gate.available());
        for (int time = 0; time < 3; ++time)
            QTest::mouseClick(page.tab->Frame()->findChild<QPushButton *>(), Qt::LeftButton);
        QTRY_VERIFY(reading->isVisible());
        QVERIFY(!readAt->isVisible());
        QCOMPARE(page.ProcessIDs(), u"3 20"_s);
        // The menu still finds the process that is shown.
        QVERIFY(!ChooseFromMenu(*page.table, 1, u"20"_s, {}).isEmpty());
        QVERIFY(!ChooseFromMenu(*page.table, 1, u"3"_s, {}).isEmpty());

        page.inspector.processes.removeLast();
        page.inspector.gate.release();
        QTRY_COMPARE(page.ProcessIDs(), u"20"_s);
        // The one that was chosen has ended: nothing is chosen then.
        QVERIFY(!page.table->currentIndex().isValid());
        QVERIFY(page.table->SelectedRows().isEmpty());
        QVERIFY(page.running->IsReading());
        QVERIFY(reading->isVisible());
        page.inspector.gate.release();
        QTRY_VERIFY(!reading->isVisible());
        QVERIFY(readAt->isVisible());
        QVERIFY2(QRegularExpression{u"^Read at \\d\\d:\\d\\d$"_s}.match(readAt->text()).hasMatch(),
                 qPrintable(readAt->text()));
        QCOMPARE(page.inspector.TakeCalls(), u"list,list"_s);
    }

    void EntriesEndWhatTheySay_data()
    {
        QTest::addColumn<QString>("calls");
        QTest::newRow("Kill Process") << u"end 20,list"_s;
        QTest::newRow("Kill Process Group") << u"list"_s;
        QTest::newRow("Kill Child Processes") << u"children of 20,list"_s;
        QTest::newRow("Kill Process and Child Processes") << u"children of 20,end 20,list"_s;
        QTest::newRow("Kill Process and Parent Process") << u"end 100,end 20,list"_s;
        QTest::newRow("Kill Process, Child Processes and Parent Process")
            << u"children of 20,end 100,end 20,list"_s;
        QTest::newRow("no such entry") << QString{};
    }

    void EntriesEndWhatTheySay()
    {
        ProcessesPage page;
        QFETCH(const QString, calls);
        page.Open();
        QTest::mouseClick(page.onlyKnown, Qt::LeftButton);
        QTRY_COMPARE(page.ProcessIDs(), u"3 20 100"_s);
        QTRY_VERIFY(!page.running->IsReading());
        // Rows, list and numbers in three different orders.
        page.table->sortByColumn(3, Qt::DescendingOrder);
        (void)page.inspector.TakeCalls();
        const auto choose = [&page] {
            ChooseFromMenu(*page.table, 1, u"20"_s, QString::fromLatin1(QTest::currentDataTag()));
            (void)QTest::qWaitFor([&page] { return !page.running->IsReading(); });
            return page.inspector.TakeCalls();
        };
        QCOMPARE(choose(), calls);
        // The parent has ended, and its number belongs to another process; then the same of the process
        // itself.
        page.inspector.parentNow = 1;
        QCOMPARE(choose(), QString{calls}.remove(u"end 100,"_s));
        page.inspector.creationDateNow = u"2000"_s;
        QCOMPARE(choose(), calls.isEmpty() ? calls : u"list"_s);
    }

    void RemovesJobsOfTheManager()
    {
        ProcessesPage page;
        Taskmill_JobContainer &jobs = page.manager.Short().Jobs();
        page.manager.Short().Submit(
            page.manager.NewJob(page.manager.JobTypes().GetAll().last(), page.manager.InputFile(u"x.in"_s)));
        QTRY_VERIFY(jobs.JobAt(0)->ProcessID() > 0);
        const auto number = static_cast<int>(jobs.JobAt(0)->ProcessID());
        const QString processID = QString::number(number);
        page.inspector.processes.append({number, 1, u"job"_s, TestProgramPath()});
        page.Open();
        QTRY_COMPARE(page.table->model()->rowCount(), 3);
        // Rows that come while the menu is opened would move the one it is opened for.
        const auto showOnlyKnown = [&page](bool only) {
            QTest::mouseClick(page.onlyKnown, Qt::LeftButton);
            return page.onlyKnown->isChecked() == only &&
                   QTest::qWaitFor([&page] { return !page.running->IsReading(); });
        };
        const auto row = static_cast<int>(ColumnTexts(*page.table, 1).indexOf(processID));
        const QString name = jobs.JobAt(0)->Record().Name;
        QCOMPARE(page.table->model()->index(row, 3).data(Qt::AccessibleDescriptionRole).toString(),
                 u"Job 1, "_s + name);
        QVERIFY(page.table->model()
                    ->index(row, 3)
                    .data(Qt::ToolTipRole)
                    .toString()
                    .contains(QString{name}.replace(u' ', QChar{QChar::Nbsp})));
        QVERIFY(!page.table->model()->index(1 - qMin(row, 1), 3).data(Qt::ToolTipRole).isValid());
        QCOMPARE(ChooseFromMenu(*page.table, 1, processID, u"Remove"_s), QStringList{u"Remove"_s});
        QCOMPARE(page.manager.prompt.asked.size(), 1);
        QVERIFY(QTest::qWaitFor([&page] { return !page.running->IsReading(); }));

        // A process that is none of its jobs, and one that is, with the box unchecked.
        page.table->selectRow(0);
        QTest::keyClick(page.table, Qt::Key_Delete);
        QVERIFY(showOnlyKnown(false));
        QCOMPARE(ChooseFromMenu(*page.table, 1, processID, {}).first(), u"Kill Process"_s);
        QTest::keyClick(page.table, Qt::Key_Delete);
        QCOMPARE(page.manager.prompt.asked.size(), 1);
        QVERIFY(showOnlyKnown(true));

        using Answer = KilnUtil_UserPrompt::WarnAnswer;
        page.manager.prompt.answers = {Answer::Yes, Answer::Yes};
        ChooseFromMenu(*page.table, 1, processID, u"Remove"_s);
        QCOMPARE(jobs.Count(), 0);
    }

    void MayEndWhileReading_data()
    {
        QTest::addColumn<bool>("windowFirst");
        QTest::newRow("page first") << false;
        QTest::newRow("window first") << true;
    }

    void MayEndWhileReading()
    {
        ProcessesPage page;
        QFETCH(const bool, windowFirst);
        page.inspector.gate.acquire(page.inspector.gate.available());
        page.Open();
        QString calls;
        QTRY_COMPARE(calls += page.inspector.TakeCalls(), u"list"_s);
        Taskmill_ProcessRecord process;
        process.ProcessId = u"20"_s;
        process.CreationDate = page.inspector.creationDateNow;
        page.running->KillInBackground(process, Taskmill_Kill::Process);
        if (windowFirst)
            delete page.tab->Frame(); // as the window does at its end
        else
            page.tab.reset();
        page.inspector.gate.release(1000);
        // What was read comes when the page is gone.
        QTRY_VERIFY(!page.running->IsReading());
        page.tab.reset();
        page.running->RefreshInBackground();
        page.running.reset();
        // An order is carried out even then.
        QVERIFY(page.inspector.TakeCalls().startsWith(u"end 20"_s));
    }
};

QTEST_MAIN(TestRunningJobsWidget)
#include "test_runningjobswidget.moc"
