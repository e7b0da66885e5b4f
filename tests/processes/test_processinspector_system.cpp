// SPDX-License-Identifier: MIT
#include "processes/processinspector.h"
#include "support/testcase.h"

#include <QSysInfo>

using namespace Qt::Literals::StringLiterals;

/// What the system itself reports of processes, and their end.
class TestProcessInspectorSystem : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() override
    {
        for (const auto &process : m_processes) {
            process->kill();
            process->waitForFinished();
        }
        m_processes.clear();
        for (const QString &file : QDir{Path()}.entryList({u"*.id"_s}, QDir::Files))
            (void)m_inspector->Terminate({}, ReadTestFile(Path(file)).toInt());
        TestCase::cleanup();
    }

    void ReportsWhatAProcessIs()
    {
        const int processID = Start({u"stdin"_s, u"Übung 分子"_s});
        QTRY_COMPARE(Find(processID).ExecutionState, isWindows ? QString{} : u"sleeping"_s);
        const Taskmill_ProcessRecord record = Find(processID);
        const QFileInfo program{TestProgramPath()};
        QCOMPARE(record.Name, program.fileName());
        QCOMPARE(record.Caption, record.Name);
        QCOMPARE(record.Handle, record.ProcessId);
        QCOMPARE(record.ParentProcessIdNumber(), QCoreApplication::applicationPid());
        QCOMPARE(QFileInfo{record.ExecutablePath}.canonicalFilePath(), program.canonicalFilePath());
        QVERIFY2(record.CommandLine.endsWith(u"stdin \"Übung 分子\""_s), qPrintable(record.CommandLine));
        QCOMPARE(record.CSName, QSysInfo::machineHostName());
        for (const QString &number : {record.KernelModeTime, record.UserModeTime})
            QVERIFY2(QRegularExpression{u"^\\d+$"_s}.match(number).hasMatch(), qPrintable(number));
        for (const QString &number : {record.Priority, record.PrivatePageCount, record.ThreadCount,
                                      record.VirtualSize, record.WorkingSetSize}) {
            // Wine does not count everything.
            QVERIFY2(number.toLongLong() > 0 || (RunsUnderWine() && number == "0"_L1), qPrintable(number));
        }
        static const QRegularExpression form{u"^(\\d{14})\\.\\d{6}([+-]\\d{3})$"_s};
        const QRegularExpressionMatch match = form.match(record.CreationDate);
        QVERIFY2(match.hasMatch(), qPrintable(record.CreationDate));
        // Wide enough for any load; a wrong unit or origin is off by far more.
        const QDateTime now = QDateTime::currentDateTime();
        const QDateTime created = QDateTime::fromString(match.captured(1), u"yyyyMMddHHmmss"_s);
        QVERIFY(qAbs(now.secsTo(created)) < 600);
        QCOMPARE(match.captured(2).toInt(), now.offsetFromUtc() / 60);
    }

    void ListsOddNames()
    {
        if (isWindows)
            QSKIP("Programs have plain names there");
        for (const QString &name : {u"two words) Z 1 (x"_s, u"Übung"_s, u"a-rather-long-program-name"_s}) {
            QVERIFY(QFile::copy(TestProgramPath(), Path(name)));
            const int processID = Start({u"print"_s, u"x\r\ny z"_s, u"stdin"_s}, Path(name));
            QVERIFY(QFile::remove(Path(name)));
            const Taskmill_ProcessRecord record = Find(processID);
            QCOMPARE(record.Name, name);
            QCOMPARE(record.ExecutablePath, Path(name));
            QVERIFY2(record.CommandLine.endsWith(u" print \"x  y z\" stdin"_s),
                     qPrintable(record.CommandLine));
        }
    }

    void EndsOnlyTheProcessThatWasListed()
    {
        const int processID = Start({u"wait"_s});
        const int bystander = Start({u"wait"_s});
        const Taskmill_ProcessRecord record = Find(processID);
        Taskmill_ProcessRecord earlier = record;
        earlier.CreationDate.replace(0, 4, u"1999"_s);
        QVERIFY(!m_inspector->Terminate(earlier));
        QVERIFY(IsThere(processID));
        Taskmill_ProcessRecord withOtherParent = record;
        withOtherParent.ParentProcessId = QString::number(bystander);
        QVERIFY(m_inspector->TerminateParent(withOtherParent));
        // Another inspector must see the same date.
        QVERIFY(Taskmill_MakeSystemProcessInspector()->Terminate(record));
        QTRY_VERIFY(!IsThere(processID));
        QVERIFY(!m_inspector->Terminate(record));
        QVERIFY(!m_inspector->Terminate(Taskmill_ProcessRecord{}));
        QVERIFY(IsThere(bystander));
        QVERIFY(m_inspector->Terminate(u"any name"_s, bystander));
        QTRY_VERIFY(!IsThere(bystander));
    }

    void EndsTheChildrenAlone()
    {
        const int parent = Start({u"child"_s, u"pid"_s, Path(u"child.id"_s), u"child"_s, u"pid"_s,
                                  Path(u"grandchild.id"_s), u"wait"_s});
        QTRY_VERIFY(QFile::exists(Path(u"grandchild.id"_s)));
        const int child = ReadTestFile(Path(u"child.id"_s)).toInt();
        const int grandchild = ReadTestFile(Path(u"grandchild.id"_s)).toInt();
        QCOMPARE(Find(grandchild).ParentProcessIdNumber(), child);
        QVERIFY(m_inspector->TerminateTree(TestProgramPath(), parent));
        // The parent does not collect its child, which stays as a zombie and is not listed.
        QTRY_VERIFY(!IsThere(child));
        if (!isWindows)
            QVERIFY(QFile::exists(u"/proc/%1/stat"_s.arg(child)));
        QVERIFY(IsThere(parent));
        QVERIFY(IsThere(grandchild));
        QVERIFY(!m_inspector->TerminateTree(TestProgramPath(), -1));
        QVERIFY(!m_inspector->Terminate({}, -1));
    }

    void NeverSignalsSpecialIds()
    {
        if (isWindows)
            QSKIP("Orphans keep their parent's number there");
        // With id 0 the system would end the whole process group, this test included.
        QVERIFY(m_inspector->Terminate(u"any"_s, 0));
        QVERIFY(m_inspector->Terminate(u"any"_s, 1));
        // A process whose parent has ended belongs to process 1, and must not be ended as its child.
        const int parent = Start({u"child"_s, u"pid"_s, Path(u"orphan.id"_s), u"wait"_s});
        QTRY_VERIFY(QFile::exists(Path(u"orphan.id"_s)));
        QVERIFY(m_inspector->Terminate({}, parent));
        QTRY_VERIFY(!IsThere(parent));
        QVERIFY(m_inspector->TerminateTree(u"any"_s, 1));
        QVERIFY(IsThere(ReadTestFile(Path(u"orphan.id"_s)).toInt()));
    }

private:
    /// Starts the test program; the number of its process once that is listed.
    int Start(const QStringList &arguments, const QString &program = TestProgramPath())
    {
        m_processes.push_back(std::make_unique<QProcess>());
        QProcess &process = *m_processes.back();
        process.start(program, arguments);
        const auto isListed = [&] {
            return QFileInfo{Find(static_cast<int>(process.processId())).ExecutablePath} ==
                   QFileInfo{program};
        };
        if (!QTest::qWaitFor(isListed, 30'000))
            qWarning("The test program does not run");
        return static_cast<int>(process.processId());
    }
    /// An empty record when there is no such process.
    [[nodiscard]] Taskmill_ProcessRecord Find(int processID) const
    {
        const QList<Taskmill_ProcessRecord> records = m_inspector->ListProcesses();
        const auto found = std::ranges::find(records, processID, &Taskmill_ProcessRecord::ProcessIdNumber);
        return found == records.end() ? Taskmill_ProcessRecord{} : *found;
    }
    [[nodiscard]] bool IsThere(int processID) const { return !Find(processID).ProcessId.isEmpty(); }

    const std::unique_ptr<Taskmill_ProcessInspector> m_inspector = Taskmill_MakeSystemProcessInspector();
    std::vector<std::unique_ptr<QProcess>> m_processes;
};

QTEST_GUILESS_MAIN(TestProcessInspectorSystem)
#include "test_processinspector_system.moc"
