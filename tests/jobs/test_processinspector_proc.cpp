#include "jobs/processinspector.h"
#include "kilnutil/filesys.h"
#include "support/testutil.h"

#include <QtTest>

#include <algorithm>
#include <csignal>
#include <sys/resource.h>
#include <sys/times.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {
/// A process of the test, ended with it.
class Child
{
public:
    Child(const QString &program, const QStringList &arguments) { m_process.start(program, arguments); }
    ~Child()
    {
        m_process.kill();
        m_process.waitForFinished();
    }
    Q_DISABLE_COPY_MOVE(Child)

    [[nodiscard]] int Id() const { return static_cast<int>(m_process.processId()); }
    [[nodiscard]] bool IsRunning() const { return m_process.state() == QProcess::Running; }
    [[nodiscard]] bool WasKilled()
    {
        return m_process.waitForFinished() && m_process.exitStatus() == QProcess::CrashExit &&
               m_process.exitCode() == SIGKILL;
    }

private:
    QProcess m_process;
};

/// Ends a process that is not a child of the test.
struct Stray
{
    int id = 0;
    ~Stray()
    {
        if (id > 1)
            kill(id, SIGKILL);
    }
};

int ReadId(const QString &path)
{
    return ReadTestFile(path).trimmed().toInt();
}
} // namespace

/// The inspector that reads /proc.
class TestProcessInspectorProc : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void ListsEveryValueOfThisProcess();
    void ListsOddNames_data();
    void ListsOddNames();
    void TellsWhenAProcessStarted();
    void ListsScripts_data();
    void ListsScripts();
    void EndsOneProcess();
    void EndsOnlyTheProcessThatWasListed();
    void EndsChildrenAndLeavesOutZombies();
    void EndsGaussianWorkers();
    void NeverSignalsSpecialIds();

private:
    [[nodiscard]] std::optional<Taskmill_ProcessRecord> Find(int processID) const;
    [[nodiscard]] QString Path(const QString &name) const { return m_directory->filePath(name); }

    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<Taskmill_ProcessInspector> m_inspector;
};

void TestProcessInspectorProc::init()
{
    FailOnQtWarnings();
    m_directory = std::make_unique<QTemporaryDir>();
    m_inspector = Taskmill_MakeProcessInspector();
}

std::optional<Taskmill_ProcessRecord> TestProcessInspectorProc::Find(int processID) const
{
    const QList<Taskmill_ProcessRecord> records = m_inspector->ListProcesses();
    const auto found = std::ranges::find(records, processID, &Taskmill_ProcessRecord::ProcessIdNumber);
    return found == records.end() ? std::nullopt : std::optional{*found};
}

void TestProcessInspectorProc::ListsEveryValueOfThisProcess()
{
    tms before{};
    tms after{};
    times(&before);
    const auto record = Find(getpid());
    times(&after);
    const qint64 tick = 10'000'000 / sysconf(_SC_CLK_TCK);

    QVERIFY(record);
    QCOMPARE(record->Caption, u"test_processinspector_proc"_s);
    QCOMPARE(record->Name, record->Caption);
    QCOMPARE(record->ExecutablePath, QFileInfo{u"/proc/self/exe"_s}.symLinkTarget());
    QVERIFY(record->CommandLine.contains(u"test_processinspector_proc"_s));
    QCOMPARE(record->CSName, QSysInfo::machineHostName());
    QCOMPARE(record->ExecutionState, u"running"_s);
    QCOMPARE(record->Handle, record->ProcessId);
    QCOMPARE(record->ParentProcessIdNumber(), getppid());
    QCOMPARE(record->Priority.toInt(), 20 + getpriority(PRIO_PROCESS, 0));
    QVERIFY(record->UserModeTime.toLongLong() >= before.tms_utime * tick);
    QVERIFY(record->UserModeTime.toLongLong() <= after.tms_utime * tick);
    QVERIFY(record->KernelModeTime.toLongLong() >= before.tms_stime * tick);
    QVERIFY(record->KernelModeTime.toLongLong() <= after.tms_stime * tick);
    QCOMPARE(record->ThreadCount.toLongLong(),
             QDir{u"/proc/self/task"_s}.entryList(QDir::Dirs | QDir::NoDotAndDotDot).size());
    QVERIFY(record->PrivatePageCount.toLongLong() > 4096);
    QVERIFY(record->WorkingSetSize.toLongLong() > 4096);
    QVERIFY(record->VirtualSize.toLongLong() > record->WorkingSetSize.toLongLong());
    QCOMPARE(record->User, QString{});
}

void TestProcessInspectorProc::ListsOddNames_data()
{
    QTest::addColumn<QString>("name");

    QTest::newRow("plain") << u"calc"_s;
    QTest::newRow("like the end of a stat field") << u"two words) Z 1 (x"_s;
    QTest::newRow("non-ASCII") << u"Übung"_s;
    QTest::newRow("longer than the kernel keeps") << u"a-rather-long-program-name"_s;
}

void TestProcessInspectorProc::ListsOddNames()
{
    QFETCH(QString, name);
    const QString program = Path(name);
    QVERIFY(QFile::copy(TestProgramPath(), program));
    const Child child{program, {u"print"_s, u"x\r\ny z"_s, u"pid"_s, Path(u"id"_s), u"stdin"_s}};
    QTRY_VERIFY(QFile::exists(Path(u"id"_s)));

    // Once it waits for its input it stays asleep.
    QTRY_COMPARE(Find(child.Id()).value_or(Taskmill_ProcessRecord{}).ExecutionState, u"sleeping"_s);
    auto record = Find(child.Id());
    QVERIFY(record);
    QCOMPARE(record->Name, name);
    QCOMPARE(record->ExecutablePath, program);
    QCOMPARE(record->ParentProcessIdNumber(), getpid());
    QCOMPARE(record->ThreadCount, u"1"_s);
    QCOMPARE(record->CommandLine, KilnUtil_FileSys::ConvertFilename(program, true, false) +
                                      u" print \"x  y z\" pid %1 stdin"_s.arg(Path(u"id"_s)));

    QVERIFY(QFile::remove(program));
    record = Find(child.Id());
    QVERIFY(record);
    QCOMPARE(record->ExecutablePath, program);
}

void TestProcessInspectorProc::TellsWhenAProcessStarted()
{
    const QDateTime before = QDateTime::currentDateTime();
    const Child child{TestProgramPath(), {u"wait"_s}};
    QTRY_VERIFY(child.IsRunning());
    const auto record = Find(child.Id());
    QVERIFY(record);

    const QRegularExpression form{u"^(\\d{14})\\.\\d{6}([+-]\\d{3})$"_s};
    const QRegularExpressionMatch match = form.match(record->CreationDate);
    QVERIFY2(match.hasMatch(), qPrintable(record->CreationDate));
    const QDateTime created = QDateTime::fromString(match.captured(1), u"yyyyMMddHHmmss"_s);
    // Wide enough for any load; a wrong unit or origin is off by far more.
    QVERIFY(qAbs(before.secsTo(created)) < 600);
    QCOMPARE(match.captured(2).toInt(), before.offsetFromUtc() / 60);
}

void TestProcessInspectorProc::ListsScripts_data()
{
    QTest::addColumn<QByteArray>("firstLine");
    QTest::addColumn<QString>("command"); // of a shell in the script's directory
    QTest::addColumn<bool>("isScript");

    QTest::newRow("script") << QByteArray{"#!/bin/sh"} << u"exec \"$PWD\"/formchk-wrapper.sh"_s << true;
    QTest::newRow("interpreter with an option")
        << QByteArray{"#!/bin/sh -e"} << u"exec \"$PWD\"/formchk-wrapper.sh"_s << true;
    QTest::newRow("relative") << QByteArray{"#!/bin/sh"} << u"exec ./formchk-wrapper.sh"_s << true;
    QTest::newRow("handed to an interpreter")
        << QByteArray{"#!/bin/sh"} << u"exec /bin/sh ./formchk-wrapper.sh"_s << false;
}

void TestProcessInspectorProc::ListsScripts()
{
    QFETCH(QByteArray, firstLine);
    QFETCH(QString, command);
    QFETCH(bool, isScript);
    const QString script =
        WriteTestFile(Path(u"formchk-wrapper.sh"_s), firstLine + "\n: >started\nread line\n");
    QVERIFY(QFile::setPermissions(script, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    const Child child{u"/bin/sh"_s, {u"-c"_s, u"cd \"$1\" && "_s + command, u"sh"_s, m_directory->path()}};
    QTRY_VERIFY(QFile::exists(Path(u"started"_s)));

    const auto record = Find(child.Id());
    QVERIFY(record);
    QCOMPARE(record->ExecutablePath, isScript ? script : QFileInfo{u"/bin/sh"_s}.canonicalFilePath());
    QCOMPARE(record->Name, QFileInfo{record->ExecutablePath}.fileName());
}

void TestProcessInspectorProc::EndsOneProcess()
{
    Child child{TestProgramPath(), {u"wait"_s}};
    Child other{TestProgramPath(), {u"wait"_s}};
    QTRY_VERIFY(child.IsRunning() && other.IsRunning());
    QVERIFY(m_inspector->Terminate(u"any name"_s, child.Id()));
    QVERIFY(child.WasKilled());
    QVERIFY(Find(other.Id()));
}

void TestProcessInspectorProc::EndsOnlyTheProcessThatWasListed()
{
    Child child{TestProgramPath(), {u"wait"_s}};
    QTRY_VERIFY(child.IsRunning());
    auto record = Find(child.Id());
    QVERIFY(record);

    auto earlier = *record;
    earlier.CreationDate.replace(0, 4, u"1999"_s);
    QVERIFY(!m_inspector->Terminate(earlier));
    QVERIFY(Find(child.Id()));

    Child bystander{TestProgramPath(), {u"wait"_s}};
    QTRY_VERIFY(bystander.IsRunning());
    auto withOtherParent = *record;
    withOtherParent.ParentProcessId = QString::number(bystander.Id());
    QVERIFY(m_inspector->TerminateParent(withOtherParent));
    QVERIFY(Find(bystander.Id()));
    // Another inspector must see the same date.
    QVERIFY(Taskmill_MakeProcessInspector()->Terminate(*record));
    QVERIFY(child.WasKilled());
    QVERIFY(!m_inspector->Terminate(*record));
    QVERIFY(!m_inspector->Terminate(Taskmill_ProcessRecord{}));
}

void TestProcessInspectorProc::EndsChildrenAndLeavesOutZombies()
{
    Child parent{
        TestProgramPath(),
        {u"child"_s, u"pid"_s, Path(u"child"_s), u"child"_s, u"pid"_s, Path(u"grandchild"_s), u"wait"_s}};
    QTRY_VERIFY(QFile::exists(Path(u"grandchild"_s)));
    const Stray child{ReadId(Path(u"child"_s))};
    const Stray grandchild{ReadId(Path(u"grandchild"_s))};
    QCOMPARE(Find(child.id).value_or(Taskmill_ProcessRecord{}).ParentProcessIdNumber(), parent.Id());

    QVERIFY(m_inspector->TerminateTree(u"formchk"_s, parent.Id()));
    // The parent does not collect its child, which therefore stays as a zombie.
    QTRY_VERIFY(!Find(child.id));
    QVERIFY(QFile::exists(u"/proc/%1/stat"_s.arg(child.id)));
    QVERIFY(Find(grandchild.id));
    QVERIFY(Find(parent.Id()));
}

void TestProcessInspectorProc::EndsGaussianWorkers()
{
    const Child driver{TestProgramPath(), {u"wait"_s}};
    QTRY_VERIFY(driver.IsRunning());
    const auto startWorker = [](int id, const QString &suffix) {
        return std::make_unique<Child>(
            TestProgramPath(), QStringList{u"waitfor"_s, u"/scratch/Gau-%1.%2"_s.arg(id).arg(suffix)});
    };
    const auto worker = startWorker(driver.Id(), u"inp"_s);
    const auto stranger = startWorker(driver.Id(), u"int"_s);
    QTRY_VERIFY(worker->IsRunning() && stranger->IsRunning());

    QVERIFY(m_inspector->TerminateTree(u"/opt/g16/formchk"_s, driver.Id()));
    QVERIFY(Find(worker->Id()));
    QVERIFY(m_inspector->TerminateTree(u"/opt/g16/g16"_s, driver.Id()));
    QVERIFY(worker->WasKilled());
    QVERIFY(Find(stranger->Id()));
    QVERIFY(Find(driver.Id()));
}

void TestProcessInspectorProc::NeverSignalsSpecialIds()
{
    // With id 0 the system would end the whole process group, this test included.
    QVERIFY(m_inspector->Terminate(u"any"_s, 0));
    QVERIFY(m_inspector->Terminate(u"any"_s, 1));
    QVERIFY(!m_inspector->Terminate(u"any"_s, -1));
    QVERIFY(!m_inspector->TerminateTree(u"g16"_s, -1));

    // A process whose parent has ended belongs to process 1, and must not be ended as its child.
    Stray orphan;
    {
        const Child parent{TestProgramPath(), {u"child"_s, u"pid"_s, Path(u"orphan"_s), u"wait"_s}};
        QTRY_VERIFY(QFile::exists(Path(u"orphan"_s)));
        orphan.id = ReadId(Path(u"orphan"_s));
    }
    QVERIFY(m_inspector->TerminateTree(u"any"_s, 0));
    QVERIFY(m_inspector->TerminateTree(u"any"_s, 1));
    QVERIFY(Find(orphan.id));
}

QTEST_GUILESS_MAIN(TestProcessInspectorProc)
#include "test_processinspector_proc.moc"
