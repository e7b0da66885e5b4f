// SPDX-License-Identifier: MIT
#include "processes/processinspector_wmic.h"
#include "support/testcase.h"

using namespace Qt::Literals::StringLiterals;

namespace {
const QString listArguments =
    u"process|get|Caption,CommandLine,CreationDate,CSName,ExecutablePath,ExecutionState,Handle,"
    u"KernelModeTime,"
    "Name,ParentProcessId,Priority,PrivatePageCount,ProcessId,ThreadCount,UserModeTime,VirtualSize,"
    "WorkingSetSize|/format:list|"_s;

QByteArray Worker(const QByteArray &commandLine, const QByteArray &id)
{
    return "CommandLine=" + commandLine + "\r\nProcessId=" + id + "\r\n\r\n";
}
} // namespace

/// The records, and the inspector that runs "wmic", which is a stand-in here.
class TestProcessInspector : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void init() override
    {
        TestCase::init();
        m_path = qgetenv("PATH");
        qputenv("TASKMILL_PROCESS_TOOL", "wmic");
    }

    void ParsesOddLines()
    {
        const QList<Taskmill_ProcessRecord> records =
            Taskmill_ParseProcessListing(u"\r\r\n No key here\r\n"
                                         "  processid= 1 \r\r\nName=a Caption=x name=b\r\n"
                                         "CommandLine=\r\n"
                                         "Name=c\r\nProcessId=99999999999\r\nCommandLine=two\nlines\r\n"
                                         "ProcessId=1.0\r\nCommandLine=four\r\nCommandLine=five"_s);
        QCOMPARE(records.size(), 3);
        QCOMPARE(records[0].ProcessIdNumber(), 1);
        QCOMPARE(records[0].Name, u"a Caption=x b"_s);
        QCOMPARE(records[0].CommandLine, QString{});
        QCOMPARE(records[1].ProcessIdNumber(), -1);
        QCOMPARE(records[1].CommandLine, u"two\nlines"_s);
        QCOMPARE(records[2].ProcessIdNumber(), -1);
        QCOMPARE(records[2].ParentProcessIdNumber(), -1);
        QCOMPARE(records[2].Name, QString{});
        QByteArray line;
        Taskmill_AppendProcessLine(line, "Name", QByteArrayView{"a\r\nb\0c", 6});
        QCOMPARE(line, QByteArray{"Name=a  b c\r\n"});
    }

    void EndsThroughTheTool()
    {
        const QByteArray ownId = QByteArray::number(QCoreApplication::applicationPid());
        InstallTool("\r\r\n" + Worker("l502.exe C:\\scratch\\gau-42.INP", "77") +
                    Worker("l502.exe Gau-421.inp", "78") + Worker("l703.exe Gau-42.inp", "79") +
                    Worker("lost Gau-42.inp", "") + Worker("taskmill Gau-42.inp", ownId));
        const auto inspector = Taskmill_MakeProcessInspector();
        QVERIFY(!inspector->Terminate(u"name"_s, -1));
        QVERIFY(!inspector->TerminateTree(u"C:/g16W/G16W.EXE"_s, -1));
        QCOMPARE(ToolRuns(), QStringList{});
        QVERIFY(inspector->Terminate(u"name"_s, 42));
        const QString process = u"process|where|ProcessId=%1|call|terminate|"_s;
        QCOMPARE(ToolRuns(), QStringList{process.arg(42)});
        QVERIFY(inspector->TerminateTree(u"/opt/g16/g16x"_s, 42));
        QVERIFY(inspector->TerminateTree(u"C:/g16W/formchk.exe"_s, 42));
        const QString children = u"process|where|ParentProcessId=42|call|terminate|"_s;
        QCOMPARE(ToolRuns(), (QStringList{children, children}));
        for (const QString &driver : {u"C:/g16W/G16W.EXE"_s, u"/opt/g16/G16"_s}) {
            QVERIFY(inspector->TerminateTree(driver, 42));
            QCOMPARE(ToolRuns(), (QStringList{children, listArguments, process.arg(77), process.arg(79)}));
        }
    }

    void AsksTheSystemWhenTheToolIsUseless()
    {
        if constexpr (!isWindows)
            QSKIP("The tool is used only where it is asked for");
        qunsetenv("TASKMILL_PROCESS_TOOL");
        InstallTool("No Instance(s) Available.\r\n");
        const auto inspector = Taskmill_MakeProcessInspector();
        // Found out before anything is ended with it.
        QVERIFY(inspector->Terminate(u"name"_s, 0x7ffffffc));
        QCOMPARE(ToolRuns(), QStringList{listArguments});
        const QList<Taskmill_ProcessRecord> records = inspector->ListProcesses();
        QVERIFY(std::ranges::find(records, QCoreApplication::applicationPid(),
                                  &Taskmill_ProcessRecord::ProcessIdNumber) != records.end());
        QCOMPARE(ToolRuns(), QStringList{});

        InstallTool(Worker("listed by the tool", "5"));
        QCOMPARE(Taskmill_MakeProcessInspector()->ListProcesses().value(0).CommandLine,
                 u"listed by the tool"_s);
    }

    void AbandonsAToolThatHangs()
    {
        WriteTestFile(Path(u"hang"_s), {});
        InstallTool(Worker("early", "5"));
        Taskmill_WmicProcessInspector inspector{std::chrono::seconds{3}};
        QCOMPARE(inspector.ListProcesses().value(0).CommandLine, u"early"_s);
    }

private:
    void InstallTool(const QByteArray &listing)
    {
        WriteTestFile(Path(u"listing"_s), listing);
        qputenv("PATH", QFile::encodeName(QFileInfo{QStringLiteral(TASKMILL_STANDIN_TOOL)}.path() +
                                          QDir::listSeparator()) +
                            m_path);
        qputenv("TASKMILL_STANDIN_DIR", QFile::encodeName(Path()));
    }
    /// The arguments of every run since the last call, each followed by "|".
    [[nodiscard]] QStringList ToolRuns() const
    {
        const QString file = Path(u"runs"_s);
        const QStringList runs = QString::fromLocal8Bit(ReadTestFile(file)).split(u'\n', Qt::SkipEmptyParts);
        WriteTestFile(file, {});
        return runs;
    }

    QByteArray m_path;
};

QTEST_GUILESS_MAIN(TestProcessInspector)
#include "test_processinspector.moc"
