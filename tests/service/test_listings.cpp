#include "service/listings.h"

#include "fakeinspector.h"
#include "service/consoleactions.h"
#include "service/runningjobs.h"
#include "service/timetext.h"
#include "support/testmanager.h"
#include "support/testutil.h"

#include <QtTest>

using namespace Qt::Literals::StringLiterals;

namespace {
Taskmill_JobRecord Job(int jobID, const QString &name)
{
    Taskmill_JobRecord job;
    job.JobID = jobID;
    job.Name = name;
    job.JobType.Name = u"T"_s;
    job.JobType.ExecutablePath = u"/bin/t"_s;
    job.JobType.GenericCommandLine = u"/bin/t go"_s;
    return job;
}
} // namespace

class TestListings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_manager.reset(); }
    void Queue();
    void HeadingsOfQueues_data();
    void HeadingsOfQueues();
    void FinishedJobs();
    void JobTypes();
    void Processes();

private:
    std::unique_ptr<TestManager> m_manager;
};

void TestListings::init()
{
    FailOnQtWarnings();
    m_manager = std::make_unique<TestManager>();
    m_manager->NewProject();
}

void TestListings::Queue()
{
    Taskmill_JobRecord water = Job(12, u"water"_s);
    // Each job keeps to its line.
    water.JobType.GenericCommandLine = u"/bin/t go\nline two"_s;
    m_manager->longJobs.Replace({water, Job(7, u"longer\nname"_s)});
    const auto submitted = Taskmill_TimeText(m_manager->longJobs.Jobs().JobAt(0)->Record().Submitted);
    const QString listing = m_manager->longJobs.ListingText();
    QCOMPARE(QString{listing}.replace(submitted, u"MM-dd-yyyy hh:mm:ss"_s),
             u"\nLong Jobs Queue\n"
             "Job ID  Name         Status   Job Type  Executable Path  Command Line        Submitted         "
             "   Started\n"
             "-----------------------------------------------------------------------------------------------"
             "----------\n"
             "12      water        Pending  T         /bin/t           /bin/t go line two  MM-dd-yyyy "
             "hh:mm:ss         \n"
             "7       longer name  Pending  T         /bin/t           /bin/t go           MM-dd-yyyy "
             "hh:mm:ss         \n"
             "\n"_s);
}

void TestListings::HeadingsOfQueues_data()
{
    QTest::addColumn<Taskmill_Destination>("destination");
    QTest::addColumn<QString>("heading");
    QTest::newRow("long") << Taskmill_Destination::Long << u"\nLong Jobs Queue"_s;
    QTest::newRow("short") << Taskmill_Destination::Short << u"\nShort Jobs Queue"_s;
    QTest::newRow("queueless") << Taskmill_Destination::Queueless << u"\nQueueless Jobs List"_s;
}

void TestListings::HeadingsOfQueues()
{
    QFETCH(const Taskmill_Destination, destination);
    QFETCH(const QString, heading);
    Taskmill_QueueOwner *owner = m_manager->tabs.OwnerOf(destination);
    QCOMPARE(owner->ListingText(), heading + u" is Empty\n\n"_s);
    owner->Submit(m_manager->NewJob(m_manager->AddJobType(u"Run"_s, u"wait"_s)));
    QVERIFY(owner->ListingText().startsWith(heading + u"\nJob ID  Name   Status "_s));
    QCOMPARE(owner->ListingText().count(u'\n'), 6);
}

void TestListings::FinishedJobs()
{
    QCOMPARE(m_manager->finishedJobs.ListingText(), u"\nFinished Jobs List is Empty\n\n"_s);
    Taskmill_JobRecord killed = Job(12, u"water"_s);
    killed.Status = Taskmill_JobStatus::Killed;
    killed.QueueName = u"None"_s;
    killed.Submitted = QDateTime{QDate{2023, 12, 31}, QTime{23, 59, 58}};
    Taskmill_JobRecord completed = Job(7, u"longer name"_s);
    completed.Status = Taskmill_JobStatus::Completed;
    completed.QueueName = u"Queueless"_s;
    completed.Submitted = QDateTime{QDate{2024, 1, 2}, QTime{3, 4, 5}};
    completed.Started = QDateTime{QDate{2024, 1, 2}, QTime{3, 4, 6}};
    completed.Finished = QDateTime{QDate{2024, 2, 29}, QTime{0, 0}};
    m_manager->finishedJobs.SetJobs({killed, completed});
    QCOMPARE(m_manager->finishedJobs.ListingText(),
             u"\nFinished Jobs\n"
             "Job ID  Name         Status     Job Type  Queue      Executable Path  Command Line  Submitted  "
             "          Started              Finished           \n"
             "-----------------------------------------------------------------------------------------------"
             "--------------------------------------------------\n"
             "12      water        Killed     T         None       /bin/t           /bin/t go     12-31-2023 "
             "23:59:58                                          \n"
             "7       longer name  Completed  T         Queueless  /bin/t           /bin/t go     01-02-2024 "
             "03:04:05  01-02-2024 03:04:06  02-29-2024 00:00:00\n"
             "\n"_s);
}

void TestListings::JobTypes()
{
    Taskmill_RunningJobs running{*m_manager->inspector, m_manager->jobTypes};
    const Taskmill_ConsoleActions actions{{.Tabs = m_manager->tabs,
                                           .RunningJobs = running,
                                           .JobTypes = m_manager->jobTypes,
                                           .Submitter = m_manager->submitter,
                                           .Project = m_manager->project,
                                           .Notice = {},
                                           .Exit = {}}};
    QCOMPARE(actions.JobTypeListing(), u"\nJob Types List is Empty\n\n"_s);
    Taskmill_JobType one{.JobTypeID = 0,
                         .Name = u"One"_s,
                         .ApplicationName = u"a"_s,
                         .ExecutablePath = u"/a"_s,
                         .DefaultQueue = u"Short"_s,
                         .GenericCommandLine = u"@EXEFILE x\nstdin"_s,
                         .InputFileFilter = u"In (*.in)"_s,
                         .OutputFileFilter = u"Out (*.out)"_s,
                         .EnvironmentVariables = u"A=1\nB=2"_s};
    Taskmill_JobType two;
    two.Name = u"Two"_s;
    two.ApplicationName = u"b"_s;
    two.ExecutablePath = u"/b"_s;
    two.DefaultQueue = u"Queueless"_s;
    two.GenericCommandLine = u"@EXEFILE"_s;
    // The listing shows what the database holds, whoever wrote it.
    QVERIFY(TestManager::Database().InsertJobType(one, true));
    QVERIFY(TestManager::Database().InsertJobType(two, true));
    QCOMPARE(actions.JobTypeListing(),
             u"\nJob Types\n"
             "DBID  Name  Application Name  Executable Path  Default Queue  Input File Filter  Output File "
             "Filter  Environment Variables  Generic Command Line\n"
             "-----------------------------------------------------------------------------------------------"
             "-------------------------------------------------\n"
             "0     One   a                 /a               Short          In (*.in)          Out (*.out)   "
             "      A=1 ; B=2              @EXEFILE x stdin    \n"
             "1     Two   b                 /b               Queueless                                       "
             "                             @EXEFILE            \n"
             "\n"_s);
}

void TestListings::Processes()
{
    FakeInspector inspector;
    Taskmill_RunningJobs running{inspector, m_manager->jobTypes};
    running.SetOnlyShowKnownJobTypes(false);
    Taskmill_ProcessRecord first;
    first.ProcessId = u"17"_s;
    first.ParentProcessId = u"1"_s;
    first.Name = u"t"_s;
    first.ExecutionState = u"S"_s;
    first.ExecutablePath = u"/bin/t"_s;
    first.CommandLine = u"t %s %1 go"_s;
    Taskmill_ProcessRecord second;
    second.ProcessId = u"9"_s;
    second.ParentProcessId = u"17"_s;
    second.Name = u"other"_s;
    inspector.Processes = {first, second};
    QCOMPARE(running.ListingText(),
             u"\nRunning Jobs\n"
             "User  Process ID  Parent Process ID  App Name  Status  App Path  Command Line\n"
             "-----------------------------------------------------------------------------\n"
             "      17          1                  t         S       /bin/t    t %s %1 go  \n"
             "      9           17                 other                                   \n"
             "\n"_s);
}

QTEST_GUILESS_MAIN(TestListings)
#include "test_listings.moc"
