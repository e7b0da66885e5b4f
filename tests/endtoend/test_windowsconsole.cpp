// SPDX-License-Identifier: MIT
#include "endtoend/processtable.h"
#include "endtoend/projectfixture.h"
#include "endtoend/windowsconsole.h"

#include <QTcpSocket>

using namespace Qt::Literals::StringLiterals;

namespace {
const QString prompt = u"<Taskmill>"_s;
}

/// The manager at a console: its parent's, or one of its own.
class TestWindowsConsole : public ManagerTest
{
    Q_OBJECT

private Q_SLOTS:
    void init() override
    {
        ManagerTest::init();
        QVERIFY(Project().AddTestType(u"Wait"_s, u"pid @INFILE.pid wait"_s));
    }

    void cleanup() override
    {
        if (m_process && !HasEnded()) {
            m_process->kill();
            m_process->waitForFinished();
        }
        m_process.reset();
        m_console.reset();
        ManagerTest::cleanup();
    }

    void ShowsAndReadsAnyName()
    {
        m_console = std::make_unique<WindowsConsole>();
        if (!m_console->IsOpen())
            QSKIP("No console can be opened here");
        // In no one code page.
        const QString name = u"Übung Ωμέγα жук"_s;
        QVERIFY(QDir{Project().Path({})}.mkdir(name));
        Start({u"-console"_s, Project().ProjectPath()});
        QVERIFY(m_console->Expect(prompt));
        m_console->Type(u"cd "_s + Project().Path(name));
        QVERIFY(m_console->Expect(u"Current Directory:  "_s));
        QVERIFY(m_console->Expect(u'\\' + name + u'\n'));
        m_console->Type(u"quit"_s);
        QVERIFY(m_console->Expect(u"completely exit Taskmill?"_s));
        m_console->Type(u"yes"_s);
        QTRY_VERIFY_WITH_TIMEOUT(HasEnded(), 60'000);
        QCOMPARE(m_process->exitCode(), 0);
    }

    void QuitsFromTheEventLoop_data()
    {
        using Event = WindowsConsole::Event;
        QTest::addColumn<Event>("event");
        QTest::newRow("Ctrl+C") << Event::ControlC;
        QTest::newRow("Ctrl+Break") << Event::Break;
        QTest::newRow("window closed") << Event::Close;
    }

    void QuitsFromTheEventLoop()
    {
        QFETCH(const WindowsConsole::Event, event);
        m_console = std::make_unique<WindowsConsole>();
        if (!m_console->IsOpen())
            QSKIP("No console can be opened here");
        Start({u"-console"_s, Project().ProjectPath()});
        QVERIFY(m_console->Expect(prompt));
        const QString input = Project().InputFile(u"runs"_s);
        const CtlResult submitted =
            RunCtl({u"submit"_s, input, u"--type"_s, u"Wait"_s, u"--queue"_s, u"queueless"_s},
                   {.consolePort = m_port});
        QCOMPARE(submitted.status, 0);
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(input + u".pid"_s), 60'000);
        const int jobProcess = ReadTestFile(input + u".pid"_s).toInt();

        QVERIFY(WindowsConsole::Make(event, m_process->processId()));
        QTRY_VERIFY_WITH_TIMEOUT(HasEnded(), 60'000);
        QCOMPARE(m_process->exitStatus(), QProcess::NormalExit);
        QCOMPARE(m_process->exitCode(), 0);
        QTRY_VERIFY(!ProcessTable::IsAlive(jobProcess));
        // It is to run again when the project is opened the next time.
        QCOMPARE(Project().Rows().queuelessJobs.size(), 1);
    }

    void OpensAConsoleOfItsOwn()
    {
        Start({u"-newconsole"_s, Project().ProjectPath()});
        const auto answers = [this] {
            QTcpSocket probe;
            probe.connectToHost(QHostAddress::LocalHost, m_port);
            return probe.waitForConnected(1000);
        };
        QVERIFY(QTest::qWaitFor(answers, 60'000));
        m_console = std::make_unique<WindowsConsole>(static_cast<int>(m_process->processId()));
        if (!m_console->IsOpen())
            QSKIP("No console can be opened here");
        QVERIFY(m_console->Expect(u"TaskmillConsole 1.1"_s));
        QVERIFY(m_console->Expect(prompt));
        QTRY_VERIFY(WindowsConsole::IsMinimised());
        m_console->Type(u"pwd"_s);
        QVERIFY(m_console->Expect(u"Current Directory:  "_s));

        QVERIFY(WindowsConsole::Make(WindowsConsole::Event::Close, m_process->processId()));
        QTRY_VERIFY_WITH_TIMEOUT(HasEnded(), 60'000);
        QCOMPARE(m_process->exitStatus(), QProcess::NormalExit);
        QCOMPARE(m_process->exitCode(), 0);
    }

private:
    /// Starts a manager that has the streams of this program's console, if it has one.
    void Start(const QStringList &arguments)
    {
        const auto [consolePort, guiPort] = ManagerProcess::FreePorts();
        m_port = consolePort;
        qputenv("TASKMILL_CONSOLE_PORT", QByteArray::number(consolePort));
        qputenv("TASKMILL_GUI_PORT", QByteArray::number(guiPort));
        // Nothing is to run on.
        qputenv("TASKMILL_END_JOBS", "1");
        KeepStateIn(Project().Path({}));
        m_process = std::make_unique<QProcess>();
        m_process->setWorkingDirectory(Project().Path({}));
        m_process->setProcessChannelMode(QProcess::ForwardedChannels);
        m_process->setInputChannelMode(QProcess::ForwardedInputChannel);
        if (!m_console)
            WindowsConsole::KeepFrom(*m_process);
        m_process->start(QStringLiteral(TASKMILL_MANAGER), arguments);
    }

    [[nodiscard]] bool HasEnded() const { return m_process->state() == QProcess::NotRunning; }

    std::unique_ptr<WindowsConsole> m_console;
    std::unique_ptr<QProcess> m_process;
    quint16 m_port = 0;
};

QTEST_GUILESS_MAIN(TestWindowsConsole)
#include "test_windowsconsole.moc"
