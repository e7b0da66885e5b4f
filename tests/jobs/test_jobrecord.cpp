// SPDX-License-Identifier: MIT
#include "jobs/jobnotification.h"
#include "jobs/jobrecord.h"
#include "support/testcase.h"

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
class TestJobRecord : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
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
        QCOMPARE(derived(u"Files (*.log)"_s, u"/w.d/x"_s), u"/w.d/x.log"_s);
        QCOMPARE(derived(u"All Files"_s, u"/w/x.gjf"_s), QString{});
        QCOMPARE(derived(u"VELTRA OUTPUT Files (*.zzz)"_s, u"/w/x.VDAT"_s), u"/w/x.vout"_s);
        QCOMPARE(derived(u"VELTRA OUTPUT Files (*.zzz)"_s, u"/w/x.dat"_s), u"/w/x.out"_s);
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
};

QTEST_GUILESS_MAIN(TestJobRecord)
#include "test_jobrecord.moc"
