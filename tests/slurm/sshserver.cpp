// SPDX-License-Identifier: MIT
#include "slurm/sshserver.h"

#include "support/testutil.h"

#include <QDir>
#include <QTcpServer>
#include <QtTest>

#include <csignal>

#include <sys/prctl.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

SshServer::SshServer(const SlurmCluster &cluster)
    : m_cluster{cluster}
    , m_directory{QDir::tempPath() + u"/ssh-XXXXXX"_s}
{
    m_daemon.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGTERM); });
}

SshServer::~SshServer()
{
    Vanish();
}

bool SshServer::Start()
{
    const auto path = [this](const QString &name) {
        return m_directory.filePath(name);
    };
    if (!QFile::exists(path(u"config"_s))) {
        for (const QString &key : {u"host"_s, u"user"_s})
            QProcess::execute(u"ssh-keygen"_s,
                              {u"-q"_s, u"-t"_s, u"ed25519"_s, u"-N"_s, QString{}, u"-f"_s, path(key)});
        QTcpServer port;
        if (!port.listen(QHostAddress::LocalHost))
            return false;
        const QByteArray number = QByteArray::number(port.serverPort());
        const QByteArray folder = m_directory.path().toUtf8();
        QFile::copy(path(u"user.pub"_s), path(u"allowed"_s));
        WriteTestFile(path(u"known"_s), "[127.0.0.1]:" + number + ' ' + ReadTestFile(path(u"host.pub"_s)));
        WriteTestFile(path(u"config"_s), "Host login\nHostName 127.0.0.1\nPort " + number +
                                             "\nIdentityFile " + folder +
                                             "/user\nIdentitiesOnly yes\nUserKnownHostsFile " + folder +
                                             "/known\nControlPath " + folder + "/own\n");
        WriteTestFile(path(u"server"_s),
                      "ListenAddress 127.0.0.1\nPort " + number + "\nHostKey " + folder +
                          "/host\nAuthorizedKeysFile " + folder +
                          "/allowed\nStrictModes no\nUsePAM no\nPasswordAuthentication no\n"
                          "KbdInteractiveAuthentication no\nPermitRootLogin prohibit-password\nPidFile "
                          "none\nSetEnv SLURM_CONF=" +
                          m_cluster.Environment().value(u"SLURM_CONF"_s).toUtf8() + " SCRATCH=" + folder +
                          "/scratch\n");
        QDir{m_directory.path()}.mkdir(u"scratch"_s);
        m_cluster.AddProgram(u"ssh"_s, "exec /usr/bin/ssh -F " + folder + "/config \"$@\"\n");
        // Without it the server does not start as root.
        if (geteuid() == 0)
            QDir{}.mkpath(u"/run/sshd"_s);
    }
    StartDaemon();
    return QTest::qWaitFor(
        [this] {
            return Ssh({u"-o"_s, u"BatchMode=yes"_s, u"login"_s, u"true"_s});
        },
        20'000);
}

bool SshServer::Ssh(const QStringList &arguments) const
{
    QProcess ssh;
    ssh.setProcessEnvironment(m_cluster.Environment());
    // A connection in the background keeps what it was given.
    ssh.setStandardOutputFile(QProcess::nullDevice());
    ssh.setStandardErrorFile(QProcess::nullDevice());
    ssh.start(m_cluster.ProgramFolder() + u"/ssh"_s, arguments);
    return ssh.waitForFinished() && ssh.exitCode() == 0;
}

bool SshServer::OpenUsersConnection()
{
    return Ssh({u"-MNf"_s, u"login"_s}) &&
           QFile::rename(m_directory.filePath(u"allowed"_s), m_directory.filePath(u"refused"_s));
}

void SshServer::CloseUsersConnection()
{
    static_cast<void>(Ssh({u"-O"_s, u"exit"_s, u"login"_s}));
    QFile::rename(m_directory.filePath(u"refused"_s), m_directory.filePath(u"allowed"_s));
}

void SshServer::StartDaemon()
{
    m_daemon.setStandardErrorFile(m_directory.filePath(u"log"_s), QIODevice::Append);
    m_daemon.start(u"/usr/sbin/sshd"_s, {u"-D"_s, u"-e"_s, u"-f"_s, m_directory.filePath(u"server"_s)});
    m_daemon.waitForStarted();
}

void SshServer::Vanish()
{
    const QString number = QString::number(m_daemon.processId());
    const QByteArray sessions = ReadTestFile(u"/proc/%1/task/%1/children"_s.arg(number));
    m_daemon.terminate();
    m_daemon.waitForFinished();
    for (const QByteArray &session : sessions.split(' ')) {
        if (session.toInt() > 1)
            kill(session.toInt(), SIGKILL);
    }
}
