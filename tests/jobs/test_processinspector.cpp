#include "jobs/processinspector_wmic.h"
#include "support/testutil.h"

#include <QDir>
#include <QFileInfo>
#include <QtTest>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

/// The records, and the inspector that runs "wmic", which is a stand-in here.
class TestProcessInspector : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void ParsesByPosition();
    void ParsesOddLines();
    void ReadsNumbers_data();
    void ReadsNumbers();
    void TellsGaussianPrograms_data();
    void TellsGaussianPrograms();
    void ListsThroughTheTool();
    void EndsThroughTheTool_data();
    void EndsThroughTheTool();
    void AsksTheSystemWhenTheToolIsUseless();
    void DoesWithoutTheTool();
    void AbandonsAToolThatHangs();

private:
    void InstallTool(const QByteArray &listing);
    void UsePath(const QString &path);
    [[nodiscard]] QStringList ToolRuns() const;

    std::unique_ptr<QTemporaryDir> m_directory;
    QByteArray m_path;
};

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

void TestProcessInspector::init()
{
    FailOnQtWarnings();
    m_directory = std::make_unique<QTemporaryDir>();
    m_path = qgetenv("PATH");
    qputenv("TASKMILL_PROCESS_TOOL", "wmic");
}

void TestProcessInspector::cleanup()
{
    qputenv("PATH", m_path);
    qunsetenv("TASKMILL_PROCESS_TOOL");
    m_directory.reset();
}

void TestProcessInspector::InstallTool(const QByteArray &listing)
{
    WriteTestFile(m_directory->filePath(u"listing"_s), listing);
    UsePath(QFileInfo{QStringLiteral(TASKMILL_STANDIN_TOOL)}.path() + QDir::listSeparator() +
            QFile::decodeName(m_path));
}

void TestProcessInspector::UsePath(const QString &path)
{
    qputenv("PATH", QFile::encodeName(path));
    qputenv("TASKMILL_STANDIN_DIR", QFile::encodeName(m_directory->path()));
}

/// The arguments of every run, each followed by "|".
QStringList TestProcessInspector::ToolRuns() const
{
    const QByteArray runs = ReadTestFile(m_directory->filePath(u"runs"_s));
    return QString::fromLocal8Bit(runs).split(u'\n', Qt::SkipEmptyParts);
}

void TestProcessInspector::ParsesByPosition()
{
    const QStringList keys = listArguments.section(u'|', 2, 2).split(u',');
    QString listing;
    for (const QString &number : {u"1"_s, u"2"_s}) {
        for (const QString &key : keys)
            listing += key + u'=' + (key.endsWith(u"Id"_s) ? number : key.toLower() + number) + u"\r\n"_s;
    }
    const QList<Taskmill_ProcessRecord> records = Taskmill_ParseProcessListing(listing);

    QCOMPARE(records.size(), 2);
    const Taskmill_ProcessRecord expected{u"caption2"_s,
                                          u"commandline2"_s,
                                          u"creationdate2"_s,
                                          u"csname2"_s,
                                          u"executablepath2"_s,
                                          u"executionstate2"_s,
                                          u"handle2"_s,
                                          u"kernelmodetime2"_s,
                                          u"name2"_s,
                                          u"2"_s,
                                          u"priority2"_s,
                                          u"privatepagecount2"_s,
                                          u"2"_s,
                                          u"threadcount2"_s,
                                          u"usermodetime2"_s,
                                          u"virtualsize2"_s,
                                          u"workingsetsize2"_s,
                                          {}};
    QVERIFY(records[1] == expected);
    QVERIFY(records[0] != expected);
    QCOMPARE(records[0].ProcessIdNumber(), 1);
}

void TestProcessInspector::ParsesOddLines()
{
    const QList<Taskmill_ProcessRecord> records =
        Taskmill_ParseProcessListing(u"\r\r\n No key here\r\n"
                                     "  processid= 1 \r\r\nName=a Caption=x name=b\r\n"
                                     "CommandLine=\r\n"
                                     "Name=c\r\nProcessId=2\r\nCommandLine=two\nlines\r\n"
                                     "ProcessId=3\r\nCommandLine=four\r\nCommandLine=five"_s);
    QCOMPARE(records.size(), 3);
    QCOMPARE(records[0].ProcessId, u"1"_s);
    QCOMPARE(records[0].Name, u"a Caption=x b"_s);
    QCOMPARE(records[0].CommandLine, QString{});
    QCOMPARE(records[1].Name, u"c"_s);
    QCOMPARE(records[1].CommandLine, u"two\nlines"_s);
    QCOMPARE(records[2].Name, QString{});
    QCOMPARE(records[2].CommandLine, u"four"_s);
    QVERIFY(Taskmill_ParseProcessListing({}).isEmpty());

    QByteArray line;
    Taskmill_AppendProcessLine(line, "Name", QByteArrayView{"a\r\nb\0c", 6});
    QCOMPARE(line, QByteArray{"Name=a  b c\r\n"});
}

void TestProcessInspector::ReadsNumbers_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("number");

    QTest::newRow("number") << u"4711"_s << 4711;
    QTest::newRow("empty") << QString{} << -1;
    QTest::newRow("word") << u"12a"_s << -1;
    QTest::newRow("fraction") << u"1.0"_s << -1;
    QTest::newRow("beyond an int") << u"99999999999"_s << -1;
}

void TestProcessInspector::ReadsNumbers()
{
    QFETCH(QString, text);
    Taskmill_ProcessRecord record;
    record.ProcessId = text;
    QTEST(record.ProcessIdNumber(), "number");
    QCOMPARE(record.ParentProcessIdNumber(), -1);
    record.ParentProcessId = text;
    QTEST(record.ParentProcessIdNumber(), "number");
}

void TestProcessInspector::TellsGaussianPrograms_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<bool>("isGaussian");

    QTest::newRow("Windows driver") << u"C:/g16W/G16W.EXE"_s << true;
    QTest::newRow("name anywhere in the text") << u"x-gdv.exe -y"_s << true;
    QTest::newRow("driver without suffix") << u"/opt/g16/G16"_s << true;
    QTest::newRow("utility in the same directory") << u"/opt/g16/formchk"_s << false;
    QTest::newRow("longer name") << u"/opt/g16/g16x"_s << false;
    QTest::newRow("nothing") << QString{} << false;
}

void TestProcessInspector::TellsGaussianPrograms()
{
    QFETCH(QString, program);
    QTEST(Taskmill_IsGaussianProgram(program), "isGaussian");
}

void TestProcessInspector::ListsThroughTheTool()
{
    InstallTool("\r\r\n" + Worker("prog CommandLine=x commandline=", "12") + Worker("", "x"));
    const QList<Taskmill_ProcessRecord> records = Taskmill_MakeProcessInspector()->ListProcesses();

    QCOMPARE(ToolRuns(), QStringList{listArguments});
    QCOMPARE(records.size(), 2);
    QCOMPARE(records[0].CommandLine, u"prog x"_s);
    QCOMPARE(records[0].ProcessIdNumber(), 12);
    QCOMPARE(records[1].ProcessIdNumber(), -1);
}

void TestProcessInspector::EndsThroughTheTool_data()
{
    QTest::addColumn<QString>("treeOf"); // the process alone is ended when empty
    QTest::addColumn<int>("id");
    QTest::addColumn<QStringList>("runs");

    const QString children = u"process|where|ParentProcessId=42|call|terminate|"_s;
    QTest::newRow("process") << QString{} << 42
                             << QStringList{u"process|where|ProcessId=42|call|terminate|"_s};
    QTest::newRow("no process") << QString{} << -1 << QStringList{};
    QTest::newRow("tree") << u"C:/g16W/formchk.exe"_s << 42 << QStringList{children};
    QTest::newRow("tree of a Gaussian run")
        << u"C:/g16W/G16W.EXE"_s << 42
        << QStringList{children, listArguments, u"process|where|ProcessId=77|call|terminate|"_s,
                       u"process|where|ProcessId=79|call|terminate|"_s};
    QTest::newRow("tree of no process") << u"C:/g16W/G16W.EXE"_s << -1 << QStringList{};
}

void TestProcessInspector::EndsThroughTheTool()
{
    QFETCH(QString, treeOf);
    QFETCH(int, id);
    const QByteArray ownId = QByteArray::number(QCoreApplication::applicationPid());
    InstallTool(Worker("l502.exe C:\\scratch\\gau-42.INP", "77") + Worker("l502.exe Gau-421.inp", "78") +
                Worker("l703.exe Gau-42.inp", "79") + Worker("lost Gau-42.inp", "") +
                Worker("taskmill Gau-42.inp", ownId));
    const auto inspector = Taskmill_MakeProcessInspector();

    const bool done =
        treeOf.isEmpty() ? inspector->Terminate(u"name"_s, id) : inspector->TerminateTree(treeOf, id);
    QCOMPARE(done, id >= 0);
    QTEST(ToolRuns(), "runs");
}

void TestProcessInspector::AsksTheSystemWhenTheToolIsUseless()
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
    QCOMPARE(ToolRuns().size(), 1);

    InstallTool(Worker("listed by the tool", "5"));
    QCOMPARE(Taskmill_MakeProcessInspector()->ListProcesses().value(0).CommandLine, u"listed by the tool"_s);
}

void TestProcessInspector::DoesWithoutTheTool()
{
    UsePath(m_directory->path());
    const auto inspector = Taskmill_MakeProcessInspector();
    QVERIFY(inspector->ListProcesses().isEmpty());
    QVERIFY(inspector->Terminate(u"name"_s, 42));
    QVERIFY(inspector->TerminateTree(u"g16.exe"_s, 42));
}

void TestProcessInspector::AbandonsAToolThatHangs()
{
    WriteTestFile(m_directory->filePath(u"hang"_s), {});
    InstallTool(Worker("early", "5"));
    Taskmill_WmicProcessInspector inspector{std::chrono::seconds{3}};
    const QList<Taskmill_ProcessRecord> records = inspector.ListProcesses();
    QCOMPARE(records.size(), 1);
    QCOMPARE(records[0].CommandLine, u"early"_s);
}

QTEST_GUILESS_MAIN(TestProcessInspector)
#include "test_processinspector.moc"
