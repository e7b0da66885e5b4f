// SPDX-License-Identifier: MIT
#include "endtoend/projectfixture.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTcpSocket>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

namespace {
/// Of each element of a JSON array.
QVariantList Values(const QByteArray &json, const QString &key)
{
    QVariantList values;
    for (const auto element : QJsonDocument::fromJson(json).array())
        values.append(element.toObject().value(key).toVariant());
    return values;
}
} // namespace

/// A manager that is looked at and controlled by the client.
class TestControl : public ManagerTest
{
    Q_OBJECT

private Q_SLOTS:
    void ListsAndEndsJobs();
    void MovesAndHoldsJobs();
    void SavesAndQuits();
    void RefusesWhoDoesNotShowTheKey();

private:
    /// Job 1 has ended, 2 runs, 3 and 4 wait.
    void StartJobs();
    [[nodiscard]] CtlResult Ctl(const QString &line) { return Manager().Ctl(line.split(u' ')); }
    /// Empty when the client ended with success and this line.
    [[nodiscard]] QByteArray Unlike(const QString &line, const QByteArray &out)
    {
        const CtlResult result = Ctl(line);
        return result.status == 0 && result.out == out + '\n' ? QByteArray{} : result.out + result.err;
    }
};

void TestControl::StartJobs()
{
    QVERIFY(Project().AddTestType(u"Wait"_s, u"touch @INFILE.started wait"_s));
    QVERIFY(Project().AddTestType(u"Echo"_s, u"print done"_s));
    QVERIFY(Project().Start());
    QCOMPARE(Manager().Submit(u"Echo"_s, Project().InputFile(u"ends"_s), u"none"_s), "accepted=1\n");
    QTRY_COMPARE(Values(Ctl(u"list finished --json"_s).out, u"id"_s), QVariantList{1});
    QCOMPARE(Unlike(u"unpause long"_s, "The Long Jobs Queue is no longer paused."), "");
    for (const auto name : {"runs"_L1, "waits"_L1, "rests"_L1})
        QVERIFY(Manager().Submit(u"Wait"_s, Project().InputFile(name), u"long"_s).startsWith("accepted="));
    QTRY_VERIFY(QFile::exists(Project().Path(u"runs.started"_s)));
}

void TestControl::ListsAndEndsJobs()
{
    StartJobs();
    QCOMPARE(Values(Ctl(u"list --json"_s).out, u"id"_s), (QVariantList{2, 3, 4, 1}));
    QCOMPARE(Values(Ctl(u"list --since 2 --json"_s).out, u"list"_s), (QVariantList{u"long"_s, u"long"_s}));
    QCOMPARE(Values(Ctl(u"list long --json"_s).out, u"status"_s),
             (QVariantList{u"Running"_s, u"Pending"_s, u"Pending"_s}));
    QCOMPARE(Ctl(u"list short"_s).out, "Short Jobs Queue is Empty\n\n");
    QCOMPARE(Values(Ctl(u"types --json"_s).out, u"name"_s), (QVariantList{u"Wait"_s, u"Echo"_s}));
    QCOMPARE(Values(Ctl(u"types --json --project "_s + Project().ProjectPath()).out, u"name"_s),
             (QVariantList{u"Wait"_s, u"Echo"_s}));
    const QJsonObject job = QJsonDocument::fromJson(Ctl(u"job 2 --json"_s).out).object();
    QCOMPARE(job.value(u"inputfile"_s).toString(), Project().Path(u"runs"_s));
    QVERIFY(Ctl(u"job 1"_s).out.endsWith("\nstdout and stderr:\ndone\n"));

    // A running job goes only when the request says so, and a waiting one cannot be killed.
    QCOMPARE(Ctl(u"remove 2"_s).status, 4);
    QCOMPARE(Ctl(u"kill 3"_s).status, 4);
    QCOMPARE(Ctl(u"job 99"_s).err, "taskmillctl: job was refused: there is no job 99\n");
    QCOMPARE(Values(Ctl(u"list long --json"_s).out, u"id"_s), (QVariantList{2, 3, 4}));
    QCOMPARE(Unlike(u"pause long"_s, "The Long Jobs Queue is paused."), "");
    QCOMPARE(Unlike(u"remove 3"_s, "Job 3 was removed."), "");
    QCOMPARE(Unlike(u"kill 2"_s, "Job 2 was killed."), "");
    // The answer comes when nothing is left of the job.
    QCOMPARE(Values(Ctl(u"list finished --since 1 --json"_s).out, u"status"_s), QVariantList{u"Killed"_s});
    QCOMPARE(Unlike(u"limit long 3 --json"_s, R"({"action":"limitqueue","limit":3,"queue":"long"})"), "");
    QCOMPARE(Unlike(u"unpause long"_s, "The Long Jobs Queue is no longer paused."), "");
    QTRY_VERIFY(QFile::exists(Project().Path(u"rests.started"_s)));
    QCOMPARE(Unlike(u"remove 4 --running"_s, "Job 4 was removed."), "");
    QCOMPARE(Values(Ctl(u"list finished --since 3 --json"_s).out, u"status"_s), QVariantList{u"Killed"_s});
    QCOMPARE(Ctl(u"limit long none"_s).status, 2);
    QCOMPARE(
        Unlike(u"budget cores 2 memory 500 --json"_s,
               R"({"cores":2,"cores_in_use":0,"memory_mb":500,"memory_mb_in_use":0,"on":true,"running":0})"),
        "");
    QCOMPARE(Ctl(u"submit --type Wait --cores 3 "_s + Project().Path(u"runs"_s)).status, 4);
    for (const auto *wrong : {u"--cores many ", u"--cores 1000001 ", u"--memory 0 "})
        QCOMPARE(
            Ctl(u"submit --type Wait "_s + QStringView{wrong}.toString() + Project().Path(u"runs"_s)).status,
            2);
    QCOMPARE(Unlike(u"budget off"_s, "There is no budget: the queues' limits alone count; nothing runs."),
             "");
    for (const char *wrong :
         {"budget cores", "budget off 1", "budget cores 0", "budget cores 1000001", "budget 8"})
        QCOMPARE(Ctl(QString::fromLatin1(wrong)).status, 2);
    QCOMPARE(Ctl(u"pause queueless"_s).status, 2);
}

void TestControl::MovesAndHoldsJobs()
{
    StartJobs();
    const QString file = Project().InputFile(u"later"_s);
    QCOMPARE(Unlike(u"submit --type Wait --after 4 --not-before +1d "_s + file, "Job 5: " + file.toUtf8()),
             "");
    QCOMPARE(Unlike(u"move 5 4 up"_s, "2 jobs were moved up."), "");
    QCOMPARE(Values(Ctl(u"list long --json"_s).out, u"id"_s), (QVariantList{2, 4, 5, 3}));
    QCOMPARE(Unlike(u"hold 3 4 --json"_s, R"({"action":"holdjob","ids":[3,4]})"), "");
    QCOMPARE(Values(Ctl(u"list long --json"_s).out, u"waitreason"_s),
             (QVariantList{u""_s, u"held"_s, u"waits for the end of job 4"_s, u"held"_s}));
    QCOMPARE(Unlike(u"pause long --when-ended"_s,
                    "The Long Jobs Queue pauses when the jobs that are in it now have ended."),
             "");
    QCOMPARE(Unlike(u"kill 2"_s, "Job 2 was killed."), "");
    QCOMPARE(Unlike(u"release 3"_s, "Job 3 was released."), "");
    QCOMPARE(Values(Ctl(u"list long --json"_s).out, u"status"_s),
             (QVariantList{u"Pending"_s, u"Pending"_s, u"Pending"_s}));
    QCOMPARE(Unlike(u"unpause long"_s, "The Long Jobs Queue is no longer paused."), "");
    QTRY_VERIFY(QFile::exists(Project().Path(u"waits.started"_s)));
    QCOMPARE(Ctl(u"estimate long"_s).status, 0);
    QCOMPARE(Unlike(u"quiet 01:00-02:00"_s, "The queues start no jobs in the quiet hours, 01:00-02:00."), "");
    QCOMPARE(Unlike(u"priority low"_s, "Jobs that start from now on have low priority."), "");
    for (const auto *const refused : {u"move 3 up", u"move 99 top", u"hold 4 --after 5",
                                      u"hold 4 --not-before soon", u"quiet 25:00-26:00"})
        QCOMPARE(Ctl(QStringView{refused}.toString()).status, 4);
    for (const auto *const wrong :
         {u"move 4", u"move 4 sideways", u"hold four", u"quiet night", u"priority 3"})
        QCOMPARE(Ctl(QStringView{wrong}.toString()).status, 2);
}

void TestControl::SavesAndQuits()
{
    StartJobs();
    const QString copy = Project().Path(u"copy.mill"_s);
    QCOMPARE(Ctl(u"save "_s + Project().InputFile(u"taken.mill"_s)).status, 4);
    QCOMPARE(QFileInfo{Project().Path(u"taken.mill"_s)}.size(), 6);
    for (const QString &path : {QString{}, copy}) {
        const QString file = QDir::toNativeSeparators(path.isEmpty() ? Project().ProjectPath() : path);
        QCOMPARE(Unlike((u"save "_s + path).trimmed(), "The project was saved to " + file.toUtf8() + '.'),
                 "");
    }
    QVERIFY(QFileInfo{copy}.size() > 0);
    // What TASKMILL_END_JOBS ends does not go on.
    QCOMPARE(Ctl(u"quit --keep"_s).status, 4);
    QCOMPARE(Unlike(u"quit"_s, "The manager ends."), "");
    QCOMPARE(Manager().End(), ManagerEnd{.status = 0});
    QCOMPARE(Ctl(u"list"_s).status, 3);
}

void TestControl::RefusesWhoDoesNotShowTheKey()
{
    QVERIFY(Project().AddTestType(u"Wait"_s, u"wait"_s));
    QVERIFY(Project().Start());
    for (const char *action : {"listjobs", "showjob", "killjob", "removejob", "pausequeue", "unpausequeue",
                               "limitqueue", "budget", "saveproject", "listjobtypes", "movejob", "holdjob",
                               "releasejob", "estimatequeue", "setquiethours", "setpriority", "Quit"}) {
        for (const QByteArray key : {"", "clientkey=\n", "clientkey=0123456789abcdef\n"}) {
            QTcpSocket client;
            client.connectToHost(QHostAddress::LocalHost, Manager().Port());
            client.write(key + "action=" + action + "\nqueuename=long\nclientreply=yes\n");
            QTRY_COMPARE(client.state(), QAbstractSocket::UnconnectedState);
            const QByteArray answer = client.readAll();
            QVERIFY2(answer == "refused=this action needs the manager's key, which taskmillctl sends\n",
                     action);
        }
    }
    QCOMPARE(Ctl(u"test"_s).status, 0);
}

QTEST_GUILESS_MAIN(TestControl)
#include "test_control.moc"
