// SPDX-License-Identifier: MIT
#include "processes/processinspector.h"
#include "support/testutil.h"

#include <QtTest>

#include <algorithm>
#include <csignal>
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
} // namespace

/// The inspector that reads /proc.
class TestProcessInspectorProc : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        FailOnQtWarnings();
        m_directory = std::make_unique<QTemporaryDir>();
        m_inspector = Taskmill_MakeProcessInspector();
    }

    void TellsWhenAProcessBegan()
    {
        const auto record = Find(getpid());
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
        for (const QString &name : {u"two words) Z 1 (x"_s, u"Übung"_s, u"a-rather-long-program-name"_s}) {
            const QString program = Path(name);
            QVERIFY(QFile::copy(TestProgramPath(), program));
            const Child child{program, {u"print"_s, u"x\r\ny z"_s, u"stdin"_s}};
            QTRY_COMPARE(Find(child.Id()).ExecutablePath, program);
            QTRY_COMPARE(Find(child.Id()).ExecutionState, u"sleeping"_s);
            QVERIFY(QFile::remove(program));
            const auto record = Find(child.Id());
            QCOMPARE(record.Name, name);
            QCOMPARE(record.ExecutablePath, program);
            QCOMPARE(record.ParentProcessIdNumber(), getpid());
            QVERIFY2(record.CommandLine.endsWith(u" print \"x  y z\" stdin"_s),
                     qPrintable(record.CommandLine));
        }
    }

    void EndsOnlyTheProcessThatWasListed()
    {
        Child child{TestProgramPath(), {u"wait"_s}};
        Child bystander{TestProgramPath(), {u"wait"_s}};
        QTRY_VERIFY(child.IsRunning());
        QTRY_VERIFY(bystander.IsRunning());
        const auto record = Find(child.Id());
        auto earlier = record;
        earlier.CreationDate.replace(0, 4, u"1999"_s);
        QVERIFY(!m_inspector->Terminate(earlier));
        QVERIFY(IsThere(child.Id()));
        auto withOtherParent = record;
        withOtherParent.ParentProcessId = QString::number(bystander.Id());
        QVERIFY(m_inspector->TerminateParent(withOtherParent));
        // Another inspector must see the same date.
        QVERIFY(Taskmill_MakeProcessInspector()->Terminate(record));
        QVERIFY(child.WasKilled());
        QVERIFY(!m_inspector->Terminate(record));
        QVERIFY(!m_inspector->Terminate(Taskmill_ProcessRecord{}));
        QVERIFY(IsThere(bystander.Id()));
        QVERIFY(m_inspector->Terminate(u"any name"_s, bystander.Id()));
        QVERIFY(bystander.WasKilled());
    }

    void EndsChildrenAndLeavesOutZombies()
    {
        const Child parent{
            TestProgramPath(),
            {u"child"_s, u"pid"_s, Path(u"child"_s), u"child"_s, u"pid"_s, Path(u"grandchild"_s), u"wait"_s}};
        QTRY_VERIFY(QFile::exists(Path(u"grandchild"_s)));
        const Stray child{ReadTestFile(Path(u"child"_s)).toInt()};
        const Stray grandchild{ReadTestFile(Path(u"grandchild"_s)).toInt()};
        QVERIFY(m_inspector->TerminateTree(u"formchk"_s, parent.Id()));
        // The parent does not collect its child, which therefore stays as a zombie.
        QTRY_VERIFY(!IsThere(child.id));
        QVERIFY(QFile::exists(u"/proc/%1/stat"_s.arg(child.id)));
        QVERIFY(IsThere(grandchild.id));
        QVERIFY(IsThere(parent.Id()));
    }

    void NeverSignalsSpecialIds()
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
            orphan.id = ReadTestFile(Path(u"orphan"_s)).toInt();
        }
        QVERIFY(m_inspector->TerminateTree(u"any"_s, 1));
        QVERIFY(IsThere(orphan.id));
    }

private:
    /// An empty record when there is no such process.
    [[nodiscard]] Taskmill_ProcessRecord Find(int processID) const
    {
        const QList<Taskmill_ProcessRecord> records = m_inspector->ListProcesses();
        const auto found = std::ranges::find(records, processID, &Taskmill_ProcessRecord::ProcessIdNumber);
        return found == records.end() ? Taskmill_ProcessRecord{} : *found;
    }
    [[nodiscard]] bool IsThere(int processID) const { return !Find(processID).ProcessId.isEmpty(); }
    [[nodiscard]] QString Path(const QString &name) const { return m_directory->filePath(name); }

    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<Taskmill_ProcessInspector> m_inspector;
};

QTEST_GUILESS_MAIN(TestProcessInspectorProc)
#include "test_processinspector_proc.moc"
