// SPDX-License-Identifier: MIT
#include "endtoend/managerprocess.h"

#include "requests/requestmessage.h"
#include "support/testutil.h"

#include <QDir>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

namespace {
/// The server of Wine waits for the disk in place of everybody, and a project may be large.
constexpr int longestWaitMs = isWindows ? 180'000 : 60'000;
constexpr QByteArrayView prompt = "<Taskmill> ";

QProcessEnvironment Environment(const QString &directory, quint16 consolePort, quint16 guiPort)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    // Windows always has a display.
    for (const QString &variable : {u"DISPLAY"_s, u"WAYLAND_DISPLAY"_s,
                                    isWindows ? u"QT_FORCE_STDERR_LOGGING"_s : u"QT_QPA_PLATFORM"_s})
        environment.remove(variable);
    for (const QString &variable :
         {u"HOME"_s, u"USERPROFILE"_s, u"LOCALAPPDATA"_s, u"XDG_CONFIG_HOME"_s, u"XDG_RUNTIME_DIR"_s})
        environment.insert(variable, directory);
    environment.remove(u"XDG_STATE_HOME"_s);
    environment.insert(u"LC_ALL"_s, u"C.UTF-8"_s);
    environment.insert(u"TERM"_s, u"xterm"_s);
    // Unless a test wants it, nothing is to run on.
    if (!environment.contains(u"TASKMILL_END_JOBS"_s))
        environment.insert(u"TASKMILL_END_JOBS"_s, u"1"_s);
    environment.insert(u"TASKMILL_CONSOLE_PORT"_s, QString::number(consolePort));
    environment.insert(u"TASKMILL_GUI_PORT"_s, QString::number(guiPort));
    return environment;
}
} // namespace

ManagerProcess::ManagerProcess(QString directory, Input input)
    : m_directory{std::move(directory)}
    , m_input{input}
{
}

ManagerProcess::~ManagerProcess()
{
    if (m_process && !HasEnded()) {
        // Ended by force it leaves its jobs running, and on Windows it can be asked in no other way.
        if constexpr (isWindows)
            (void)Ctl({u"quit"_s, u"--force"_s});
        else
            m_process->terminate();
        if (!m_process->waitForFinished())
            m_process->kill();
        m_process->waitForFinished();
    }
}

std::pair<quint16, quint16> ManagerProcess::FreePorts()
{
    QTcpServer console;
    QTcpServer gui;
    if (!console.listen(QHostAddress::LocalHost) || !gui.listen(QHostAddress::LocalHost))
        qFatal("no port is free");
    return {console.serverPort(), gui.serverPort()};
}

bool ManagerProcess::Start(const QStringList &arguments, const QStringList &desktop)
{
    m_desktop = desktop;
    const auto isReady = [this] {
        return m_desktop.isEmpty() ? m_output.endsWith(prompt) : Answers();
    };
    // Another process may take the ports before the manager does.
    for (int attempt = 0; attempt < 5; ++attempt) {
        const auto [consolePort, guiPort] = FreePorts();
        Launch(arguments, consolePort, guiPort);
        if (WaitFor([&] { return isReady() || HasEnded(); }) && !HasEnded() &&
            !Errors().contains("Cannot listen")) {
            m_greeting = std::exchange(m_output, {});
            return Answers();
        }
        qWarning("The manager did not start: %s%s", m_output.constData(), Errors().constData());
        m_process->kill();
        m_process->waitForFinished();
    }
    return false;
}

bool ManagerProcess::Answers() const
{
    QTcpSocket probe;
    probe.connectToHost(QHostAddress::LocalHost, Port());
    return probe.waitForConnected();
}

void ManagerProcess::Launch(const QStringList &arguments, quint16 consolePort, quint16 guiPort)
{
    m_consolePort = consolePort;
    m_guiPort = guiPort;
    m_output.clear();
    m_process = std::make_unique<QProcess>();
    m_process->setWorkingDirectory(m_directory);
    QProcessEnvironment environment = Environment(m_directory, consolePort, guiPort);
    for (const QString &variable : m_desktop)
        environment.insert(variable.section(u'=', 0, 0), variable.section(u'=', 1));
    m_process->setProcessEnvironment(environment);
    m_process->setStandardErrorFile(m_directory + u"/stderr"_s);
    PrepareInput();
    m_taken = 0;
    if (isWindows)
        m_process->setStandardOutputFile(OutputFile());
    QObject::connect(m_process.get(), &QProcess::readyReadStandardOutput, m_process.get(),
                     [this] { m_output = WithPlainLineEnds(m_output + m_process->readAllStandardOutput()); });
    m_process->start(QStringLiteral(TASKMILL_MANAGER), arguments);
}

void ManagerProcess::TakeOutput()
{
    QFile file{OutputFile()};
    if (!isWindows || !file.open(QIODevice::ReadOnly) || !file.seek(m_taken))
        return;
    const QByteArray bytes = file.readAll();
    m_taken += bytes.size();
    m_output = WithPlainLineEnds(m_output + bytes);
}

bool ManagerProcess::WaitFor(const std::function<bool()> &isThere)
{
    return QTest::qWaitFor(
        [&] {
            TakeOutput();
            return isThere();
        },
        longestWaitMs);
}

bool ManagerProcess::Expect(const QByteArray &text)
{
    if (!WaitFor([&] { return m_output.contains(text); })) {
        qWarning("Not \"%s\" but \"%s\"", text.constData(), m_output.constData());
        return false;
    }
    m_output.remove(0, m_output.indexOf(text) + text.size());
    return true;
}

QByteArray ManagerProcess::Command(const QByteArray &line)
{
    // The last prompt and what was printed behind it.
    TakeOutput();
    m_output.clear();
    Type(line + '\n');
    if (!WaitFor([&] { return m_output.endsWith(prompt); }))
        qWarning("No prompt but \"%s\"", m_output.constData());
    QByteArray written = std::exchange(m_output, {});
    written.chop(prompt.size());
    return written;
}

bool ManagerProcess::Ask(const QByteArray &line, const QByteArray &text)
{
    TakeOutput();
    m_output.clear();
    Type(line + '\n');
    return Expect(text);
}

ManagerEnd ManagerProcess::End()
{
    if (!QTest::qWaitFor([this] { return HasEnded(); }, longestWaitMs))
        return {};
    // For a crash the exit code is the signal.
    return m_process->exitStatus() == QProcess::NormalExit ? ManagerEnd{.status = m_process->exitCode()}
                                                           : ManagerEnd{.signal = m_process->exitCode()};
}

ManagerEnd ManagerProcess::Quit(const QByteArrayList &answers)
{
    Type("quit\n");
    for (const QByteArray &answer : answers) {
        if (!Expect("?  "))
            return {};
        Type(answer + '\n');
    }
    return End();
}

QByteArray ManagerProcess::Errors() const
{
    return WithPlainLineEnds(ReadTestFile(m_directory + u"/stderr"_s));
}

QProcessEnvironment ManagerProcess::ClientEnvironment() const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"TASKMILL_CONSOLE_PORT"_s, QString::number(m_consolePort));
    environment.insert(u"TASKMILL_GUI_PORT"_s, QString::number(m_guiPort));
    environment.insert(u"XDG_RUNTIME_DIR"_s, m_directory);
    environment.insert(u"LOCALAPPDATA"_s, m_directory);
    return environment;
}

CtlResult ManagerProcess::Ctl(const QStringList &arguments) const
{
    // The manager's key is there.
    return RunCtl(arguments,
                  {.consolePort = m_consolePort,
                   .guiPort = m_guiPort,
                   .directory = m_directory,
                   .variables = {u"XDG_RUNTIME_DIR="_s + m_directory, u"LOCALAPPDATA="_s + m_directory}});
}

QByteArray ManagerProcess::Submit(const QString &jobType, const QString &inputFile, const QString &queue,
                                  quint16 notificationPort) const
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, Port());
    socket.write("clientname=test\nclientappname=" + inputFile.toUtf8() +
                 "\nclientaddress=127.0.0.1\nclientport=" + QByteArray::number(notificationPort) +
                 "\nclientnotification=" + (notificationPort == 0 ? "0" : "1") +
                 "\naction=submitjob\njobtypename=" + jobType.toUtf8() + "\njobqueue=" + queue.toUtf8() +
                 "\njobinputfile=" + inputFile.toUtf8() + '\n' + Taskmill_ReplyRequestLine.toByteArray());
    if (!socket.waitForDisconnected(longestWaitMs))
        qWarning("The manager does not answer");
    return socket.readAll();
}
