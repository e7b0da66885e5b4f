// SPDX-License-Identifier: MIT
#include "jobs/jobnotification.h"
#include "jobs/jobrecord.h"
#include "support/samplejobs.h"
#include "support/testcase.h"

using namespace Qt::Literals::StringLiterals;

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
        Taskmill_JobRecord job = SampleJob(SampleJobType(u"Big Type"_s), 1);
        job.ClientGID = -5;
        job.StandardInputFile = u"/W/I"_s;
        job.StandardOutputFile = u"/W/O"_s;
        job.ExitCode = 12;
        const QByteArray lines = "servername=TaskmillGUI\nclientname=host\nclientappname=app\nclientaddress="
                                 "127.0.0.1\nclientport=4711\n"
                                 "clientuid=1000\nclientgid=-5\naction=jobfinished\njobstatus="
                                 "completed\njobexitcode=12\njobclass=class o'9\n"
                                 "jobtypename=big type\njobqueue=long\njobinputfile=/tmp/Gr\xC3\xB6\xC3\x9F"
                                 "e's.mop\njobinputfile2=/tmp/second\n"
                                 "jobstandardinputfile=/W/I\njoboutputfile=/tmp/Gr\xC3\xB6\xC3\x9F"
                                 "e's.out\njobstandardoutputfile=/W/O";
        const auto message = [&job] {
            return Taskmill_JobFinishedMessage(job, u"TaskmillGUI"_s);
        };
        QCOMPARE(message(), lines);
        job.CheckpointFile2 = u"/W/B.chk"_s;
        QCOMPARE(message(), lines + "\njobchkfile1=/W/B.chk");
        job.CheckpointFile = u"/W/A.chk"_s;
        QCOMPARE(message(), lines + "\njobchkfile=/W/A.chk\njobchkfile1=/W/B.chk");
        job.Result.Verdict = Taskmill_Verdict::Error;
        QVERIFY(!Taskmill_SaysResult(message()));
        job.ClientResult = true;
        QByteArray withResult = message();
        QCOMPARE(withResult, lines + "\njobchkfile=/W/A.chk\njobchkfile1=/W/B.chk\njobresult=error");
        Taskmill_SetResult(withResult, {});
        QVERIFY(withResult.endsWith("/W/B.chk\njobresult=none"));
    }
};

QTEST_GUILESS_MAIN(TestJobRecord)
#include "test_jobrecord.moc"
