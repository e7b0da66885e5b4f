// SPDX-License-Identifier: MIT
#include "db/database.h"
#include "db/databasemanager.h"
#include "endtoend/notificationsink.h"
#include "endtoend/processtable.h"
#include "endtoend/projectfixture.h"
#include "kilnutil/openfileslimit.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

#include <algorithm>
#include <csignal>
#include <memory>
#include <vector>

#include <sys/resource.h>

using namespace Qt::Literals::StringLiterals;

namespace {
using Sockets = std::vector<std::unique_ptr<QTcpSocket>>;

QTcpSocket &Connect(Sockets &sockets, quint16 port)
{
    QTcpSocket &socket = *sockets.emplace_back(std::make_unique<QTcpSocket>());
    socket.connectToHost(QHostAddress::LocalHost, port);
    return socket;
}

bool IsConnected(const std::unique_ptr<QTcpSocket> &socket)
{
    return socket->state() == QAbstractSocket::ConnectedState;
}
} // namespace

/// Starts of the manager, its ends while jobs run, and its port in the face of clients of all kinds.
class TestManagerProgram : public ManagerTest
{
    Q_OBJECT

private Q_SLOTS:
    void SavesAndEndsJobsAtItsEnd_data();
    void SavesAndEndsJobsAtItsEnd();
    void EndsAtOnceAtASecondSignal();
    void StartsInVain_data();
    void StartsInVain();
    void ClientMakesTheSameJobTypes();
    void SecondStartLeavesTheFirstAlone();
    void WorksOnWithoutItsPort();
    void SurvivesAFullDisk();
    void ServesInTheMidstOfIdlersAndGarbage();

private:
    void StartJobs(quint16 notificationPort);
};

/// Two long jobs, of which one runs, and one without a queue whose grandchild has a session of its own.
void TestManagerProgram::StartJobs(quint16 notificationPort)
{
    QVERIFY(Project().AddTestType(u"Wait"_s, u"touch @INFILE.started wait"_s));
    QVERIFY(Project().AddTestType(u"Tree"_s, u"child child session touch @INFILE.started wait"_s));
    QVERIFY(Project().Start());
    QVERIFY(Manager().Command("unpause long jobs").contains("no longer paused"));
    const auto submit = [&](const QString &jobType, const QString &name, const QString &queue) {
        return Manager().Submit(jobType, Project().InputFile(name), queue, notificationPort);
    };
    QCOMPARE(submit(u"Wait"_s, u"runs"_s, u"long"_s), "accepted=1\n");
    QCOMPARE(submit(u"Wait"_s, u"waits"_s, u"long"_s), "accepted=2\n");
    QCOMPARE(submit(u"Tree"_s, u"tree"_s, u"none"_s), "accepted=3\n");
    QTRY_VERIFY(QFile::exists(Project().Path(u"runs.started"_s)));
    QTRY_VERIFY(QFile::exists(Project().Path(u"tree.started"_s)));
    QVERIFY(!QFile::exists(Project().Path(u"waits.started"_s)));
}

void TestManagerProgram::SavesAndEndsJobsAtItsEnd_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("quit") << 0;
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGHUP") << SIGHUP;
}

void TestManagerProgram::SavesAndEndsJobsAtItsEnd()
{
    QFETCH(int, signal);
    NotificationSink sink;
    StartJobs(sink.Port());
    if (signal != 0)
        Manager().Signal(signal);
    QCOMPARE(signal == 0 ? Manager().Quit({"yes", "yes"}) : Manager().End(), ManagerEnd{.status = 0});
    QTRY_VERIFY(ProcessTable::LivingChildren().isEmpty());
    QCOMPARE(Manager().Errors(), "");
    QTRY_COMPARE(sink.Values("jobstatus"), (QByteArrayList{"killed", "killed"}));

    // What ran is to wait again when the project is opened the next time.
    const ProjectRows rows = Project().Rows();
    QCOMPARE(rows.longJobs.size(), 2);
    QCOMPARE(rows.longJobs[0].InputFilePath, Project().Path(u"runs"_s));
    QCOMPARE(rows.queuelessJobs.size(), 1);
    QCOMPARE(rows.queuelessJobs[0].JobID, 3);
    QVERIFY(rows.finishedJobs.isEmpty());
}

void TestManagerProgram::EndsAtOnceAtASecondSignal()
{
    // A client that takes no connection, with so many waiting that another one is not even answered.
    QTcpServer deaf;
    deaf.setListenBacklogSize(0);
    QVERIFY(deaf.listen(QHostAddress::LocalHost));
    deaf.pauseAccepting();
    Sockets waiting;
    for (int count = 0; count < 4; ++count)
        Connect(waiting, deaf.serverPort());
    QTRY_VERIFY(IsConnected(waiting.front()));
    StartJobs(deaf.serverPort());

    // The first job is ended, and the manager waits for the client to hear of it.
    Manager().Signal(SIGTERM);
    QTRY_COMPARE(Project().Rows().longJobs.size(), 2);
    Manager().Signal(SIGTERM);
    QCOMPARE(Manager().End(), ManagerEnd{.signal = SIGTERM});
    QTRY_VERIFY(ProcessTable::LivingChildren().isEmpty());
    QCOMPARE(Project().Rows().queuelessJobs.size(), 1);
}

void TestManagerProgram::StartsInVain_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("output");
    QTest::newRow("help") << QStringList{u"-NoGui"_s, u"-HELP"_s} << 3 << QByteArray{"Usage:    taskmill"};
    QTest::newRow("help without a display")
        << QStringList{u"--help"_s} << 3 << QByteArray{"Usage:    taskmill"};
    QTest::newRow("version without a display")
        << QStringList{u"--Version"_s} << 0 << QByteArray{"taskmill 1.1.18\n"};
    QTest::newRow("missing file") << QStringList{u"-console"_s, u"missing.mill"_s} << 2
                                  << QByteArray{"taskmill: the file missing.mill does not exist\n"};
    QTest::newRow("dangling link") << QStringList{u"-console"_s, u"dangling.mill"_s} << 2
                                   << QByteArray{"taskmill: the link dangling.mill leads to no file\n"};
    QTest::newRow("unknown option") << QStringList{u"-console"_s, u"-concole"_s, u"missing.mill"_s} << 2
                                    << QByteArray{"taskmill: unknown option -concole"};
    QTest::newRow("window without a display") << QStringList{} << 1 << QByteArray{"taskmill: there is no"};
}

void TestManagerProgram::StartsInVain()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, status);
    QFETCH(QByteArray, output);
    const auto [consolePort, guiPort] = ManagerProcess::FreePorts();
    QVERIFY(QFile::link(u"nowhere"_s, Project().Path(u"dangling.mill"_s)));
    ManagerProcess manager{Project().Path({})};
    manager.Launch(arguments, consolePort, guiPort);
    QCOMPARE(manager.End(), ManagerEnd{.status = status});
    QCOMPARE((manager.Output() + manager.Errors()).first(output.size()), output);
}

void TestManagerProgram::ClientMakesTheSameJobTypes()
{
    // Of copies, so that there can be programs beside them.
    QVERIFY(QDir{Project().Path({})}.mkdir(u"bin"_s));
    const QString manager = QStringLiteral(TASKMILL_MANAGER);
    const QString client = QStringLiteral(TASKMILL_CTL);
    for (const QString &path : {manager, client, client + u"-projects"_s})
        QVERIFY(QFile::copy(path, Project().Path(u"bin/"_s + QFileInfo{path}.fileName())));
    for (const QString &name : {u"bin/gmmx"_s, u"bin/veltra"_s, u"bin/formchk"_s})
        (void)Project().InputFile(name);
    const auto run = [this](const QString &path, const QStringList &arguments, const QByteArray &input) {
        const auto [consolePort, guiPort] = ManagerProcess::FreePorts();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"TASKMILL_CONSOLE_PORT"_s, QString::number(consolePort));
        environment.insert(u"TASKMILL_GUI_PORT"_s, QString::number(guiPort));
        environment.insert(u"TASKMILLPREFS_DIR"_s, Project().Path(u"."_s));
        environment.insert(u"GAUSS_EXEDIR"_s, Project().Path(u"missing"_s) + u':' + Project().Path(u"bin"_s));
        environment.remove(u"VELTRA_EXE"_s);
        QProcess process;
        process.setProcessEnvironment(environment);
        process.start(Project().Path(u"bin/"_s + QFileInfo{path}.fileName()), arguments);
        process.write(input);
        return process.waitForFinished(60'000) && process.exitCode() == 0;
    };
    const auto types = [](const QString &path) {
        const auto database = Taskmill_Database_Manager::MakeMemoryDatabase();
        QStringList texts;
        if (database->LoadFromFile(path)) {
            for (const Taskmill_JobType &jobType : database->GetJobTypes())
                texts += jobType.Name + u' ' + jobType.ExecutablePath + u' ' + jobType.EnvironmentVariables;
        }
        return texts;
    };
    const QString made = Project().Path(u"made.mill"_s);
    const QString saved = Project().Path(u"saved.mill"_s);
    QVERIFY(run(client, {u"project"_s, u"create"_s, made}, {}));
    QVERIFY(run(manager, {u"-console"_s}, "save " + saved.toLocal8Bit() + "\nquit\nyes\n"));
    QCOMPARE(types(made), types(saved));
    const QString bin = u' ' + Project().Path(u"bin/"_s);
    QCOMPARE(types(made), (QStringList{u"Veltra"_s + bin + u"veltra "_s, u"GMMX"_s + bin + u"gmmx "_s,
                                       u"Formchk"_s + bin + u"formchk GAUSS_MEMDEF=@MEMORY"_s}));
}

void TestManagerProgram::SecondStartLeavesTheFirstAlone()
{
    QVERIFY(Project().AddTestType(u"Wait"_s, u"touch @INFILE.started wait"_s));
    QVERIFY(Project().Start());
    const QString input = Project().InputFile(u"wait.in"_s);
    QCOMPARE(Manager().Submit(u"Wait"_s, input, u"none"_s), "accepted=1\n");
    QTRY_VERIFY(QFile::exists(input + u".started"_s));
    const QTemporaryDir elsewhere;
    ManagerProcess second{elsewhere.path()};
    second.Launch({u"-console"_s}, Manager().Port(), ManagerProcess::FreePorts().second);
    QCOMPARE(second.End(), ManagerEnd{.status = 0});
    QCOMPARE(second.Output() + second.Errors(), "");
    const quint16 port = Manager().Port();
    second.Launch({u"-console"_s, u"other.mill"_s}, port, ManagerProcess::FreePorts().second);
    QCOMPARE(second.End(), ManagerEnd{.status = 0});
    QCOMPARE(second.Output() + second.Errors(), "taskmill: a manager runs already, on port " +
                                                    QByteArray::number(port) +
                                                    "; other.mill was not opened\n");
    QVERIFY(Manager().Command("list queueless jobs").contains("Running"));
}

void TestManagerProgram::WorksOnWithoutItsPort()
{
    QTcpSocket silent;
    QVERIFY(silent.bind(QHostAddress::LocalHost, 0, QAbstractSocket::DontShareAddress));
    ManagerProcess manager{Project().Path({})};
    manager.Launch({u"-CONSOLE"_s}, silent.localPort(), ManagerProcess::FreePorts().second);
    QVERIFY(manager.Expect("TaskmillConsole 1.1.18\n"));
    QVERIFY(manager.Expect("<Taskmill> "));
    QCOMPARE(manager.Command("list long jobs"), "\nLong Jobs Queue is Empty\n\n");
    QVERIFY(manager.Errors().startsWith("Cannot listen on port "));
    QCOMPARE(manager.Quit({"1"}), ManagerEnd{.status = 0});
}

void TestManagerProgram::SurvivesAFullDisk()
{
    QVERIFY(Project().AddType(u"Signal"_s, u"/bin/sh"_s, u"@EXEFILE -c \"kill -XFSZ $$\""_s) &&
            Project().Start());
    const auto setLimit = [this](rlim_t bytes) {
        const rlimit limit{.rlim_cur = bytes, .rlim_max = RLIM_INFINITY};
        return prlimit(Manager().ProcessID(), RLIMIT_FSIZE, &limit, nullptr) == 0;
    };
    // The signal that the manager lives through is a job's death as everywhere.
    const CtlResult run = Manager().Ctl({u"submit"_s, Project().InputFile(u"a.in"_s), u"--type"_s,
                                         u"Signal"_s, u"--queue"_s, u"queueless"_s, u"--wait"_s});
    QVERIFY2(run.out.contains("crashed"), run.out);
    QVERIFY(setLimit(0));
    QVERIFY(Manager().Ask("save", "could not be written"));
    QVERIFY(Manager().Expect("Enter Project File:  "));
    QVERIFY(Manager().Command("cancel").contains("not saved"));
    QVERIFY(setLimit(RLIM_INFINITY));
    // Its own directory is out of reach now.
    QVERIFY(QFile::rename(Project().ProjectPath(), Project().Path(u"aside"_s)) &&
            QFile::link(u"gone/jobs.mill"_s, Project().ProjectPath()));
    Manager().Signal(SIGTERM);
    QCOMPARE(Manager().End(), ManagerEnd{.status = 4});
    const QDir state{Project().Path(u".local/state/taskmill"_s)};
    const QStringList spare = state.entryList({u"taskmill-spare-jobs-*.mill"_s});
    QCOMPARE(spare.size(), 1);
    const QByteArray path = state.filePath(spare.first()).toUtf8();
    QVERIFY2(Manager().Errors().contains("it was written to " + path), Manager().Errors());

    const auto [consolePort, guiPort] = ManagerProcess::FreePorts();
    ManagerProcess next{Project().Path({})};
    next.Launch({u"-console"_s}, consolePort, guiPort);
    QVERIFY(next.Expect("was written to " + path) && next.Expect("\n\n<Taskmill> "));
    QCOMPARE(next.Quit({"yes"}), ManagerEnd{.status = 0});
}

void TestManagerProgram::ServesInTheMidstOfIdlersAndGarbage()
{
    KilnUtil_RaiseOpenFilesLimit();
    QVERIFY(Project().AddTestType(u"Quick"_s, u"exit 0"_s));
    QVERIFY(Project().Start());
    Sockets idlers;
    for (int number = 0; number < 1000; ++number)
        QVERIFY(Connect(idlers, Manager().Port()).waitForConnected());
    Sockets babblers;
    for (int number = 0; number < 20; ++number) {
        QByteArray garbage(10'000, '\0');
        for (qsizetype index = 0; index < garbage.size(); ++index)
            garbage[index] = static_cast<char>(index * index + number * index / 7);
        Connect(babblers, Manager().Port())
            .write("action=submitjob\njobtypename=Quick" + garbage + "\n=\n@\n@=\n\n");
    }
    const CtlResult run = Manager().Ctl({u"submit"_s, Project().InputFile(u"quick.in"_s), u"--type"_s,
                                         u"Quick"_s, u"--queue"_s, u"queueless"_s, u"--wait"_s});
    QCOMPARE(run.status, 0);
    QVERIFY(std::ranges::all_of(idlers, IsConnected));
    QTRY_VERIFY(std::ranges::none_of(babblers, IsConnected));
    QCOMPARE(Manager().Quit(), ManagerEnd{.status = 0});
    QCOMPARE(Manager().Errors(), "");
}

QTEST_GUILESS_MAIN(TestManagerProgram)
#include "test_manager.moc"
