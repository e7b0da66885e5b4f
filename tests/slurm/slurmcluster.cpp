// SPDX-License-Identifier: MIT
#include "slurm/slurmcluster.h"

#include "support/testutil.h"

#include <QDir>
#include <QHostInfo>
#include <QTcpServer>
#include <QtTest>

#include <csignal>

#include <sys/prctl.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int longestWaitMs = 60'000;

void EndWithParent(QProcess &process)
{
    process.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
}

QByteArray UserName()
{
    QProcess id;
    id.start(u"id"_s, {u"-un"_s});
    id.waitForFinished();
    return id.readAllStandardOutput().trimmed();
}

void EndProcess(QProcess &process)
{
    if (process.state() == QProcess::NotRunning)
        return;
    process.terminate();
    if (!process.waitForFinished(10'000)) {
        process.kill();
        process.waitForFinished();
    }
}
} // namespace

SlurmCluster::SlurmCluster()
    : m_directory{QDir::tempPath() + u"/slurm-XXXXXX"_s}
    , m_environment{QProcessEnvironment::systemEnvironment()}
{
    m_environment.insert(u"SLURM_CONF"_s, m_directory.filePath(u"slurm.conf"_s));
    m_environment.insert(u"PATH"_s,
                         ProgramFolder() + u":/usr/sbin:/sbin:"_s + m_environment.value(u"PATH"_s));
    m_environment.insert(u"SLURM_TEST_QUERIES"_s, m_directory.filePath(u"queries"_s));
    m_environment.remove(u"TASKMILLPREFS_DIR"_s);
}

SlurmCluster::~SlurmCluster()
{
    if (m_controller) {
        static_cast<void>(StartController());
        static_cast<void>(Command({u"scancel"_s, u"--me"_s}));
        static_cast<void>(QTest::qWaitFor(
            [this] {
                return Command({u"squeue"_s, u"--me"_s, u"--noheader"_s}).isEmpty();
            },
            20'000));
        EndProcess(*m_controller);
    }
    while (!m_daemons.empty()) {
        EndProcess(*m_daemons.back());
        m_daemons.pop_back();
    }
}

bool SlurmCluster::WriteConfiguration() const
{
    QTcpServer controller;
    QTcpServer node;
    if (!controller.listen(QHostAddress::LocalHost) || !node.listen(QHostAddress::LocalHost))
        return false;
    const QByteArray folder = m_directory.path().toUtf8();
    const QByteArray host = QHostInfo::localHostName().section(u'.', 0, 0).toUtf8();
    const QByteArray user = UserName();
    const QByteArray nodePort = QByteArray::number(node.serverPort());
    WriteTestFile(
        m_directory.filePath(u"slurm.conf"_s),
        "ClusterName=test\nSlurmctldHost=" + host + "(127.0.0.1)\nSlurmctldPort=" +
            QByteArray::number(controller.serverPort()) + "\nSlurmdPort=" + nodePort +
            // Without these the daemons listen to the whole network.
            "\nCommunicationParameters=NoInAddrAny,NoCtldInAddrAny\n"
            // auth/none would let everybody on this computer run programs as this user.
            "AuthType=auth/munge\nAuthInfo=socket=" +
            folder + "/munge.socket\nCredType=cred/munge\nSlurmUser=" + user + "\nSlurmdUser=" + user +
            "\nStateSaveLocation=" + folder + "/state\nSlurmdSpoolDir=" + folder +
            "/spool\nSlurmctldPidFile=" + folder + "/slurmctld.pid\nSlurmdPidFile=" + folder +
            "/slurmd.pid\nSlurmctldLogFile=" + folder + "/slurmctld.log\nSlurmdLogFile=" + folder +
            "/slurmd.log\nProctrackType=proctrack/linuxproc\nTaskPlugin=task/none\nSwitchType=switch/none\n"
            "SelectType=select/cons_tres\nSelectTypeParameters=CR_Core\nMpiDefault=none\nReturnToService=2\n"
            // Commands give a controller that is away up after 3 s, not after 10.
            "MessageTimeout=3\nKillWait=2\nEnforcePartLimits=ANY\nSlurmdParameters=config_overrides\n"
            // On a busy computer a launch is not to be taken for lost, which puts the job off for two
            // minutes; and a node that has missed a question is asked again after 10 s, not after 100.
            "BatchStartTimeout=60\nSlurmdTimeout=30\n"
            "SchedulerParameters=sched_min_interval=10000,batch_sched_delay=0,sched_interval=2\n"
            "NodeName=node1 NodeHostname=" +
            host + " NodeAddr=127.0.0.1 Port=" + nodePort +
            " CPUs=8 CoresPerSocket=8 RealMemory=1000 State=UNKNOWN\n"
            "PartitionName=work Nodes=node1 Default=YES MaxTime=INFINITE State=UP\n");
    return true;
}

QProcess *SlurmCluster::StartDaemon(const QStringList &words)
{
    auto daemon = std::make_unique<QProcess>();
    daemon->setProcessEnvironment(m_environment);
    daemon->setStandardOutputFile(QProcess::nullDevice());
    daemon->setStandardErrorFile(m_directory.filePath(u"errors"_s), QIODevice::Append);
    EndWithParent(*daemon);
    daemon->start(words.first(), words.mid(1));
    daemon->waitForStarted();
    m_daemons.push_back(std::move(daemon));
    return m_daemons.back().get();
}

bool SlurmCluster::Start()
{
    const auto path = [this](const QString &name) {
        return m_directory.filePath(name);
    };
    QByteArray key(128, Qt::Uninitialized);
    QRandomGenerator::system()->generate(reinterpret_cast<quint32 *>(key.data()),
                                         reinterpret_cast<quint32 *>(key.data()) +
                                             key.size() / sizeof(quint32));
    WriteTestFile(path(u"munge.key"_s), key);
    QFile::setPermissions(path(u"munge.key"_s), QFile::ReadOwner);
    for (const QString &folder : {u"state"_s, u"spool"_s, u"bin"_s})
        QDir{m_directory.path()}.mkdir(folder);
    AddProgram(u"squeue"_s, "date +%s.%3N >>\"$SLURM_TEST_QUERIES\"\nexec /usr/bin/squeue \"$@\"\n");
    if (!WriteConfiguration())
        return false;
    StartDaemon({u"munged"_s, u"--foreground"_s, u"--force"_s, u"--key-file="_s + path(u"munge.key"_s),
                 u"--socket="_s + path(u"munge.socket"_s), u"--pid-file="_s + path(u"munge.pid"_s),
                 u"--log-file="_s + path(u"munge.log"_s), u"--seed-file="_s + path(u"munge.seed"_s)});
    if (!QTest::qWaitFor([&] { return QFile::exists(path(u"munge.socket"_s)); }, longestWaitMs))
        return false;
    const bool isUp = StartController();
    StartDaemon({u"slurmd"_s, u"-D"_s, u"-N"_s, u"node1"_s});
    const bool isReady = isUp && QTest::qWaitFor([this] { return IsNodeIdle(); }, longestWaitMs);
    if (!isReady)
        qWarning("the cluster does not come up: %s",
                 (ReadTestFile(path(u"slurmctld.log"_s)) + ReadTestFile(path(u"slurmd.log"_s))).constData());
    return isReady;
}

bool SlurmCluster::IsNodeIdle() const
{
    return Command({u"sinfo"_s, u"--noheader"_s, u"--format=%t"_s}).trimmed() == "idle";
}

bool SlurmCluster::StartController()
{
    if (m_controller && m_controller->state() != QProcess::NotRunning)
        return true;
    StartDaemon({u"slurmctld"_s, u"-D"_s});
    m_controller = std::move(m_daemons.back());
    m_daemons.pop_back();
    // A controller that does not answer yet would keep a command waiting for 9 s.
    return QTest::qWaitFor(
        [this] {
            return Command({u"scontrol"_s, u"ping"_s}).contains(" UP");
        },
        longestWaitMs);
}

void SlurmCluster::StopController()
{
    EndProcess(*m_controller);
}

void SlurmCluster::ForgetJobs() const
{
    QDir state{m_directory.filePath(u"state"_s)};
    state.removeRecursively();
    QDir{m_directory.path()}.mkdir(u"state"_s);
}

QList<int> SlurmCluster::Processes() const
{
    QList<int> processes{static_cast<int>(m_controller->processId())};
    for (const auto &daemon : m_daemons)
        processes += static_cast<int>(daemon->processId());
    return processes;
}

QByteArray SlurmCluster::Command(const QStringList &words) const
{
    QProcess process;
    process.setProcessEnvironment(m_environment);
    // Not the one that counts.
    process.start(u"/usr/bin/"_s + words.first(), words.mid(1));
    process.waitForFinished(longestWaitMs);
    return process.readAllStandardOutput();
}

int SlurmCluster::Queries() const
{
    return static_cast<int>(ReadTestFile(m_environment.value(u"SLURM_TEST_QUERIES"_s)).count('\n'));
}

void SlurmCluster::AddProgram(const QString &name, const QByteArray &lines) const
{
    const QString path = WriteTestFile(ProgramFolder() + u'/' + name, "#!/bin/sh\n" + lines);
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

SlurmFollower::SlurmFollower(const SlurmCluster &cluster, const QString &folder, const QStringList &arguments,
                             const QString &program)
{
    QProcessEnvironment environment = cluster.Environment();
    environment.insert(u"XDG_STATE_HOME"_s, folder);
    environment.remove(u"TASKMILL_SLURM_INTERVAL"_s);
    if (qEnvironmentVariableIsSet("TASKMILL_SLURM_INTERVAL"))
        environment.insert(u"TASKMILL_SLURM_INTERVAL"_s, qEnvironmentVariable("TASKMILL_SLURM_INTERVAL"));
    m_process.setProcessEnvironment(environment);
    m_process.setWorkingDirectory(folder);
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    m_process.setStandardInputFile(QFile::exists(folder + u"/typed"_s) ? folder + u"/typed"_s
                                                                       : QProcess::nullDevice());
    EndWithParent(m_process);
    m_process.start(program, arguments);
    m_process.waitForStarted();
}

QString SlurmFollower::Program()
{
    return QStringLiteral(TASKMILL_SLURM);
}

SlurmFollower::~SlurmFollower()
{
    m_process.kill();
    m_process.waitForFinished();
}

QByteArray SlurmFollower::Output()
{
    return m_output += m_process.readAll();
}

bool SlurmFollower::Says(const QByteArray &text, int waitMs)
{
    if (QTest::qWaitFor([&] { return Output().contains(text); }, waitMs))
        return true;
    qWarning("expected: %s\nbut it says: %s", text.constData(), Output().constData());
    return false;
}

int SlurmFollower::End(int waitMs)
{
    if (!QTest::qWaitFor([&] { return m_process.state() == QProcess::NotRunning; }, waitMs)) {
        qWarning("still runs: %s", Output().constData());
        return -1;
    }
    return m_process.exitStatus() == QProcess::CrashExit ? endedBySignal + m_process.exitCode()
                                                         : m_process.exitCode();
}

void SlurmFollower::Signal(int signal) const
{
    kill(static_cast<pid_t>(m_process.processId()), signal);
}
