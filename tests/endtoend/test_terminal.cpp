#include "endtoend/processtable.h"
#include "endtoend/projectfixture.h"
#include "endtoend/pseudoterminal.h"

#include <QDir>
#include <QtTest>

#include <csignal>

using namespace Qt::Literals::StringLiterals;

namespace {
const QByteArray prompt = "<Taskmill> ";
} // namespace

/// Sessions at a terminal, where lines are edited.
class TestTerminal : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void ArrowsBringBackCommands();
    void TabCompletes();
    void InterruptKeyClearsTheLine();
    void EndOfInputKeyEndsNothing();
    void MessagesLeaveTheLineAlone();
    void EditsNonAsciiLines();
    void CutsALongLine();
    void LeavesTheTerminalAsItWas_data();
    void LeavesTheTerminalAsItWas();
    void SavesWhenTheTerminalGoes();

private:
    [[nodiscard]] ManagerProcess &Manager() { return m_project->Manager(); }
    /// Types the keys and waits for the text, and for the next prompt behind it.
    [[nodiscard]] bool Keys(const QByteArray &keys, const QByteArray &text)
    {
        Manager().Type(keys);
        return Manager().Expect(text) && Manager().Expect(prompt);
    }
    [[nodiscard]] QByteArray Directory() const
    {
        return QDir{m_project->Path(u"."_s)}.canonicalPath().toUtf8();
    }

    std::unique_ptr<ProjectFixture> m_project;
};

void TestTerminal::init()
{
    FailOnQtWarnings();
    m_project = std::make_unique<ProjectFixture>();
    QVERIFY(m_project->AddTestType(u"Wait"_s, u"touch @INFILE.started wait"_s, u"Files (*.in)"_s));
    QVERIFY(m_project->Start(ManagerProcess::Input::Terminal));
}

void TestTerminal::cleanup()
{
    m_project.reset();
}

void TestTerminal::ArrowsBringBackCommands()
{
    QVERIFY(Keys("pwd\n", "\r\nCurrent Directory:  "));
    QVERIFY(Keys("list long jobs\n", "Long Jobs Queue is Empty"));
    QVERIFY(Keys("\033[A\n", "Long Jobs Queue is Empty"));
    QVERIFY(Keys("\033[A\033[A\n", "\r\nCurrent Directory:  "));
    // Answers to questions are not commands.
    QVERIFY(Keys("quit\nno\n", "completely exit"));
    QVERIFY(Keys("\033[A\033[A\n", "\r\nCurrent Directory:  "));
}

void TestTerminal::TabCompletes()
{
    QVERIFY(QDir{m_project->Path(u"."_s)}.mkdir(u"größe 1"_s));
    (void)m_project->InputFile(u"water.in"_s);
    QVERIFY(Keys("list lo\t\n", "Long Jobs Queue is Empty"));
    QVERIFY(Keys("cd gr\t\n", "Current Directory:  " + Directory() + "/größe 1\r\n"));
    QVERIFY(Keys("cd ..\n", "Current Directory:  " + Directory() + "\r\n"));
    // Where several words fit they are shown, and the line stays.
    Manager().Type("list \t");
    QVERIFY(Manager().Expect("list finished jobs"));
    QVERIFY(Manager().Expect(prompt));
    QVERIFY(Keys("sh\t\n", "Short Jobs Queue is Empty"));

    Manager().Type("add lo\t\n");
    QVERIFY(Manager().Expect("Enter Job Type:  "));
    Manager().Type("W\t\n");
    QVERIFY(Manager().Expect("Enter Input File:  "));
    QVERIFY(Keys("wat\t\n", "Job 1 was added to the Long Jobs Queue"));
}

void TestTerminal::InterruptKeyClearsTheLine()
{
    const QString input = m_project->InputFile(u"runs.in"_s);
    QCOMPARE(Manager().Submit(u"Wait"_s, input, u"none"_s), "accepted=1\n");
    QTRY_VERIFY(QFile::exists(input + u".started"_s));
    Manager().Type("list long j\x03");
    QVERIFY(Manager().Expect("^C"));
    QVERIFY(Keys("pwd\n", "Current Directory:  " + Directory() + "\r\n"));
    Manager().Type("\x03");
    QVERIFY(Manager().Expect("type quit to end Taskmill"));
    QVERIFY(Keys("list queueless jobs\n", "Running"));
}

void TestTerminal::EndOfInputKeyEndsNothing()
{
    QVERIFY(Keys("\x04\x04pwd\n", "Current Directory:  " + Directory() + "\r\n"));
    QVERIFY(Keys("pw\x04"
                 "d\n",
                 "Current Directory:  "));
}

void TestTerminal::MessagesLeaveTheLineAlone()
{
    Manager().Type("list lo");
    QVERIFY(Manager().Expect("list lo"));
    QVERIFY(Manager().Submit(u"Auto"_s, m_project->InputFile(u"x.unknown"_s)).startsWith("refused="));
    QVERIFY(Manager().Expect("Select Job Type: Auto determination"));
    QVERIFY(Manager().Expect("select None to skip this input file.\r\n"));
    // The line is shown again below the message.
    QVERIFY(Manager().Expect(prompt + "list lo"));
    QVERIFY(Keys("ng jobs\n", "Long Jobs Queue is Empty"));
}

void TestTerminal::EditsNonAsciiLines()
{
    QVERIFY(QDir{m_project->Path(u"."_s)}.mkdir(u"Übung 分子"_s));
    QVERIFY(Keys("cd Übung 分ö\x7f子\n", "Current Directory:  " + Directory() + "/Übung 分子\r\n"));
    QVERIFY(Keys("cd ..\n", "Current Directory:  " + Directory() + "\r\n"));
}

void TestTerminal::CutsALongLine()
{
    Manager().Type("pwd" + QByteArray(1036, ' '));
    for (int part = 0; part < 10; ++part) {
        Manager().Type(QByteArray(400, static_cast<char>('a' + part)));
        QVERIFY(Manager().Expect(QByteArray(100, static_cast<char>('a' + part))));
    }
    QVERIFY(Keys("\n", "Current Directory:  " + Directory() + "\r\n"));
    QVERIFY(Keys("list long jobs\n", "Long Jobs Queue is Empty"));
}

void TestTerminal::LeavesTheTerminalAsItWas_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("quit") << 0;
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
}

void TestTerminal::LeavesTheTerminalAsItWas()
{
    QFETCH(int, signal);
    QVERIFY(!Manager().Terminal().IsInItsNormalMode());
    if (signal == 0) {
        QCOMPARE(Manager().Quit({"yes"}), ManagerEnd{.status = 0});
    } else {
        Manager().Type("half a li");
        QVERIFY(Manager().Expect("half a li"));
        Manager().Signal(signal);
        QCOMPARE(Manager().End(), ManagerEnd{.status = 0});
    }
    QVERIFY(Manager().Terminal().IsInItsNormalMode());
    QCOMPARE(Manager().Errors(), "");
}

void TestTerminal::SavesWhenTheTerminalGoes()
{
    const QString input = m_project->InputFile(u"runs.in"_s);
    QCOMPARE(Manager().Submit(u"Wait"_s, input, u"none"_s), "accepted=1\n");
    QTRY_VERIFY(QFile::exists(input + u".started"_s));
    Manager().Terminal().HangUp();
    QCOMPARE(Manager().End(), ManagerEnd{.status = 0});
    QTRY_VERIFY(ProcessTable::LivingChildren().isEmpty());
    QCOMPARE(m_project->Rows().queuelessJobs.size(), 1);
}

QTEST_GUILESS_MAIN(TestTerminal)
#include "test_terminal.moc"
