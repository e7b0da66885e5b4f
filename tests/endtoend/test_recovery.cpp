// SPDX-License-Identifier: MIT
#include "endtoend/notificationsink.h"
#include "endtoend/processtable.h"
#include "endtoend/projectfixture.h"

#include "db/databasetestutil.h"
#include "support/blackhole.h"

#include <QFile>
#include <QFileInfo>
#include <QtTest>

#include <csignal>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr ManagerEnd killed{.signal = SIGKILL};
} // namespace

/// Managers that are ended by force, and those that come after them.
class TestRecovery : public ManagerTest
{
    Q_OBJECT

private Q_SLOTS:
    void GoesOnWhereTheManagerWasEnded();
    void SecondManagerOpensNothing();
    void NextManagerNotifies_data();
    void NextManagerNotifies();
    void QuitsAlthoughNobodyTakesANotification();

private:
    [[nodiscard]] QStringList Arguments(bool isSaved) const
    {
        QStringList arguments{u"-console"_s};
        if (isSaved)
            arguments += Project().ProjectPath();
        return arguments;
    }
};

void TestRecovery::GoesOnWhereTheManagerWasEnded()
{
    QVERIFY(Project().AddTestType(u"Gated"_s, u"touch @INFILE.started waitfor @INFILE.go"_s));
    QVERIFY(Project().Start());
    const QByteArray file = ReadTestFile(Project().ProjectPath());
    QVERIFY(Manager().Command("unpause long jobs").contains("no longer paused"));
    NotificationSink sink;
    QStringList inputs;
    for (const QString &name : {u"ends"_s, u"runs"_s, u"waits"_s}) {
        inputs += Project().InputFile(name);
        QVERIFY(Manager().Submit(u"Gated"_s, inputs.last(), u"long"_s, sink.Port()).startsWith("accepted="));
    }
    WriteTestFile(inputs[0] + u".go"_s, {});
    QTRY_COMPARE(sink.Values("jobstatus"), QByteArrayList{"completed"});
    QTRY_VERIFY(QFile::exists(inputs[1] + u".started"_s));
    Manager().Signal(SIGKILL);
    QCOMPARE(Manager().End(), killed);

    ManagerProcess next{Project().Path({})};
    const auto [consolePort, guiPort] = ManagerProcess::FreePorts();
    next.Launch(Arguments(true), consolePort, guiPort);
    QVERIFY(next.Expect("4 changes since the last save were recovered\n"));
    QCOMPARE(ReadTestFile(Project().ProjectPath()), file);
    if (hasKeepers) {
        QVERIFY(next.Command("list long jobs").contains("Running"));
        QVERIFY(!QFile::exists(inputs[2] + u".started"_s));
        WriteTestFile(inputs[1] + u".go"_s, {});
    }
    const QByteArray second = hasKeepers ? "completed" : "crashed";
    QTRY_COMPARE(sink.Values("jobstatus"), (QByteArrayList{"completed", second}));
    // Its turn has come, as the queue was not paused.
    QTRY_VERIFY(QFile::exists(inputs[2] + u".started"_s));
    WriteTestFile(inputs[2] + u".go"_s, {});
    QTRY_COMPARE(sink.Count(), 3);
    QCOMPARE(next.Quit({"yes", "yes"}), ManagerEnd{.status = 0});
    const ProjectRows rows = Project().Rows();
    QCOMPARE(rows.longJobs.size(), 0);
    QCOMPARE(rows.finishedJobs.size(), 3);
    QCOMPARE(rows.finishedJobs[1].StdOutAndStdErr,
             hasKeepers ? QString{} : u"The manager ended while this job was running.\n"_s);
    QCOMPARE(Project().WorkingCopies(), QStringList{});
}

void TestRecovery::SecondManagerOpensNothing()
{
    QVERIFY(Project().AddTestType(u"Quick"_s, u"exit 0"_s));
    QVERIFY(Project().Start());
    const auto [consolePort, guiPort] = ManagerProcess::FreePorts();
    ManagerProcess second{Project().Path({})};
    second.Launch(Arguments(true), consolePort, guiPort);
    QCOMPARE(second.End(), ManagerEnd{.status = 1});
    QVERIFY2(second.Output().contains("process " + QByteArray::number(Manager().ProcessID()) + ", has"),
             second.Output());
    QCOMPARE(Manager().Quit({"yes"}), ManagerEnd{.status = 0});
    QVERIFY(Project().Start());
}

void TestRecovery::NextManagerNotifies_data()
{
    QTest::addColumn<bool>("isKilled");
    QTest::addColumn<int>("age"); // in seconds
    QTest::newRow("quit") << false << 0;
    QTest::newRow("ended by force") << true << 0;
    QTest::newRow("too late") << true << 157;
    QTest::newRow("too late after quitting") << false << 157;
}

void TestRecovery::NextManagerNotifies()
{
    QFETCH(bool, isKilled);
    QFETCH(int, age);
    QVERIFY(Project().AddTestType(u"Fails"_s, u"exit 3"_s));
    QVERIFY(Project().Start());
    // Nobody listens there at first.
    const quint16 port = ManagerProcess::FreePorts().first;
    QVERIFY(
        Manager().Submit(u"Fails"_s, Project().InputFile(u"a"_s), u"none"_s, port).startsWith("accepted="));
    QTRY_VERIFY(Manager().Command("list finished jobs").contains("Failed"));
    if (isKilled)
        Manager().Signal(SIGKILL);
    QCOMPARE(isKilled ? Manager().End() : Manager().Quit({"yes", "yes"}),
             isKilled ? killed : ManagerEnd{.status = 0});
    const QString copy = Project().WorkingCopies().filter(QRegularExpression{u"\\.db$"_s}).value(0);
    QCOMPARE(RowsOfFile(copy, u"SELECT JobID FROM WorkingCopyOutbox"_s), QStringList{u"1"_s});
    RawDatabase{copy}.Execute({u"UPDATE WorkingCopyOutbox SET EndMs = EndMs - %1"_s.arg(age * 1000)});

    const NotificationSink sink{port};
    QVERIFY(Project().Start());
    QTRY_COMPARE(sink.Values("jobexitcode"), age == 0 ? QByteArrayList{"3"} : QByteArrayList{});
    QVERIFY(Manager().Command("list finished jobs").contains("Failed"));
    // The exit code is there also where no notification brought it.
    QVERIFY(Manager().Ctl({u"list"_s, u"finished"_s, u"--json"_s}).out.contains("\"exitcode\":3"));
    QCOMPARE(Manager().Quit(isKilled ? QByteArrayList{"yes", "yes"} : QByteArrayList{"yes"}),
             ManagerEnd{.status = 0});
    QVERIFY(sink.Count() == (age == 0 ? 1 : 0));
    QCOMPARE(Project().WorkingCopies(), QStringList{});
    QVERIFY(RowsOfFile(Project().ProjectPath(), u"SELECT name FROM sqlite_master WHERE name LIKE 'Work%'"_s)
                .isEmpty());
}

void TestRecovery::QuitsAlthoughNobodyTakesANotification()
{
    QVERIFY(Project().AddTestType(u"Quick"_s, u"exit 0"_s));
    QVERIFY(Project().Start());
    const BlackHole hole;
    const NotificationSink sink;
    for (const quint16 port : {hole.Port(), sink.Port()})
        QVERIFY(Manager()
                    .Submit(u"Quick"_s, Project().InputFile(QString::number(port)), u"none"_s, port)
                    .startsWith("accepted="));
    QTRY_COMPARE(sink.Values("jobstatus"), QByteArrayList{"completed"});
    const QElapsedTimer quitting = [] {
        QElapsedTimer timer;
        timer.start();
        return timer;
    }();
    QCOMPARE(Manager().Quit({"yes", "no"}), ManagerEnd{.status = 0});
    // It waits for the connection for ten times as long.
    QVERIFY2(quitting.elapsed() < 5000, qPrintable(QString::number(quitting.elapsed())));
}

QTEST_GUILESS_MAIN(TestRecovery)
#include "test_recovery.moc"
