#include "ui/runningjobswidget.h"

#include "jobs/processinspector_wmic.h"
#include "jobs/runmode.h"
#include "kilnutil/tablewidget.h"
#include "service/processworker.h"
#include "service/runningjobs.h"
#include "support/testmanager.h"
#include "support/testutil.h"
#include "ui/tabledriver.h"

#include <QCheckBox>
#include <QFrame>
#include <QLabel>
#include <QMutex>
#include <QPushButton>
#include <QSemaphore>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

namespace {
/// Lists the processes that it is told of, ends none and remembers what it was asked to do.
class RecordingInspector final : public Taskmill_ProcessInspector
{
public:
    struct Process
    {
        int id;
        int parent;
        QString name;
        QString path;
    };
    QList<Process> processes; ///< not to be changed while a listing may run
    QSemaphore gate;          ///< every listing takes one

    [[nodiscard]] QStringList Calls()
    {
        const QMutexLocker lock{&m_mutex};
        return m_calls;
    }
    void ForgetCalls()
    {
        const QMutexLocker lock{&m_mutex};
        m_calls.clear();
    }
    [[nodiscard]] bool WasOnOtherThread() const { return m_thread && m_thread != QThread::currentThread(); }

protected:
    QString ListingText() override
    {
        Record(u"list"_s);
        gate.acquire();
        QByteArray listing;
        for (const Process &process : processes) {
            Taskmill_AppendProcessLine(listing, "ProcessId", QByteArray::number(process.id));
            Taskmill_AppendProcessLine(listing, "ParentProcessId", QByteArray::number(process.parent));
            Taskmill_AppendProcessLine(listing, "Name", process.name.toUtf8());
            Taskmill_AppendProcessLine(listing, "ExecutablePath", process.path.toUtf8());
        }
        return QString::fromUtf8(listing);
    }
    void EndProcess(int processID) override { Record(u"end %1"_s.arg(processID)); }
    void EndChildren(int processID) override { Record(u"tree %1"_s.arg(processID)); }

private:
    void Record(const QString &call)
    {
        const QMutexLocker lock{&m_mutex};
        m_calls += call;
        m_thread = QThread::currentThread();
    }

    QMutex m_mutex;
    QStringList m_calls;
    QThread *m_thread = nullptr;
};
} // namespace

class TestRunningJobsWidget : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void HasNoPageInConsoleModes();
    void ShowsProcessesByNumber();
    void ReadingLeavesTheWindowAlone();
    void EntriesEndWhatTheySay_data();
    void EntriesEndWhatTheySay();
    void OffersToRemoveAJobOfTheManager();
    void RemovesOnlyWhereTheMenuWould();
    void MayEndWhileReading_data();
    void MayEndWhileReading();
    void EndDoesNotWaitForATool();

private:
    void Show();
    void WaitForRows(const QStringList &processIDs) const;
    [[nodiscard]] QStringList ProcessIDs() const { return ColumnTexts(*m_table, 1); }

    std::unique_ptr<TestManager> m_manager;
    RecordingInspector m_inspector;
    std::unique_ptr<Taskmill_RunningJobs> m_running;
    std::unique_ptr<QWidget> m_window;
    std::unique_ptr<Taskmill_RunningJobsWidget> m_tab;
    KilnUtil_TableWidget *m_table = nullptr;
    QCheckBox *m_onlyKnown = nullptr;
    QPushButton *m_refresh = nullptr;
};

void TestRunningJobsWidget::init()
{
    FailOnQtWarnings();
    m_inspector.gate.release(1000);
    m_manager = std::make_unique<TestManager>();
    Taskmill_SetRunMode(Taskmill_RunMode::Gui);
    m_manager->NewProject();
    m_inspector.processes = {{100, 1, u"shell"_s, u"/none/shell"_s},
                             {20, 100, u"zzz"_s, TestProgramPath()},
                             {3, -1, u"aaa"_s, TestProgramPath()}};
    m_running = std::make_unique<Taskmill_RunningJobs>(m_inspector, m_manager->jobTypes);
    m_manager->AddGatedJobType();
}

void TestRunningJobsWidget::cleanup()
{
    m_inspector.gate.release(1000);
    m_tab.reset();
    m_window.reset();
    m_running.reset();
    m_inspector.ForgetCalls();
    m_manager.reset();
}

void TestRunningJobsWidget::Show()
{
    m_window = std::make_unique<QWidget>();
    m_window->resize(900, 300);
    m_tab = std::make_unique<Taskmill_RunningJobsWidget>(m_window.get(), *m_running, m_manager->tabs);
    m_tab->Frame()->resize(m_window->size());
    m_table = m_tab->Frame()->findChild<KilnUtil_TableWidget *>();
    m_onlyKnown = m_tab->Frame()->findChild<QCheckBox *>();
    m_refresh = m_tab->Frame()->findChild<QPushButton *>();
    m_window->show();
    QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
}

void TestRunningJobsWidget::WaitForRows(const QStringList &processIDs) const
{
    QTRY_COMPARE(ProcessIDs(), processIDs);
    QTRY_VERIFY(!m_running->IsReading());
}

void TestRunningJobsWidget::HasNoPageInConsoleModes()
{
    Taskmill_SetRunMode(Taskmill_RunMode::Console);
    Taskmill_RunningJobsWidget tab{nullptr, *m_running, m_manager->tabs};
    QVERIFY(!tab.Frame());
    tab.RefreshSlot();
    tab.OnlyShowJobsOfKnownJobTypesSlot();
    tab.RemoveSlot();
    tab.ContextMenuSlot({});
    QVERIFY(m_inspector.Calls().isEmpty());
}

void TestRunningJobsWidget::ShowsProcessesByNumber()
{
    Show();
    QVERIFY(m_onlyKnown->isChecked());
    WaitForRows({u"3"_s, u"20"_s});
    QTest::mouseClick(m_onlyKnown, Qt::LeftButton);
    WaitForRows({u"3"_s, u"20"_s, u"100"_s});
    QCOMPARE(ColumnTexts(*m_table, 0), (QStringList{u""_s, u""_s, u""_s}));
    QCOMPARE(ColumnTexts(*m_table, 3), (QStringList{u"aaa"_s, u"zzz"_s, u"shell"_s}));
    QVERIFY(m_inspector.WasOnOtherThread());

    m_inspector.processes.removeAt(1);
    QTest::mouseClick(m_refresh, Qt::LeftButton);
    WaitForRows({u"3"_s, u"100"_s});
    QTest::mouseClick(m_onlyKnown, Qt::LeftButton);
    WaitForRows({u"3"_s});
}

void TestRunningJobsWidget::ReadingLeavesTheWindowAlone()
{
    Show();
    WaitForRows({u"3"_s, u"20"_s});
    auto *reading = m_tab->Frame()->findChild<QLabel *>();
    QTRY_VERIFY(!reading->isVisible());
    m_inspector.ForgetCalls();
    m_inspector.gate.acquire(m_inspector.gate.available());
    for (int time = 0; time < 3; ++time)
        QTest::mouseClick(m_refresh, Qt::LeftButton);
    QTRY_VERIFY(reading->isVisible());
    QCOMPARE(ProcessIDs(), (QStringList{u"3"_s, u"20"_s}));
    // The menu still finds the process that is shown.
    QCOMPARE(ChooseFromMenu(*m_table, 1, u"20"_s, {}).size(), 8);

    m_inspector.processes.removeLast();
    m_inspector.gate.release();
    QTRY_COMPARE(ProcessIDs(), QStringList{u"20"_s});
    QVERIFY(m_running->IsReading());
    QVERIFY(reading->isVisible());
    m_inspector.gate.release();
    QTRY_VERIFY(!reading->isVisible());
    QVERIFY(!m_running->IsReading());
    QCOMPARE(m_inspector.Calls(), (QStringList{u"list"_s, u"list"_s}));
}

void TestRunningJobsWidget::EntriesEndWhatTheySay_data()
{
    QTest::addColumn<QString>("entry");
    QTest::addColumn<QString>("calls");
    QTest::addColumn<QString>("callsWithoutParent");
    const auto row = [](const QString &entry, const QString &calls, const QString &withoutParent) {
        QTest::newRow(qPrintable(entry)) << entry << calls << withoutParent;
    };
    row(u"Kill Process"_s, u"end 20,list"_s, u"end 3,list"_s);
    row(u"Kill Process Group"_s, u"list"_s, u"list"_s);
    row(u"Kill Child Processes"_s, u"tree 20,list"_s, u"tree 3,list"_s);
    row(u"Kill Process and Child Processes"_s, u"tree 20,end 20,list"_s, u"tree 3,end 3,list"_s);
    row(u"Kill Process and Parent Process"_s, u"end 100,end 20,list"_s, u"list"_s);
    row(u"Kill Process, Child Processes and Parent Process"_s, u"tree 20,end 100,end 20,list"_s,
        u"tree 3,list"_s);
    QTest::newRow("dismissed") << QString{} << QString{} << QString{};
}

void TestRunningJobsWidget::EntriesEndWhatTheySay()
{
    QFETCH(const QString, entry);
    QFETCH(const QString, calls);
    QFETCH(const QString, callsWithoutParent);
    Show();
    QTest::mouseClick(m_onlyKnown, Qt::LeftButton);
    WaitForRows({u"3"_s, u"20"_s, u"100"_s});
    // Rows, list and numbers in three different orders.
    m_table->sortByColumn(3, Qt::DescendingOrder);
    for (const bool hasParent : {true, false}) {
        m_inspector.ForgetCalls();
        const QStringList menu = ChooseFromMenu(*m_table, 1, hasParent ? u"20"_s : u"3"_s, entry);
        QCOMPARE(menu.mid(6), (QStringList{u"-"_s, u"Help"_s}));
        QTRY_VERIFY(!m_running->IsReading());
        QCOMPARE(m_inspector.Calls().join(u','), hasParent ? calls : callsWithoutParent);
    }
}

void TestRunningJobsWidget::OffersToRemoveAJobOfTheManager()
{
    const Taskmill_JobType jobType = m_manager->jobTypes.GetAll().last();
    QList<Taskmill_QueueOwner *> owners{&m_manager->longJobs, &m_manager->shortJobs,
                                        &m_manager->queuelessJobs};
    m_inspector.processes.clear();
    for (Taskmill_QueueOwner *owner : owners) {
        owner->Submit(m_manager->NewJob(jobType, m_manager->InputFile(u"x.in"_s)));
        QTRY_VERIFY(owner->Jobs().JobAt(0)->ProcessID() > 0);
        const int processID = static_cast<int>(owner->Jobs().JobAt(0)->ProcessID());
        m_inspector.processes.append({processID, 1, u"job"_s, TestProgramPath()});
    }
    Show();
    QTRY_COMPARE(m_table->model()->rowCount(), 3);
    using Answer = KilnUtil_UserPrompt::WarnAnswer;
    for (Taskmill_QueueOwner *owner : owners) {
        const QString processID = QString::number(owner->Jobs().JobAt(0)->ProcessID());
        QCOMPARE(ChooseFromMenu(*m_table, 1, processID, u"Remove"_s), QStringList{u"Remove"_s});
        QCOMPARE(owner->Jobs().Count(), 1);
        QCOMPARE(m_manager->prompt.asked.last().title, u"Remove Selected Jobs from "_s + owner->ListName());
        // With the box unchecked, the same process can be killed.
        QTest::mouseClick(m_onlyKnown, Qt::LeftButton);
        QCOMPARE(ChooseFromMenu(*m_table, 1, processID, {}).first(), u"Kill Process"_s);
        QTest::mouseClick(m_onlyKnown, Qt::LeftButton);
        m_manager->prompt.answers = {Answer::Yes, Answer::Yes};
        if (owner == owners.last()) {
            m_table->setCurrentIndex(
                m_table->model()->index(static_cast<int>(ProcessIDs().indexOf(processID)), 0));
            QTest::keyClick(m_table, Qt::Key_Delete);
        } else {
            ChooseFromMenu(*m_table, 1, processID, u"Remove"_s);
        }
        QCOMPARE(owner->Jobs().Count(), 0);
    }
    QTRY_VERIFY(!m_running->IsReading());
    QVERIFY(!m_inspector.Calls().join(u',').contains(u"end"_s));
}

void TestRunningJobsWidget::RemovesOnlyWhereTheMenuWould()
{
    m_manager->longJobs.Submit(
        m_manager->NewJob(m_manager->jobTypes.GetAll().last(), m_manager->InputFile(u"x.in"_s)));
    Taskmill_JobContainer &jobs = m_manager->longJobs.Jobs();
    QTRY_VERIFY(jobs.JobAt(0)->ProcessID() > 0);
    m_inspector.processes.append(
        {static_cast<int>(jobs.JobAt(0)->ProcessID()), 1, u"job"_s, TestProgramPath()});
    Show();
    QTRY_COMPARE(m_table->model()->rowCount(), 3);
    m_table->selectRow(0);
    QTest::keyClick(m_table, Qt::Key_Delete);
    QTest::mouseClick(m_onlyKnown, Qt::LeftButton);
    QTRY_COMPARE(m_table->model()->rowCount(), 4);
    m_table->selectRow(static_cast<int>(ProcessIDs().indexOf(QString::number(jobs.JobAt(0)->ProcessID()))));
    QTest::keyClick(m_table, Qt::Key_Delete);
    QVERIFY(m_manager->prompt.asked.isEmpty());
}

void TestRunningJobsWidget::MayEndWhileReading_data()
{
    QTest::addColumn<bool>("windowFirst");
    QTest::newRow("page first") << false;
    QTest::newRow("window first") << true;
}

void TestRunningJobsWidget::MayEndWhileReading()
{
    QFETCH(const bool, windowFirst);
    m_inspector.gate.acquire(m_inspector.gate.available());
    Show();
    QTRY_VERIFY(m_inspector.Calls().contains(u"list"_s));
    Taskmill_ProcessRecord process;
    process.ProcessId = u"20"_s;
    m_running->KillInBackground(process, Taskmill_Kill::Process);
    if (windowFirst)
        m_window.reset();
    else
        m_tab.reset();
    m_inspector.gate.release(1000);
    // What was read comes when the page is gone.
    QTRY_VERIFY(!m_running->IsReading());
    m_tab.reset();
    m_running->RefreshInBackground();
    m_running.reset();
    // An order is carried out even then.
    QVERIFY(m_inspector.Calls().contains(u"end 20"_s));
}

/// With the limit of ten minutes, the test would not end in time.
void TestRunningJobsWidget::EndDoesNotWaitForATool()
{
#ifdef Q_OS_UNIX
    const QString tool =
        WriteTestFile(m_manager->Path(u"wmic"_s), "#!/bin/sh\n: >\"$0.started\"\nexec sleep 3600\n");
    QVERIFY(QFile::setPermissions(tool, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", QFile::encodeName(m_manager->directory.path()) + ':' + path);
    Taskmill_WmicProcessInspector inspector{std::chrono::minutes{10}};
    {
        Taskmill_RunningJobs running{inspector, m_manager->jobTypes};
        running.RefreshInBackground();
        QTRY_VERIFY(QFile::exists(tool + u".started"_s));
    }
    qputenv("PATH", path);
#else
    QSKIP("The tool is a shell script");
#endif
}

QTEST_MAIN(TestRunningJobsWidget)
#include "test_runningjobswidget.moc"
