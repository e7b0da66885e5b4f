// Measures a manager in console mode from outside: how soon it listens, how much memory it takes, how fast it
// takes submissions, and how fast it turns jobs round against a bare spawn-and-wait loop in the same run.

#include "service/requestmessage.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QHostAddress>
#include <QProcess>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>

#include <cstdio>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "db/database.h"
#include "db/databasejobstore.h"
#include "db/databasemanager.h"
#include "jobs/jobtypelist.h"
#include "service/projectdatabase.h"

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int jobCount = 1000;
constexpr int submissionCount = 10000;

quint16 FreePort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

/// A project whose only job type runs /bin/true.
void MakeProject(const QString &path)
{
    auto *database =
        Taskmill_Database_Manager::Global().Database(KilnUtil_Database_Foundation::SQLiteMemory, {}, true);
    Taskmill_DatabaseJobStore store;
    Taskmill_JobTypeList jobTypes{store};
    if (!Taskmill_FillNewProject(*database, jobTypes))
        qFatal("no project");
    Taskmill_JobType type;
    type.Name = u"True"_s;
    type.ApplicationName = u"true"_s;
    type.ExecutablePath = u"/bin/true"_s;
    type.DefaultQueue = u"Long"_s;
    type.GenericCommandLine = u"@EXEFILE"_s;
    jobTypes.Add(type);
    if (!database->SaveToFile(path))
        qFatal("project not saved");
    Taskmill_Database_Manager::Global().CloseAll();
}

QByteArray Request(quint16 notificationPort)
{
    QByteArray text = "clientname=bench\nclientappname=bench\naction=submitjob\njobtypename=True\n";
    if (notificationPort != 0) {
        text += "clientaddress=127.0.0.1\nclientnotification=1\nclientport=" +
                QByteArray::number(notificationPort) + '\n';
    }
    return text;
}

bool Listens(quint16 port)
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress{QHostAddress::LocalHost}, port);
    return socket.waitForConnected(100);
}

/// One request over a connection of its own; with `reply`, until the manager has answered.
void Submit(quint16 port, const QByteArray &request, bool reply)
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress{QHostAddress::LocalHost}, port);
    if (!socket.waitForConnected())
        qFatal("no connection");
    socket.write(request);
    if (reply)
        socket.write(Taskmill_ReplyRequestLine.data(), Taskmill_ReplyRequestLine.size());
    while (socket.bytesToWrite() > 0 && socket.waitForBytesWritten()) {
    }
    if (reply) {
        while (socket.state() == QAbstractSocket::ConnectedState && !socket.canReadLine()) {
            if (!socket.waitForReadyRead())
                break;
        }
        if (!socket.readAll().startsWith("accepted="))
            qFatal("a request was refused");
    }
}

double BareLoopSeconds()
{
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < jobCount; ++i) {
        char name[] = "/bin/true";
        char *arguments[] = {name, nullptr};
        pid_t child = 0;
        if (posix_spawn(&child, name, nullptr, nullptr, arguments, environ) != 0)
            qFatal("spawn failed");
        waitpid(child, nullptr, 0);
    }
    return static_cast<double>(timer.nsecsElapsed()) / 1e9;
}

QByteArray ResidentMemory(qint64 pid)
{
    QFile status{u"/proc/%1/status"_s.arg(pid)};
    if (!status.open(QIODevice::ReadOnly))
        return {};
    const QList<QByteArray> lines = status.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith("VmRSS:"))
            return line.sliced(6).simplified();
    }
    return {};
}

class Manager
{
public:
    Manager(const QString &directory, const QString &projectFile)
        : m_port{FreePort()}
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"TASKMILL_CONSOLE_PORT"_s, QString::number(m_port));
        environment.insert(u"XDG_CONFIG_HOME"_s, directory);
        environment.insert(u"XDG_RUNTIME_DIR"_s, directory);
        environment.remove(u"DISPLAY"_s);
        m_process.setProcessEnvironment(environment);
        m_process.setStandardOutputFile(QProcess::nullDevice());
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        QElapsedTimer timer;
        timer.start();
        m_process.start(QStringLiteral(TASKMILL_PROGRAM), {u"-console"_s, projectFile});
        m_process.waitForStarted();
        while (!Listens(m_port) && m_process.state() == QProcess::Running)
            usleep(500);
        m_startSeconds = static_cast<double>(timer.nsecsElapsed()) / 1e9;
    }
    ~Manager()
    {
        m_process.terminate();
        m_process.waitForFinished();
    }
    Q_DISABLE_COPY_MOVE(Manager)

    [[nodiscard]] quint16 Port() const { return m_port; }
    [[nodiscard]] double StartSeconds() const { return m_startSeconds; }
    [[nodiscard]] qint64 Pid() const { return m_process.processId(); }
    void Type(const QByteArray &command)
    {
        m_process.write(command + '\n');
        m_process.waitForBytesWritten();
    }

private:
    quint16 m_port;
    QProcess m_process;
    double m_startSeconds = 0;
};

void MeasureSubmissions(Manager &manager)
{
    for (const bool reply : {false, true}) {
        QElapsedTimer timer;
        timer.start();
        for (int i = 0; i < submissionCount; ++i)
            Submit(manager.Port(), Request(0), reply);
        const double seconds = static_cast<double>(timer.nsecsElapsed()) / 1e9;
        std::printf("submissions %-22s %8.0f a second\n", reply ? "(answered)" : "(sent)",
                    submissionCount / seconds);
    }
    std::printf("memory with %d waiting jobs   %s\n", 2 * submissionCount,
                ResidentMemory(manager.Pid()).constData());
}

void MeasureTurnRound(Manager &manager)
{
    QTcpServer sink;
    sink.listen(QHostAddress::LocalHost);
    for (int i = 0; i < jobCount; ++i)
        Submit(manager.Port(), Request(sink.serverPort()), true);

    const double bareBefore = BareLoopSeconds();
    QElapsedTimer timer;
    timer.start();
    manager.Type("unpause long jobs");
    for (int i = 0; i < jobCount; ++i) {
        if (!sink.hasPendingConnections() && !sink.waitForNewConnection(30000))
            qFatal("only %d notifications", i);
        delete sink.nextPendingConnection();
    }
    const double seconds = static_cast<double>(timer.nsecsElapsed()) / 1e9;
    const double bare = (bareBefore + BareLoopSeconds()) / 2;
    std::printf("jobs through one slot          %8.0f a second, notified\n", jobCount / seconds);
    std::printf("bare spawn-and-wait loop       %8.0f a second\n", jobCount / bare);
    std::printf("ratio of time                  %8.2f\n", seconds / bare);
}
} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application{argc, argv};
    const QTemporaryDir directory;
    const QString project = directory.filePath(u"bench.mill"_s);
    MakeProject(project);
    {
        Manager manager{directory.path(), project};
        std::printf("start to listening             %8.0f ms\n", manager.StartSeconds() * 1000);
        std::printf("resident memory, idle          %s\n", ResidentMemory(manager.Pid()).constData());
        MeasureTurnRound(manager);
    }
    MakeProject(project);
    Manager manager{directory.path(), project};
    MeasureSubmissions(manager);
    return 0;
}
