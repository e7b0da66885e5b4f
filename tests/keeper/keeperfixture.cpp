// SPDX-License-Identifier: MIT
#include "keeperfixture.h"

#include "support/testutil.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <csignal>

#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {
/// The fields of /proc/N/stat from the state on; none when there is no such process.
QList<QByteArray> StatFields(long long id)
{
    QFile file{u"/proc/%1/stat"_s.arg(id)};
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray text = file.readAll();
    return text.mid(text.lastIndexOf(')') + 2).split(' ');
}
} // namespace

KeeperFixture::KeeperFixture()
    : m_folder{m_directory.filePath(u"runs"_s).toStdString()}
    , m_jobFolder{m_directory.filePath(u"jobs"_s).toStdString()}
{
    QDir{m_directory.path()}.mkdir(u"jobs"_s);
}

KeeperFixture::~KeeperFixture()
{
    m_run = {};
    if (m_nurseryID > 0)
        kill(static_cast<pid_t>(m_nurseryID), SIGTERM);
    m_nursery.reset();
    if (!QTest::qWaitFor([this] { return !IsProcessThere(m_nurseryID) && ProcessCount() == 0; }, WaitMs))
        qWarning("QObject of the test: processes are left");
}

std::string KeeperFixture::Program()
{
    return TASKMILL_KEEPER;
}

bool KeeperFixture::StartNursery()
{
    m_nursery = Taskmill_Nursery::Start(Program(), m_folder, WaitMs);
    m_nurseryID = m_nursery ? m_nursery->ProcessID() : 0;
    return m_nursery.has_value();
}

void KeeperFixture::LoseManager()
{
    m_nursery.reset();
    m_run = {};
}

Taskmill_RunOrder KeeperFixture::Order(const QList<std::string> &arguments) const
{
    Taskmill_RunOrder order;
    order.runID = Taskmill_NewRunID();
    order.owner = "project";
    order.program = TASKMILL_TEST_PROGRAM;
    order.arguments = {arguments.begin(), arguments.end()};
    for (char **variable = environ; *variable; ++variable)
        order.environment.emplace_back(*variable);
    order.directory = m_jobFolder;
    return order;
}

Taskmill_RunOrder KeeperFixture::Script(const std::string &text) const
{
    Taskmill_RunOrder order = Order({"-c", text});
    order.program = "/bin/bash";
    return order;
}

Taskmill_RunOrder KeeperFixture::HostileJob(bool keepsEnvironment) const
{
    for (const QString &name : QDir{QString::fromStdString(m_jobFolder)}.entryList({u"ready*"_s}))
        QFile::remove(QString::fromStdString(m_jobFolder) + '/'_L1 + name);
    Taskmill_RunOrder order =
        keepsEnvironment ? Order({m_jobFolder, "keepenvironment"}) : Order({m_jobFolder});
    order.program = TASKMILL_HOSTILE_JOB;
    return order;
}

bool KeeperFixture::IsHostileJobReady() const
{
    constexpr qsizetype processes = 12;
    return QDir{QString::fromStdString(m_jobFolder)}.entryList({u"ready*"_s}).size() == processes;
}

void KeeperFixture::Start(const Taskmill_RunOrder &order)
{
    m_run = m_nursery->StartRun(order);
}

Taskmill_RunReport KeeperFixture::Wait(Kind kind)
{
    Taskmill_RunReport report;
    do
        report = m_run.Receive(WaitMs);
    while (report.kind != kind && report.kind != Kind::None && m_run.IsOpen());
    return report;
}

long long KeeperFixture::KeeperOf(const Taskmill_RunReport &started)
{
    return StatFields(started.processID).value(1).toLongLong();
}

bool KeeperFixture::Exists(const std::string &name) const
{
    return QFile::exists(QString::fromStdString(m_jobFolder + '/' + name));
}

void KeeperFixture::Touch(const std::string &name) const
{
    WriteTestFile(QString::fromStdString(m_jobFolder + '/' + name), {});
}

QByteArray KeeperFixture::Output(const std::string &runID) const
{
    QByteArray text;
    const bool isRead = Taskmill_RunOutput{m_folder, runID}.Read(
        [&text](std::string_view piece) { text.append(piece.data(), static_cast<qsizetype>(piece.size())); });
    return isRead ? text : QByteArray{"unreadable"};
}

std::optional<Taskmill_RunEnd> KeeperFixture::RecordedEnd(const std::string &runID) const
{
    Taskmill_RunJournals journals{m_folder};
    journals.Refresh();
    const Taskmill_RunJournals::Run *run = journals.Find(runID);
    return run ? run->end : std::nullopt;
}

int KeeperFixture::ProcessCount() const
{
    int count = 0;
    for (const QString &name : QDir{u"/proc"_s}.entryList(QDir::Dirs)) {
        const long long id = name.toLongLong();
        if (id > 0 && QFile::symLinkTarget(u"/proc/%1/cwd"_s.arg(id)).toStdString() == m_jobFolder &&
            IsProcessThere(id))
            ++count;
    }
    return count;
}

bool KeeperFixture::IsProcessThere(long long id)
{
    const QByteArray state = StatFields(id).value(0, "Z");
    return id > 0 && state != "Z" && state != "X";
}
