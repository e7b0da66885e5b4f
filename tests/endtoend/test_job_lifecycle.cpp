// SPDX-License-Identifier: MIT
#include "endtoend/notificationsink.h"
#include "endtoend/processtable.h"
#include "endtoend/projectfixture.h"

using namespace Qt::Literals::StringLiterals;

/// What becomes of jobs, from the request to the row in the project file.
class TestJobLifecycle : public ManagerTest
{
    Q_OBJECT

private Q_SLOTS:
    void KillsOneJobWithAllItsProcesses()
    {
        NotificationSink sink;
        QVERIFY(Project().AddTestType(u"Tree"_s,
                                      u"print begun pid @INFILE.1 child pid @INFILE.2 child session "
                                      "pid @INFILE.3 wait"_s));
        QVERIFY(Project().Start());
        const QString input = Project().InputFile(u"tree.in"_s);
        QCOMPARE(Manager().Submit(u"Tree"_s, input, u"none"_s, sink.Port()), "accepted=1\n");
        QTRY_VERIFY(QFile::exists(input + u".3"_s));
        QList<int> processIDs;
        for (const QString &suffix : {u".1"_s, u".2"_s, u".3"_s})
            processIDs.append(ReadTestFile(input + suffix).toInt());
        QVERIFY(Manager().Ask("kill job 1", "currently running?  "));
        QVERIFY(!Manager().Command("no").contains("was killed"));
        QVERIFY(std::ranges::all_of(processIDs, ProcessTable::IsAlive));
        QVERIFY(Manager().Ask("kill job 1", "currently running?  "));
        QVERIFY(Manager().Command("yes").contains("<Taskmill> Job 1 was killed.\n"));
        QTRY_VERIFY(std::ranges::none_of(processIDs, ProcessTable::IsAlive));
        QTRY_COMPARE(sink.Values("jobstatus"), QByteArrayList{"killed"});

        const ProjectRows rows = SaveAndQuit();
        QVERIFY(rows.queuelessJobs.isEmpty());
        QCOMPARE(rows.finishedJobs.size(), 1);
        QCOMPARE(rows.finishedJobs.first().Status, Taskmill_JobStatus::Killed);
        QCOMPARE(rows.finishedJobs.first().StdOutAndStdErr, u"begun\n"_s);
        QVERIFY(rows.finishedJobs.first().Finished >= rows.finishedJobs.first().Started);
        QCOMPARE(sink.Count(), 1);
    }

    void KeepsTheEndsOfHugeOutput()
    {
        constexpr qint64 kept = 64LL * 1024 * 1024;
        QVERIFY(Project().AddTestType(u"Huge"_s, u"print begin fill 200000000 print end"_s));
        QVERIFY(Project().Start());
        QCOMPARE(Run(Project().InputFile(u"huge.in"_s), {u"--type"_s, u"Huge"_s}).status, 0);
        const QString text = SaveAndQuit().finishedJobs.value(0).StdOutAndStdErr;
        const QString marker =
            u"\n[... %1 bytes of output were left out here ...]\n"_s.arg(200'000'010 - kept);
        QCOMPARE(text.size(), kept + marker.size());
        QCOMPARE(text.indexOf(marker), kept / 2);
        QVERIFY(text.startsWith(u"begin\n"_s));
        QVERIFY(text.endsWith(u"x\nend\n"_s));
    }

    void RunsHundredsOfJobsTwoAtATime()
    {
        constexpr int jobCount = 500;
        if constexpr (isWindows)
            QSKIP("The program that counts is a script of another shell");
        // Each job leaves a mark while it runs, and writes down how many marks there are.
        const QString script =
            Project().InputFile(u"count.sh"_s, "#!/bin/sh\nmkdir \"$1.runs\"\nset -- *.runs \"$1\"\n"
                                               "echo $(($# - 1)) >>counts\nshift $(($# - 1))\n"
                                               "rmdir \"$1.runs\"\necho \"$1\"\n");
        QVERIFY(QFile::setPermissions(script, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        QVERIFY(Project().AddType(u"Count"_s, script, u"@EXEFILE @INFILE"_s));
        QVERIFY(Project().Start());
        NotificationSink sink;
        QByteArrayList inputs;
        for (int number = 1; number <= jobCount; ++number) {
            const QString input = Project().InputFile(u"job%1.in"_s.arg(number), {});
            inputs.append(input.toUtf8());
            QCOMPARE(Manager().Submit(u"Count"_s, input, u"long"_s, sink.Port()),
                     "accepted=" + QByteArray::number(number) + '\n');
        }
        QVERIFY(Manager().Command("set long limit 2").contains("at most 2 jobs"));
        QVERIFY(Manager().Command("unpause long jobs").contains("no longer paused"));
        QTRY_COMPARE_WITH_TIMEOUT(sink.Count(), jobCount, 60'000);

        const ProjectRows rows = SaveAndQuit();
        // The client was notified of each end once, also at the end of the manager.
        QCOMPARE(sink.Values("jobstatus"), QByteArrayList(jobCount, "completed"));
        QByteArrayList notified = sink.Values("jobinputfile");
        std::ranges::sort(notified);
        QByteArrayList sortedInputs = inputs;
        std::ranges::sort(sortedInputs);
        QCOMPARE(notified, sortedInputs);
        const QByteArrayList counts = ReadTestFile(Project().Path(u"counts"_s)).trimmed().split('\n');
        QCOMPARE(counts.count("1") + counts.count("2"), jobCount);
        QVERIFY(counts.contains("2"));

        QVERIFY(rows.longJobs.isEmpty());
        QCOMPARE(rows.finishedJobs.size(), jobCount);
        for (const Taskmill_JobRecord &job : rows.finishedJobs) {
            QCOMPARE(job.StdOutAndStdErr.toUtf8(), inputs[job.JobID - 1] + '\n');
            QVERIFY(job.Submitted <= job.Started);
            QVERIFY(job.Started <= job.Finished);
        }
    }

    void CarriesHardNamesToTheProgram()
    {
        QVERIFY(Project().AddTestType(u"Arguments"_s, u"args @OUTFILE -- \"@INFILE\" @INFILE2"_s,
                                      u"Files (*.in)"_s));
        QVERIFY(Project().Start());
        // Windows has no such names.
        const QString directory =
            isWindows ? u"it's a %PATH% ^ & directory"_s : u"it's a \"hard\\ $HOME * directory\\"_s;
        QVERIFY(QDir{Project().Path({})}.mkdir(directory));
        const QString input = Project().InputFile(
            directory + (isWindows ? u"/Übung 分子 ;`id` $PATH.in"_s : u"/Übung 分子 ;`id` $PATH\\\".in"_s));
        const QString second =
            Project().InputFile(directory + (isWindows ? u"/'second' x"_s : u"/'second' \\"_s));
        QCOMPARE(Run(input, {u"--input2"_s, second}).status, 0);
        const QByteArrayList arguments{
            "--", QDir::toNativeSeparators(input).toUtf8(), QDir::toNativeSeparators(second).toUtf8(), {}};
        QCOMPARE(ReadTestFile(input.chopped(3) + u".out"_s).split('\0'), arguments);
        QCOMPARE(SaveAndQuit().finishedJobs.value(0).InputFilePath, input);
    }

private:
    /// Has the client submit a file without a queue and wait for the job's end.
    [[nodiscard]] CtlResult Run(const QString &file, const QStringList &more = {}) const
    {
        return Manager().Ctl(QStringList{u"submit"_s, file, u"--queue"_s, u"queueless"_s, u"--wait"_s} +
                             more);
    }
    /// Saves the project, quits and reads the file.
    [[nodiscard]] ProjectRows SaveAndQuit()
    {
        if (!Manager().Command("save").contains("The project was saved") ||
            Manager().Quit({"yes"}) != ManagerEnd{.status = 0} || !Manager().Errors().isEmpty())
            return {};
        return Project().Rows();
    }
};

QTEST_GUILESS_MAIN(TestJobLifecycle)
#include "test_job_lifecycle.moc"
