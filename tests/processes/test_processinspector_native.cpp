// SPDX-License-Identifier: MIT
#include "processes/processinspector_native.h"
#include "support/testutil.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QSysInfo>
#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>
#include <memory>
#include <vector>

using namespace Qt::Literals::StringLiterals;

/// What Windows itself reports of processes, and their end.
class TestProcessInspectorNative : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void TellsSeventeenProperties();
    void EndsTheChildrenAlone();
    void LeavesWhoeverGotTheNumberSince();

private:
    /// Starts the test program and returns once it has written its process id.
    int Start(const QStringList &arguments);
    [[nodiscard]] Taskmill_ProcessRecord Record(int processID);
    [[nodiscard]] bool IsThere(int processID) { return !Record(processID).ProcessId.isEmpty(); }

    Taskmill_NativeProcessInspector m_inspector;
    std::unique_ptr<QTemporaryDir> m_directory;
    std::vector<std::unique_ptr<QProcess>> m_processes;
};

void TestProcessInspectorNative::init()
{
    FailOnQtWarnings();
    m_directory = std::make_unique<QTemporaryDir>();
}

void TestProcessInspectorNative::cleanup()
{
    for (const auto &process : m_processes) {
        process->kill();
        process->waitForFinished();
    }
    m_processes.clear();
    m_directory.reset();
}

int TestProcessInspectorNative::Start(const QStringList &arguments)
{
    const QString file = m_directory->filePath(u"pid %1"_s.arg(m_processes.size()));
    m_processes.push_back(std::make_unique<QProcess>());
    m_processes.back()->start(TestProgramPath(), QStringList{u"pid"_s, file} + arguments);
    if (!QTest::qWaitFor([&file] { return QFile::exists(file); }, 30'000))
        qWarning("The test program does not run");
    return ReadTestFile(file).toInt();
}

Taskmill_ProcessRecord TestProcessInspectorNative::Record(int processID)
{
    const QList<Taskmill_ProcessRecord> records = m_inspector.ListProcesses();
    const auto found = std::ranges::find(records, processID, &Taskmill_ProcessRecord::ProcessIdNumber);
    return found == records.end() ? Taskmill_ProcessRecord{} : *found;
}

void TestProcessInspectorNative::TellsSeventeenProperties()
{
    const QDateTime before = QDateTime::currentDateTime().addSecs(-2);
    const int processID = Start({u"wait"_s, u"Übung 分子"_s});
    const Taskmill_ProcessRecord record = Record(processID);
    const QFileInfo program{TestProgramPath()};
    QCOMPARE(record.Name, program.fileName());
    QCOMPARE(record.Caption, record.Name);
    QCOMPARE(record.Handle, record.ProcessId);
    QCOMPARE(record.ParentProcessIdNumber(), QCoreApplication::applicationPid());
    QCOMPARE(QFileInfo{record.ExecutablePath}.canonicalFilePath(), program.canonicalFilePath());
    QVERIFY2(record.CommandLine.endsWith(u"wait \"Übung 分子\""_s), qPrintable(record.CommandLine));
    QCOMPARE(record.CSName, QSysInfo::machineHostName());
    QCOMPARE(record.ExecutionState, QString{});

    const QDateTime created = QDateTime::fromString(record.CreationDate.first(14), u"yyyyMMddHHmmss"_s);
    QVERIFY2(created >= before, qPrintable(record.CreationDate));
    QVERIFY2(created <= QDateTime::currentDateTime(), qPrintable(record.CreationDate));
    static const QRegularExpression dateForm{u"^\\d{14}\\.\\d{6}[+-]\\d{3}$"_s};
    QVERIFY(dateForm.match(record.CreationDate).hasMatch());
    for (const QString &number : {record.KernelModeTime, record.UserModeTime}) {
        QVERIFY2(!number.isEmpty(), qPrintable(number));
        QVERIFY2(number.toLongLong() >= 0, qPrintable(number));
    }
    for (const QString &number : {record.Priority, record.PrivatePageCount, record.ThreadCount,
                                  record.VirtualSize, record.WorkingSetSize}) {
        // Wine does not count everything.
        QVERIFY2(number.toLongLong() > 0 || (RunsUnderWine() && number == "0"_L1), qPrintable(number));
    }
}

void TestProcessInspectorNative::EndsTheChildrenAlone()
{
    const QString child = m_directory->filePath(u"child"_s);
    const QString grandchild = m_directory->filePath(u"grandchild"_s);
    const int parentID = Start({u"child"_s, u"pid"_s, child, u"child"_s, u"pid"_s, grandchild, u"wait"_s});
    QTRY_VERIFY(QFile::exists(grandchild));
    const int childID = ReadTestFile(child).toInt();
    const int grandchildID = ReadTestFile(grandchild).toInt();
    QCOMPARE(Record(grandchildID).ParentProcessIdNumber(), childID);

    QVERIFY(m_inspector.TerminateTree(TestProgramPath(), parentID));
    QTRY_VERIFY(!IsThere(childID));
    QVERIFY(IsThere(parentID));
    QVERIFY(IsThere(grandchildID));
    QVERIFY(m_inspector.Terminate({}, grandchildID));
    QTRY_VERIFY(!IsThere(grandchildID));
    QVERIFY(!m_inspector.TerminateTree(TestProgramPath(), -1));
}

void TestProcessInspectorNative::LeavesWhoeverGotTheNumberSince()
{
    const int processID = Start({u"wait"_s});
    Taskmill_ProcessRecord listed = Record(processID);
    listed.CreationDate = u"20010101000000.000000+000"_s;
    QVERIFY(!m_inspector.Terminate(listed));
    QVERIFY(IsThere(processID));
    QVERIFY(m_inspector.Terminate(Record(processID)));
    QTRY_VERIFY(!IsThere(processID));
    QVERIFY(!m_inspector.Terminate(listed));
}

QTEST_GUILESS_MAIN(TestProcessInspectorNative)
#include "test_processinspector_native.moc"
