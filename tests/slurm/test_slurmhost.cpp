// SPDX-License-Identifier: MIT
#include "slurm/sshserver.h"
#include "support/testcase.h"

#include <csignal>

using namespace Qt::Literals::StringLiterals;

/// taskmill-slurm with a cluster behind ssh.
class TestSlurmHost : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void BringsTheResultsBack();
    void UsesTheUsersConnection();
    void RemovesNothingThatDidNotComeBack();

private:
    [[nodiscard]] QStringList Folders() const
    {
        return QDir{Path(u"there"_s)}.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    }
    [[nodiscard]] QString There(const QString &name) const
    {
        return Path(u"there/"_s) + Folders().value(0) + u"/work/"_s + name;
    }
    [[nodiscard]] std::unique_ptr<SlurmFollower> Run(const QByteArray &script,
                                                     const QString &folder = u"here"_s) const
    {
        QDir{Path()}.mkpath(folder);
        WriteTestFile(Path(folder + u"/job.inp"_s), script);
        return std::make_unique<SlurmFollower>(
            m_cluster, Path(folder),
            QStringList{u"--host"_s, u"login"_s, u"--scratch"_s, Path(u"there"_s), u"--copy=*.gbw"_s, u"--"_s,
                        u"sh"_s, QDir{Path(folder)}.canonicalPath() + u"/job.inp"_s});
    }

    SlurmCluster m_cluster;
    SshServer m_server{m_cluster};
};

void TestSlurmHost::initTestCase()
{
    qputenv("TASKMILL_SLURM_INTERVAL", "1");
    QVERIFY(m_cluster.Start());
    QVERIFY(m_server.Start());
}

void TestSlurmHost::BringsTheResultsBack()
{
    const QString here = u"here/"_s;
    QDir{Path()}.mkpath(here);
    WriteTestFile(Path(here + u"old.gbw"_s), "guess\n");
    const QString hard = u"a'b \"c\nd*é"_s;
    WriteTestFile(Path(here + u"unrelated"_s), "mine\n");
    auto run = Run("echo start >>starts\necho printed\necho line >job.out\ncat old.gbw >>old.gbw.seen\n"
                   "printf new >\"a'b \\\"c\nd*é\"\nuntil [ -e go ]; do sleep 0.2; done\necho end >>job.out\n"
                   "echo changed >old.gbw\nmkdir sub\nhead -c 3000000 /dev/zero >sub/large\nexit 4\n");
    QVERIFY(run->Says("printed"));
    // The output is followed.
    QTRY_COMPARE_WITH_TIMEOUT(ReadTestFile(Path(here + u"job.out"_s)), "line\n", 60'000);
    QVERIFY(!QFile::exists(There(u"unrelated"_s)));
    m_server.Vanish();
    QVERIFY(run->Says("this is tried again"));
    WriteTestFile(There(u"go"_s), {});
    if (const int seconds = qEnvironmentVariableIntValue("TASKMILL_TEST_AWAY"); seconds > 0)
        QTest::qWait(1000 * seconds);
    // The follower is lost besides.
    run->Signal(SIGKILL);
    QCOMPARE(run->End(), endedBySignal + SIGKILL);
    QVERIFY(m_server.Start());
    const QDir runs{Path(here) +
                    QDir{Path(here)}.entryList({u".taskmill-slurm-*"_s}, QDir::Dirs | QDir::Hidden).value(0)};
    SlurmFollower second{
        m_cluster,
        Path(u"here"_s),
        {u"--resume"_s, runs.filePath(runs.entryList(QDir::Dirs | QDir::NoDotAndDotDot).value(0))}};
    QCOMPARE(second.End(), 4);
    QVERIFY2(second.Output().contains("printed\n"), second.Output().constData());
    QCOMPARE(ReadTestFile(Path(here + u"job.out"_s)), "line\nend\n");
    QCOMPARE(ReadTestFile(Path(here + u"starts"_s)), "start\n");
    QCOMPARE(ReadTestFile(Path(here + u"old.gbw"_s)), "changed\n");
    QCOMPARE(ReadTestFile(Path(here + u"old.gbw.seen"_s)), "guess\n");
    QCOMPARE(ReadTestFile(Path(here + hard)), "new");
    QCOMPARE(QFileInfo{Path(here + u"sub/large"_s)}.size(), 3'000'000);
    QCOMPARE(Folders(), QStringList{});
}

void TestSlurmHost::UsesTheUsersConnection()
{
    // What the row before has opened would do as well.
    m_server.Vanish();
    QVERIFY(m_server.Start());
    QVERIFY(m_server.OpenUsersConnection());
    auto run = Run("echo value >result\nexit 3\n");
    const int end = run->End();
    m_server.CloseUsersConnection();
    QVERIFY2(end == 3, run->Output().constData());
    QCOMPARE(ReadTestFile(Path(u"here/result"_s)), "value\n");
    QCOMPARE(Folders(), QStringList{});
}

void TestSlurmHost::RemovesNothingThatDidNotComeBack()
{
    // A file cannot take the place of a folder with something in it.
    QDir{Path()}.mkpath(u"here/result"_s);
    WriteTestFile(Path(u"here/result/mine"_s), "mine\n");
    auto run = Run("echo value >result\nexit 0\n");
    QVERIFY(run->Says("the results cannot be copied"));
    QCOMPARE(ReadTestFile(There(u"result"_s)), "value\n");
    QVERIFY(QFile::remove(Path(u"here/result/mine"_s)));
    QVERIFY(QDir{}.rmdir(Path(u"here/result"_s)));
    QCOMPARE(run->End(), 0);
    QCOMPARE(ReadTestFile(Path(u"here/result"_s)), "value\n");
    QCOMPARE(Folders(), QStringList{});
}

QTEST_GUILESS_MAIN(TestSlurmHost)
#include "test_slurmhost.moc"
