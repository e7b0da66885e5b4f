#include "jobs/jobnotification.h"
#include "jobs/jobrecord.h"
#include "support/testutil.h"

#include <QTcpServer>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

namespace {
Taskmill_JobRecord MakeClientJob()
{
    Taskmill_JobRecord job;
    job.JobClass = u"MyClass"_s;
    job.ClientName = u"Köln"_s;
    job.ClientAppName = u"Client"_s;
    job.ClientAddress = u"127.0.0.1"_s;
    job.ClientPort = 4711;
    job.ClientUID = 1000;
    job.ClientGID = -5;
    job.ClientNotification = true;
    job.JobType.Name = u"Big Type"_s;
    job.QueueName = u"Long"_s;
    job.InputFilePath = u"/W/In.a"_s;
    job.StandardInputFile = u"/W/I"_s;
    job.OutputFile = u"/W/Out.b"_s;
    job.StandardOutputFile = u"/W/O"_s;
    job.Status = Taskmill_JobStatus::Completed;
    return job;
}
} // namespace

/// The records of jobs and job types, and the message about a job.
class TestJobRecord : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { FailOnQtWarnings(); }

    void StatusesAreWordsInAnyCase()
    {
        const QStringList words{u"Unknown"_s,   u"Pending"_s, u"Running"_s, u"Finished"_s,
                                u"Completed"_s, u"Crashed"_s, u"Failed"_s,  u"Killed"_s};
        for (int number = 0; number < words.size(); ++number) {
            const auto status = static_cast<Taskmill_JobStatus>(number);
            QCOMPARE(Taskmill_JobStatusText(status), words[number]);
            QCOMPARE(Taskmill_JobStatusFromText(words[number].toUpper()), status);
            Taskmill_JobRecord job;
            job.SetStatus(status, true);
            QCOMPARE(job.Submitted.isValid(), number == 1);
            QCOMPARE(job.Started.isValid(), number == 2);
            QCOMPARE(job.Finished.isValid(), number >= 3);
        }
        QCOMPARE(Taskmill_JobStatusFromText(u"Complete"_s), Taskmill_JobStatus::Unknown);
    }

    void TimesShowWhatTheClockShowed()
    {
        const auto read = [](const QString &text) {
            return Taskmill_JobTime::FromIsoText(text).IsoText();
        };
        QCOMPARE(read(u"2024-02-29T23:59:58"_s), u"2024-02-29T23:59:58"_s);
        QCOMPARE(read(u"2024-02-29T23:59:58Z"_s), u"2024-02-29T23:59:58"_s);
        QCOMPARE(read(u"2024-02-29T23:59"_s), u"2024-02-29T23:59:00"_s);
        // An hour that a clock leaves out.
        QCOMPARE(read(u"2024-03-31T02:30:00"_s), u"2024-03-31T02:30:00"_s);
        for (const QString &text : {u"2023-02-29T00:00:00"_s, u"2023-01-+1T00:00:00"_s, u"at noon"_s, u""_s})
            QVERIFY2(!Taskmill_JobTime::FromIsoText(text).isValid(), qPrintable(text));
    }

    void OutputFileIsDerivedFromTheInputFile()
    {
        const auto derived = [](const QString &filter, const QString &input) {
            Taskmill_JobRecord job;
            job.JobType.OutputFileFilter = filter;
            job.InputFilePath = input;
            job.OutputFile = u"before"_s;
            job.DeriveOutputFile();
            return job.OutputFile;
        };
        QCOMPARE(derived(u"Files (*.log *.out)"_s, u"/w.d/x.gjf"_s), u"/w.d/x.log"_s);
        QCOMPARE(derived(u"All Files"_s, u"/w/x.gjf"_s), QString{});
        QCOMPARE(derived(u"VELTRA OUTPUT Files (*.zzz)"_s, u"/w/x.VDAT"_s), u"/w/x.vout"_s);
        QCOMPARE(derived(u"VELTRA OUTPUT Files (*.zzz)"_s, u"/w/x.dat"_s), u"/w/x.out"_s);
    }

    void InputFilesBelongToATypeByTheirSuffix()
    {
        const auto matches = [](const QString &filter, const QString &file) {
            Taskmill_JobType jobType;
            jobType.InputFileFilter = filter;
            return jobType.MatchesFile(file);
        };
        const QString veltra = u"Veltra Input Files (*.dat *.vdat)"_s;
        QVERIFY(matches(veltra, u"/w/X.VDAT"_s));
        QVERIFY(!matches(veltra, u"/w/x.dat.gz"_s));
        QVERIFY(!matches(u"*.gjf;*.com"_s, u"x.gjf"_s));
        QVERIFY(!matches(u"Files (gjf .gjf)"_s, u"x.gjf"_s));
        QVERIFY(matches(u"(*.)"_s, u"/w/x"_s));
        QVERIFY(!matches(u"  "_s, u"/w/x"_s));
    }

    void MessageHasEveryLineInOrder()
    {
        Taskmill_JobRecord job = MakeClientJob();
        const QByteArray eighteenLines = "servername=TaskmillGUI\n"
                                         "clientname=K\xC3\xB6ln\n"
                                         "clientappname=Client\n"
                                         "clientaddress=127.0.0.1\n"
                                         "clientport=4711\n"
                                         "clientuid=1000\n"
                                         "clientgid=-5\n"
                                         "action=jobfinished\n"
                                         "jobstatus=completed\n"
                                         "jobexitcode=12\n"
                                         "jobclass=myclass\n"
                                         "jobtypename=big type\n"
                                         "jobqueue=long\n"
                                         "jobinputfile=/W/In.a\n"
                                         "jobinputfile2=\n"
                                         "jobstandardinputfile=/W/I\n"
                                         "joboutputfile=/W/Out.b\n"
                                         "jobstandardoutputfile=/W/O";
        QCOMPARE(Taskmill_JobFinishedMessage(job, 12, u"TaskmillGUI"_s), eighteenLines);
        job.CheckpointFile2 = u"/W/B.chk"_s;
        QCOMPARE(Taskmill_JobFinishedMessage(job, 12, u"TaskmillGUI"_s),
                 eighteenLines + "\njobchkfile1=/W/B.chk");
        job.CheckpointFile = u"/W/A.chk"_s;
        QCOMPARE(Taskmill_JobFinishedMessage(job, 12, u"TaskmillGUI"_s),
                 eighteenLines + "\njobchkfile=/W/A.chk\njobchkfile1=/W/B.chk");
    }

    void KnowsWhoWantsIt()
    {
        const auto isWantedWith = [](auto member, const auto &value) {
            Taskmill_JobRecord job = MakeClientJob();
            job.*member = value;
            return Taskmill_WantsNotification(job, u"TaskmillGUI"_s);
        };
        QVERIFY(isWantedWith(&Taskmill_JobRecord::ClientAppName, u"taskmillgui"_s));
        QVERIFY(!isWantedWith(&Taskmill_JobRecord::ClientAppName, u"TaskmillGUI"_s));
        QVERIFY(!isWantedWith(&Taskmill_JobRecord::ClientAppName, QString{}));
        QVERIFY(!isWantedWith(&Taskmill_JobRecord::ClientName, QString{}));
        QVERIFY(!isWantedWith(&Taskmill_JobRecord::ClientNotification, false));
    }

    void UselessAddressesAreRefused()
    {
        QTcpServer client;
        QVERIFY(client.listen(QHostAddress::LocalHost));
        const int port = client.serverPort();
        QVERIFY(!Taskmill_SendMessage(u"host.invalid"_s, port, "x"));
        // Both become the client's port when all but 16 bits are lost.
        QVERIFY(!Taskmill_SendMessage(u"localhost"_s, port + 65'536, "x"));
        QVERIFY(!Taskmill_SendMessage(u"localhost"_s, port - 65'536, "x"));
        QVERIFY(!client.waitForNewConnection(0));
        client.close();
        QVERIFY(!Taskmill_SendMessage(u"localhost"_s, port, "x"));
    }

    void TellsWhetherItCanRun()
    {
        const QTemporaryDir directory;
        Taskmill_JobRecord good;
        good.Name = u"water"_s;
        good.JobType.Name = u"Program"_s;
        good.JobType.ApplicationName = u"program"_s;
        good.JobType.ExecutablePath = TestProgramPath();
        good.JobType.GenericCommandLine = u"@exefile @infile"_s;
        good.InputFilePath = WriteTestFile(directory.filePath(u"x.in"_s), {});
        QVERIFY(good.IsValid());
        const auto isValidWith = [&good](auto member, const auto &value) {
            Taskmill_JobRecord job = good;
            job.*member = value;
            return job.IsValid();
        };
        QVERIFY(!isValidWith(&Taskmill_JobRecord::InputFilePath, directory.filePath(u"gone"_s)));
        QVERIFY(!isValidWith(&Taskmill_JobRecord::InputFilePath2, u"a\nb"_s));
        const auto isValidWithType = [&](auto member, const auto &value) {
            Taskmill_JobType jobType = good.JobType;
            jobType.*member = value;
            return isValidWith(&Taskmill_JobRecord::JobType, jobType);
        };
        QVERIFY(!isValidWithType(&Taskmill_JobType::Name, QString{}));
        QVERIFY(!isValidWithType(&Taskmill_JobType::ExecutablePath, directory.path()));
        QVERIFY(!isValidWithType(&Taskmill_JobType::GenericCommandLine, u"x @INFILE"_s));
        good.InputFilePath.clear();
        QVERIFY(isValidWithType(&Taskmill_JobType::GenericCommandLine, u"@EXEFILE"_s));
    }
};

QTEST_GUILESS_MAIN(TestJobRecord)
#include "test_jobrecord.moc"
