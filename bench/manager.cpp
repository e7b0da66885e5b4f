// SPDX-License-Identifier: MIT
#include "manager.h"

#include <QElapsedTimer>
#include <QFile>

#include <ctime>
#include <vector>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {
sockaddr_in Loopback(quint16 port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

/// -1 when nobody listens.
int Connect(quint16 port)
{
    const int connection = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = Loopback(port);
    if (connect(connection, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0)
        return connection;
    close(connection);
    return -1;
}

quint16 Listen(int socket)
{
    sockaddr_in address = Loopback(0);
    socklen_t size = sizeof address;
    if (bind(socket, reinterpret_cast<sockaddr *>(&address), size) != 0 || listen(socket, 4096) != 0 ||
        getsockname(socket, reinterpret_cast<sockaddr *>(&address), &size) != 0)
        qFatal("cannot listen");
    return ntohs(address.sin_port);
}

quint16 FreePort()
{
    const int free = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const quint16 port = Listen(free);
    close(free);
    return port;
}

QByteArray RequestOf(const QByteArray &jobType, const QByteArray &file, quint16 notificationPort)
{
    QByteArray text =
        "clientname=bench\nclientappname=bench\naction=submitjob\njobqueue=long\njobtypename=" + jobType +
        "\njobinputfile=" + file + '\n';
    if (notificationPort != 0)
        text += "clientaddress=127.0.0.1\nclientnotification=1\nclientport=" +
                QByteArray::number(notificationPort) + '\n';
    return text;
}
} // namespace

namespace Bench {
qint64 Now()
{
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time.tv_sec * 1'000'000'000LL + time.tv_nsec;
}

int Run(const QList<QByteArray> &command)
{
    std::vector<char *> arguments;
    for (const QByteArray &argument : command)
        arguments.push_back(const_cast<char *>(argument.constData()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    int status = -1;
    if (posix_spawnp(&child, arguments.front(), &actions, nullptr, arguments.data(), environ) == 0)
        waitpid(child, &status, 0);
    posix_spawn_file_actions_destroy(&actions);
    return status;
}

Manager::Manager(Mode mode, const QString &project)
    : m_port{FreePort()}
{
    for (const char *name : {"gate.dat", "stamp.dat", "plain.dat"}) {
        QFile file{m_directory.filePath(QString::fromLatin1(name))};
        if (!file.open(QIODevice::WriteOnly))
            qFatal("cannot write %s", name);
    }
    // The job types of a new project are those of the programs that are found.
    if (!QFile::link(u"/bin/true"_s, m_directory.filePath(u"formchk"_s)))
        qFatal("cannot make a link");
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"GAUSS_EXEDIR"_s, m_directory.path());
    // No working copy of another run is taken up.
    environment.insert(u"XDG_STATE_HOME"_s, m_directory.path());
    // What waits at the end goes with it.
    environment.insert(u"TASKMILL_END_JOBS"_s, u"1"_s);
    environment.insert(u"TASKMILL_CONSOLE_PORT"_s, QString::number(m_port));
    environment.insert(u"TASKMILL_GUI_PORT"_s, QString::number(m_port));
    // Both ports must differ; the one of the other mode is not listened to.
    environment.insert(mode == Mode::Window ? u"TASKMILL_CONSOLE_PORT"_s : u"TASKMILL_GUI_PORT"_s,
                       QString::number(FreePort()));
    environment.insert(u"XDG_CONFIG_HOME"_s, m_directory.path());
    environment.insert(u"XDG_RUNTIME_DIR"_s, m_directory.path());
    environment.insert(u"VELTRA_EXE"_s, QStringLiteral(TASKMILL_BENCH_JOB));
    environment.remove(u"DISPLAY"_s);
    if (mode == Mode::Window)
        environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
    m_process.setProcessEnvironment(environment);
    m_process.setStandardOutputFile(QProcess::nullDevice());
    m_process.setStandardErrorFile(QProcess::nullDevice());
    QStringList arguments;
    if (mode == Mode::Console)
        arguments.append(u"-console"_s);
    if (!project.isEmpty())
        arguments.append(project);
    QElapsedTimer timer;
    timer.start();
    m_process.start(QStringLiteral(TASKMILL_PROGRAM), arguments);
    m_process.waitForStarted();
    int connection = -1;
    while ((connection = Connect(m_port)) < 0 && timer.elapsed() < 60000)
        usleep(500);
    if (connection < 0)
        qFatal("the manager does not listen");
    close(connection);
    m_startMs = static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

Manager::~Manager()
{
    m_process.terminate();
    m_process.waitForFinished();
}

QByteArray Manager::File(const char *name) const
{
    return QFile::encodeName(m_directory.filePath(QString::fromLatin1(name)));
}

void Manager::OpenGate() const
{
    QFile go{m_directory.filePath(u"go"_s)};
    if (!go.open(QIODevice::WriteOnly))
        qFatal("cannot open the gate");
}

void Manager::Type(const QByteArray &command)
{
    m_process.write(command + '\n');
    m_process.waitForBytesWritten();
}

QByteArray Manager::Request(const QByteArray &file, quint16 notificationPort)
{
    return RequestOf("Veltra", file, notificationPort);
}

QByteArray Manager::TrueRequest(quint16 notificationPort) const
{
    return RequestOf("Formchk", File("plain.dat"), notificationPort);
}

void Manager::Submit(const QByteArray &request, bool answer) const
{
    const int connection = Connect(m_port);
    const QByteArray text = answer ? request + "clientreply=yes\n" : request;
    if (connection < 0 || send(connection, text.constData(), text.size(), MSG_NOSIGNAL) != text.size())
        qFatal("a request could not be sent");
    char reply[256] = {};
    if (answer &&
        (recv(connection, reply, sizeof reply - 1, 0) <= 0 || !QByteArrayView{reply}.startsWith("accepted=")))
        qFatal("a request was refused: %s", reply);
    close(connection);
}

QByteArray Manager::Status(const char *file) const
{
    QFile status{u"/proc/%1/%2"_s.arg(m_process.processId()).arg(QLatin1StringView{file})};
    return status.open(QIODevice::ReadOnly) ? status.readAll() : QByteArray{};
}

double Manager::ResidentMegabytes() const
{
    return Status("statm").split(' ').value(1).toDouble() * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1e6;
}

Manager::Work Manager::WorkSoFar() const
{
    const QByteArray stat = Status("stat");
    const QList<QByteArray> fields = stat.mid(stat.lastIndexOf(')') + 2).split(' ');
    Work work{.Ticks = fields.value(11).toLong() + fields.value(12).toLong()};
    for (const QByteArray &line : Status("status").split('\n')) {
        if (line.startsWith("voluntary_ctxt_switches:"))
            work.WakeUps = line.mid(24).trimmed().toLong();
    }
    return work;
}

NotificationSink::NotificationSink()
    : m_socket{socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)}
    , m_port{Listen(m_socket)}
{
    // A notification that never comes must not hold up the benchmark for ever.
    const timeval limit{.tv_sec = 60, .tv_usec = 0};
    setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
}

NotificationSink::~NotificationSink()
{
    close(m_socket);
}

QList<qint64> NotificationSink::Take(int count) const
{
    QList<qint64> times;
    for (int i = 0; i < count; ++i) {
        const int connection = accept(m_socket, nullptr, nullptr);
        if (connection < 0)
            qFatal("only %d of %d notifications came", i, count);
        times.append(Now());
        close(connection);
    }
    return times;
}
} // namespace Bench
