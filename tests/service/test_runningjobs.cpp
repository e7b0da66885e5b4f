#include "service/runningjobs.h"

#include "fakeinspector.h"
#include "service/processworker.h"
#include "support/testmanager.h"
#include "support/testutil.h"

#include <QDir>
#include <QFile>
#include <QSemaphore>
#include <QtTest>

#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {
Taskmill_ProcessRecord ProcessOf(const QString &executable, const QString &id = u"1"_s)
{
    Taskmill_ProcessRecord process;
    process.ExecutablePath = executable;
    process.ProcessId = id;
    return process;
}

QStringList NumbersOf(const QList<Taskmill_ProcessRecord> &processes)
{
    QStringList numbers;
    for (const Taskmill_ProcessRecord &process : processes)
        numbers += process.ProcessId;
    return numbers;
}

/// Its listing takes as long as the gate is closed.
class HangingInspector final : public Taskmill_ProcessInspector
{
public:
    HangingInspector(QSemaphore &started, QSemaphore &gate)
        : m_started{started}
        , m_gate{gate}
    {
    }

protected:
    QString ListingText() override
    {
        m_started.release();
        m_gate.acquire();
        return {};
    }
    void EndProcess(int) override {}
    void EndChildren(int) override {}

private:
    QSemaphore &m_started;
    QSemaphore &m_gate;
};
} // namespace

class TestRunningJobs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { FailOnQtWarnings(); }
    void SamePaths_data();
    void SamePaths();
    void LinksLeadToTheSameFile();
    void OrderIsKeptAndNoneIsRepeated();
    void TheChoiceTakesEffectWithTheNextRefresh();
    void EndsOnlyWhatWasListed_data();
    void EndsOnlyWhatWasListed();
    void WorkerDoesNotWaitForEver();
};

void TestRunningJobs::SamePaths_data()
{
    QTest::addColumn<QString>("process");
    QTest::addColumn<QString>("jobType");
    QTest::addColumn<bool>("matches");
    const auto row = [](const char *name, const QString &process, const QString &jobType, bool matches) {
        QTest::newRow(name) << process << jobType << matches;
    };
    row("equal", u"/none/a.exe"_s, u"/none/a.exe"_s, true);
    row("other letters", u"/None/A.EXE"_s, u"/none/a.exe"_s, true);
    row("other file", u"/none/ab.exe"_s, u"/none/a.exe"_s, false);
    row("other folder", u"/none/b/a.exe"_s, u"/none/a.exe"_s, false);
    row("blanks around", u" /none/a.exe "_s, u"\t/none/a.exe"_s, true);
    row("detours", u"/none//b/../a.exe"_s, u"/none/./a.exe"_s, true);
    row("separators", u"C:\\none\\b\\..\\a.exe"_s, u"c:/none/a.exe"_s, true);
    row("no process path", u" "_s, u"/none/a.exe"_s, false);
    row("no job type path", u"/none/a.exe"_s, u" "_s, false);
    row("neither", QString{}, QString{}, false);
    row("full stop of the process", u"/none/Gaussian, Inc./a"_s, u"/none/Gaussian, Inc/a"_s, true);
    row("full stop of the job type", u"/none/kilnworks, inc/a"_s, u"/none/Kilnworks, Inc./a"_s, true);
    row("full stop of both", u"/none/Kilnworks, Inc./a"_s, u"/none/Kilnworks, Inc./a"_s, true);
    row("full stop of neither", u"/none/Gaussian, Inc/a"_s, u"/none/Gaussian, Inc/a"_s, true);
    row("full stop of somebody else", u"/none/Else, Inc./a"_s, u"/none/Else, Inc/a"_s, false);
}

void TestRunningJobs::SamePaths()
{
    QFETCH(const QString, process);
    QFETCH(const QString, jobType);
    QFETCH(const bool, matches);
    QCOMPARE(Taskmill_ProcessesOfJobTypes({ProcessOf(process)}, {jobType}).size(), matches ? 1 : 0);
}

void TestRunningJobs::LinksLeadToTheSameFile()
{
    if constexpr (isWindows)
        QSKIP("A link is made by administrators only");
    const QTemporaryDir directory;
    const QString file = WriteTestFile(directory.filePath(u"real"_s), {});
    const QString other = WriteTestFile(directory.filePath(u"other"_s), {});
    const QString link = directory.filePath(u"link"_s);
    QVERIFY(QFile::link(file, link));
    const auto matches = [](const QString &process, const QString &jobType) {
        return !Taskmill_ProcessesOfJobTypes({ProcessOf(process)}, {jobType}).isEmpty();
    };
    QVERIFY(matches(file, link));
    QVERIFY(matches(link, file));
    QVERIFY(!matches(other, link));

    // A link to nothing is like nothing else that is missing.
    QVERIFY(QFile::remove(file));
    QVERIFY(!matches(u"/none/a"_s, link));
}

void TestRunningJobs::OrderIsKeptAndNoneIsRepeated()
{
    const QList<Taskmill_ProcessRecord> processes{ProcessOf(u"/b"_s, u"9"_s), ProcessOf(u"/x"_s, u"8"_s),
                                                  ProcessOf(u"/a"_s, u"7"_s), ProcessOf(u"/b"_s, u"10"_s)};
    QCOMPARE(NumbersOf(Taskmill_ProcessesOfJobTypes(processes, {u"/a"_s, QString{}, u"/b"_s, u"/B"_s})),
             (QStringList{u"9"_s, u"7"_s, u"10"_s}));
    QVERIFY(Taskmill_ProcessesOfJobTypes(processes, {}).isEmpty());
}

void TestRunningJobs::TheChoiceTakesEffectWithTheNextRefresh()
{
    TestManager manager;
    manager.NewProject();
    manager.AddJobType(u"Known"_s, {});
    FakeInspector inspector;
    inspector.Processes = {ProcessOf(TestProgramPath(), u"1"_s), ProcessOf(u"/none/else"_s, u"2"_s)};
    Taskmill_RunningJobs running{inspector, manager.jobTypes};
    QVERIFY(running.Processes().isEmpty());
    running.Refresh();
    QCOMPARE(NumbersOf(running.Processes()), QStringList{u"1"_s});
    running.SetOnlyShowKnownJobTypes(false);
    QCOMPARE(NumbersOf(running.Processes()), QStringList{u"1"_s});
    running.Refresh();
    QCOMPARE(NumbersOf(running.Processes()), (QStringList{u"1"_s, u"2"_s}));
    inspector.Processes.clear();
    QCOMPARE(running.ListingText(), u"\nRunning Jobs List is Empty\n\n"_s);
    QVERIFY(running.Processes().isEmpty());
}

void TestRunningJobs::EndsOnlyWhatWasListed_data()
{
    QTest::addColumn<QString>("creationDate");
    QTest::addColumn<int>("parent");
    QTest::addColumn<QString>("ended");
    QTest::newRow("as listed") << u"1999"_s << 4 << u"5, /of 5, /of 5, 5, /4, 5, /of 5, 4, 5, //"_s;
    QTest::newRow("parent has ended") << u"1999"_s << 1 << u"5, /of 5, /of 5, 5, /5, /of 5, 5, //"_s;
    QTest::newRow("number of another") << u"2000"_s << 4 << u"//////"_s;
    QTest::newRow("has ended") << u""_s << -1 << u"//////"_s;
}

void TestRunningJobs::EndsOnlyWhatWasListed()
{
    QFETCH(const QString, creationDate);
    QFETCH(const int, parent);
    FakeInspector inspector;
    inspector.CreationDate = creationDate;
    inspector.Parent = parent;
    Taskmill_ProcessRecord process;
    process.ProcessId = u"5"_s;
    process.ParentProcessId = u"4"_s;
    process.CreationDate = u"1999"_s;
    for (const Taskmill_Kill kill : {Taskmill_Kill::Process, Taskmill_Kill::Children,
                                     Taskmill_Kill::ProcessAndChildren, Taskmill_Kill::ProcessAndParent,
                                     Taskmill_Kill::ProcessChildrenAndParent, Taskmill_Kill::ProcessGroup}) {
        (void)Taskmill_KillProcess(inspector, process, kill);
        inspector.Ended += u'/';
    }
    QTEST(inspector.Ended, "ended");
}

void TestRunningJobs::WorkerDoesNotWaitForEver()
{
    QSemaphore started;
    QSemaphore gate;
    auto inspector = std::make_shared<HangingInspector>(started, gate);
    const std::weak_ptr<HangingInspector> inThread = inspector;
    auto worker = std::make_unique<Taskmill_ProcessWorker>(*inspector, std::chrono::milliseconds{1});
    worker->List({});
    started.acquire();
    QTest::ignoreMessage(QtWarningMsg,
                         "Processes are still being listed or ended: the program does not wait for that");
    worker.reset();
    inspector.reset();
    QVERIFY(!inThread.expired());
    gate.release();
    QTRY_VERIFY(inThread.expired());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

QTEST_GUILESS_MAIN(TestRunningJobs)
#include "test_runningjobs.moc"
