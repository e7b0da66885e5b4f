#include "endtoend/deafclient.h"
#include "endtoend/notificationsink.h"
#include "endtoend/processtable.h"
#include "endtoend/projectfixture.h"

#include <QtTest>

#include <algorithm>
#include <csignal>

using namespace Qt::Literals::StringLiterals;

/// The manager's own end, while jobs run.
class TestEndings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void SavesAndEndsJobsAtASignal_data();
    void SavesAndEndsJobsAtASignal();
    void EndsAtOnceAtASecondSignal();
    void QuittingEndsJobs();

private:
    [[nodiscard]] ManagerProcess &Manager() { return m_project->Manager(); }
    /// Two long jobs, of which one runs, and one without a queue whose grandchild has a session of its own.
    void StartJobs(quint16 notificationPort = 0);

    std::unique_ptr<ProjectFixture> m_project;
};

void TestEndings::init()
{
    FailOnQtWarnings();
    m_project = std::make_unique<ProjectFixture>();
    QVERIFY(m_project->AddTestType(u"Wait"_s, u"touch @INFILE.started wait"_s));
    QVERIFY(m_project->AddTestType(u"Tree"_s, u"child child session touch @INFILE.started wait"_s));
}

void TestEndings::cleanup()
{
    m_project.reset();
}

void TestEndings::StartJobs(quint16 notificationPort)
{
    const auto submit = [&](const QString &jobType, const QString &name, const QString &queue) {
        return Manager().Submit(jobType, m_project->InputFile(name), queue, notificationPort);
    };
    QVERIFY(Manager().Command("unpause long jobs").contains("no longer paused"));
    QCOMPARE(submit(u"Wait"_s, u"runs"_s, u"long"_s), "accepted=1\n");
    QCOMPARE(submit(u"Wait"_s, u"waits"_s, u"long"_s), "accepted=2\n");
    QCOMPARE(submit(u"Tree"_s, u"tree"_s, u"none"_s), "accepted=3\n");
    QTRY_VERIFY(QFile::exists(m_project->Path(u"runs.started"_s)) &&
                QFile::exists(m_project->Path(u"tree.started"_s)));
    QVERIFY(!QFile::exists(m_project->Path(u"waits.started"_s)));
}

void TestEndings::SavesAndEndsJobsAtASignal_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGHUP") << SIGHUP;
}

void TestEndings::SavesAndEndsJobsAtASignal()
{
    QFETCH(int, signal);
    NotificationSink sink;
    QVERIFY(m_project->Start());
    StartJobs(sink.Port());

    Manager().Signal(signal);
    QCOMPARE(Manager().End(), ManagerEnd{.status = 0});
    QTRY_VERIFY(ProcessTable::LivingChildren().isEmpty());
    QCOMPARE(Manager().Errors(), "");
    QTRY_COMPARE(sink.Values("jobstatus"), (QByteArrayList{"killed", "killed"}));

    // What ran is to wait again when the project is opened the next time.
    const ProjectRows rows = m_project->Rows();
    QCOMPARE(rows.longJobs.size(), 2);
    QCOMPARE(rows.longJobs[0].JobID, 1);
    QCOMPARE(rows.longJobs[0].InputFilePath, m_project->Path(u"runs"_s));
    QCOMPARE(rows.longJobs[1].JobID, 2);
    QCOMPARE(rows.queuelessJobs.size(), 1);
    QCOMPARE(rows.queuelessJobs[0].JobID, 3);
    QVERIFY(rows.finishedJobs.isEmpty());
}

void TestEndings::EndsAtOnceAtASecondSignal()
{
    const DeafClient client;
    QVERIFY(m_project->Start());
    StartJobs(client.Port());
    const QList<int> running = ProcessTable::LivingChildren();
    QCOMPARE(running, QList<int>{Manager().ProcessID()});

    // The first job is ended, and the manager waits for the client to hear of it.
    Manager().Signal(SIGTERM);
    QTRY_COMPARE(m_project->Rows().longJobs.size(), 2);
    Manager().Signal(SIGTERM);
    QCOMPARE(Manager().End(), ManagerEnd{.signal = SIGTERM});
    QTRY_VERIFY(ProcessTable::LivingChildren().isEmpty());
    QCOMPARE(m_project->Rows().queuelessJobs.size(), 1);
}

void TestEndings::QuittingEndsJobs()
{
    QVERIFY(m_project->Start());
    StartJobs();
    QCOMPARE(Manager().Quit({"yes", "yes"}), ManagerEnd{.status = 0});
    QTRY_VERIFY(ProcessTable::LivingChildren().isEmpty());
    QCOMPARE(m_project->Rows().longJobs.size(), 2);
    QCOMPARE(m_project->Rows().queuelessJobs.size(), 1);
}

QTEST_GUILESS_MAIN(TestEndings)
#include "test_endings.moc"
