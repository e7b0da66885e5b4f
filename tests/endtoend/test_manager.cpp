// SPDX-License-Identifier: MIT
#include "db/database.h"
#include "db/databasemanager.h"
#include "endtoend/notificationsink.h"
#include "endtoend/processtable.h"
#include "endtoend/projectfixture.h"
#include "kilnutil/openfileslimit.h"

#include <QTcpServer>
#include <QTcpSocket>

#include <csignal>

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
    void SavesAndEndsJobsAtItsEnd_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("quit") << 0;
        QTest::newRow("SIGTERM") << SIGTERM;
        QTest::newRow("SIGINT") << SIGINT;
        QTest::newRow("SIGHUP") << SIGHUP;
    }

    void SavesAndEndsJobsAtItsEnd()
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

    void EndsAtOnceAtASecondSignal()
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

    void StartsInVain_data()
    {
        QTest::addColumn<QString>("arguments");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("output");
        const auto add = [](const char *name, const QString &arguments, int status,
                            const QByteArray &output) {
            QTest::newRow(name) << arguments << status << output;
        };
        add("help", u"-NoGui -HELP"_s, 3, "Usage:    taskmill");
        add("help without a display", u"--help"_s, 3, "Usage:    taskmill");
        add("version without a display", u"--Version"_s, 0, "taskmill 1.1.18\n");
        add("missing file", u"-console missing.mill"_s, 2,
            "taskmill: the file missing.mill does not exist\n");
        add("dangling link", u"-console dangling.mill"_s, 2,
            "taskmill: the link dangling.mill leads to no file\n");
        add("unknown option", u"-console -concole missing.mill"_s, 2, "taskmill: unknown option -concole");
        add("window without a display", {}, 1, "taskmill: there is no");
        add("unknown option of a window without a display", u"-style fusion -concole"_s, 1,
            "taskmill: unknown option -concole, see taskmill -help\ntaskmill: there is no");
    }

    void StartsInVain()
    {
        QFETCH(QString, arguments);
        QFETCH(QByteArray, output);
        const auto [consolePort, guiPort] = ManagerProcess::FreePorts();
        QVERIFY(QFile::link(u"nowhere"_s, Project().Path(u"dangling.mill"_s)));
        ManagerProcess manager{Project().Path({})};
        manager.Launch(arguments.split(u' ', Qt::SkipEmptyParts), consolePort, guiPort);
        QTEST(manager.End().status, "status");
        QCOMPARE((manager.Output() + manager.Errors()).first(output.size()), output);
    }

    void ClientMakesTheSameJobTypes()
    {
        // Of copies, so that there can be programs beside them.
        QVERIFY(QDir{Project().Path({})}.mkdir(u"bin"_s));
        const QString bin = Project().Path(u"bin/"_s);
        const QString client = QStringLiteral(TASKMILL_CTL);
        for (const QString &path : {QStringLiteral(TASKMILL_MANAGER), client, client + u"-projects"_s})
            QVERIFY(QFile::copy(path, bin + QFileInfo{path}.fileName()));
        for (const QString &name : {u"bin/gmmx"_s, u"bin/veltra"_s, u"bin/formchk"_s})
            (void)Project().InputFile(name);
        const auto [consolePort, guiPort] = ManagerProcess::FreePorts();
        qputenv("TASKMILL_CONSOLE_PORT", QByteArray::number(consolePort));
        qputenv("TASKMILL_GUI_PORT", QByteArray::number(guiPort));
        qputenv("TASKMILLPREFS_DIR", Project().Path(u"."_s).toLocal8Bit());
        qputenv("GAUSS_EXEDIR", (Project().Path(u"missing"_s) + u':' + bin).toLocal8Bit());
        qunsetenv("VELTRA_EXE");
        const auto typesAfter = [&](const QString &program, const QStringList &arguments,
                                    const QByteArray &input) {
            QProcess process;
            process.start(bin + program, arguments);
            process.write(input);
            QStringList texts;
            const auto database = Taskmill_Database_Manager::MakeMemoryDatabase();
            if (!process.waitForFinished(60'000) || process.exitCode() != 0 ||
                !database->LoadFromFile(Project().Path(program + u".mill"_s)))
                return texts;
            for (const Taskmill_JobType &jobType : database->GetJobTypes())
                texts += jobType.Name + u' ' + jobType.ExecutablePath + u' ' + jobType.EnvironmentVariables;
            return texts;
        };
        const QStringList expected{u"Veltra %1veltra "_s.arg(bin), u"GMMX %1gmmx "_s.arg(bin),
                                   u"Formchk %1formchk GAUSS_MEMDEF=@MEMORY"_s.arg(bin)};
        QCOMPARE(typesAfter(u"taskmillctl"_s,
                            {u"project"_s, u"create"_s, Project().Path(u"taskmillctl.mill"_s)}, {}),
                 expected);
        const QByteArray saved = Project().Path(u"taskmill.mill"_s).toLocal8Bit();
        QCOMPARE(typesAfter(u"taskmill"_s, {u"-console"_s}, "save " + saved + "\nquit\nyes\n"), expected);
    }

    void SecondStartLeavesTheFirstAlone()
    {
        QVERIFY(Project().AddTestType(u"Wait"_s, u"wait"_s));
        QVERIFY(Project().Start());
        QCOMPARE(Manager().Submit(u"Wait"_s, Project().InputFile(u"wait.in"_s), u"none"_s), "accepted=1\n");
        const quint16 port = Manager().Port();
        const QTemporaryDir elsewhere;
        const auto textOf = [&](const QStringList &arguments) {
            ManagerProcess second{elsewhere.path()};
            second.Launch(QStringList{u"-console"_s} + arguments, port, ManagerProcess::FreePorts().second);
            return second.End() == ManagerEnd{.status = 0} ? second.Output() + second.Errors() : "it fails";
        };
        QCOMPARE(textOf({}), "");
        QCOMPARE(textOf({u"other.mill"_s}), "taskmill: a manager runs already, on port " +
                                                QByteArray::number(port) + "; other.mill was not opened\n");
        QVERIFY(Manager().Command("list queueless jobs").contains("Running"));
    }

    void WorksOnWithoutItsPort()
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

    void SurvivesAFullDisk()
    {
        QVERIFY(Project().AddType(u"Signal"_s, u"/bin/sh"_s, u"@EXEFILE -c \"kill -XFSZ $$\""_s));
        QVERIFY(Project().Start());
        const auto setLimit = [this](rlim_t bytes) {
            const rlimit limit{.rlim_cur = bytes, .rlim_max = RLIM_INFINITY};
            return prlimit(Manager().ProcessID(), RLIMIT_FSIZE, &limit, nullptr) == 0;
        };
        // The signal that the manager lives through is a job's death as everywhere.
        const CtlResult run = RunJob(u"Signal"_s);
        QVERIFY2(run.out.contains("crashed"), run.out);
        QVERIFY(setLimit(0));
        QVERIFY(Manager().Ask("save", "could not be written"));
        QVERIFY(Manager().Expect("Enter Project File:  "));
        QVERIFY(Manager().Command("cancel").contains("not saved"));
        QVERIFY(setLimit(RLIM_INFINITY));
        // Its own directory is out of reach now.
        QVERIFY(QFile::rename(Project().ProjectPath(), Project().Path(u"aside"_s)));
        QVERIFY(QFile::link(u"gone/jobs.mill"_s, Project().ProjectPath()));
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
        QVERIFY(next.Expect("was written to " + path));
        QVERIFY(next.Expect("\n\n<Taskmill> "));
        QCOMPARE(next.Quit({"yes"}), ManagerEnd{.status = 0});
    }

    void ServesInTheMidstOfIdlers()
    {
        KilnUtil_RaiseOpenFilesLimit();
        QVERIFY(Project().AddTestType(u"Quick"_s, u"exit 0"_s));
        QVERIFY(Project().Start());
        Sockets idlers;
        for (int number = 0; number < 1000; ++number)
            QVERIFY(Connect(idlers, Manager().Port()).waitForConnected());
        QCOMPARE(RunJob(u"Quick"_s).status, 0);
        QVERIFY(std::ranges::all_of(idlers, IsConnected));
        QCOMPARE(Manager().Quit(), ManagerEnd{.status = 0});
        QCOMPARE(Manager().Errors(), "");
    }

private:
    /// Has the client submit one and wait for its end.
    [[nodiscard]] CtlResult RunJob(const QString &type) const
    {
        return Manager().Ctl({u"submit"_s, Project().InputFile(u"a.in"_s), u"--type"_s, type, u"--queue"_s,
                              u"queueless"_s, u"--wait"_s});
    }

    /// Two long jobs, of which one runs, and one without a queue whose grandchild has a session of its own.
    void StartJobs(quint16 notificationPort)
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
};

QTEST_GUILESS_MAIN(TestManagerProgram)
#include "test_manager.moc"
