// SPDX-License-Identifier: MIT
#include "jobs/jobneeds.h"

#include "jobs/jobrecord.h"
#include "support/testcase.h"
#include "support/testutil.h"

using namespace Qt::Literals::StringLiterals;

/// What a job takes, from its input, its command line and its job type.
class TestJobNeeds : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void NeedsOfAJob_data()
    {
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<QString>("commandLine");
        QTest::addColumn<QString>("environment");
        QTest::addColumn<QString>("needs");
        const auto add = [](const char *name, const QByteArray &input, const QString &commandLine,
                            const QString &environment, const QString &needs) {
            QTest::newRow(name) << input << commandLine << environment << needs;
        };
        const QString plain = u"@EXEFILE @INFILE"_s;
        const QByteArray route = "#p hf/3-21g\n\ntitle\n\n0 1\nHe\n\n";
        add("nobody says anything", "He 0 0 0\n", plain, {}, u"7 cores, 70 MB"_s);
        add("the input", "%nproc=4\n%mem=1GB\n%chk=a\n" + route, plain, {},
            u"4 cores, 1024 MB, writes a.chk"_s);
        add("a part of a megabyte is one", "%mem=131073\n" + route, plain, {}, u"7 cores, 2 MB"_s);
        add("numbers beyond all measure", "%nproc=2000000000\n%mem=99999999999TB\n" + route, plain, {},
            u"1000000 cores, 1099511627776 MB"_s);
        add("the command line", "He 0 0 0\n", u"@EXEFILE @INFILE --opt -P @NPROCS"_s, {},
            u"3 cores, 70 MB"_s);
        add("the environment", "He 0 0 0\n", plain, u"A=1\nOMP_NUM_THREADS=5,1\n"_s, u"5 cores, 70 MB"_s);
        add("only what stands near the beginning is read", QByteArray(300'000, '\n') + "%nproc=4\n" + route,
            plain, {}, u"7 cores, 70 MB"_s);
    }

    void NeedsOfAJob()
    {
        QFETCH(const QByteArray, input);
        QFETCH(const QString, commandLine);
        QFETCH(const QString, environment);
        Taskmill_JobRecord job;
        job.InputFilePath = WriteTestFile(Path() + u"/a b.gjf"_s, input);
        // The ending is that of the Gaussian inputs here.
        if (!input.contains('#')) {
            job.InputFilePath = WriteTestFile(Path() + u"/a b.xyz"_s, input);
        }
        job.JobType.ExecutablePath = u"/opt/x y/xtb"_s;
        job.JobType.GenericCommandLine = commandLine;
        job.JobType.EnvironmentVariables = environment;
        job.JobType.Cores = 7;
        job.JobType.MemoryMB = 70;
        job.PlaceholderValues = {{u"@NPROCS"_s, u"3"_s}};
        job.InputNeeds = Taskmill_NeedsOfJob(job);
        QString needs = u"%1 cores, %2 MB"_s.arg(job.Cores()).arg(job.MemoryMB());
        for (const QString &file : std::as_const(job.InputNeeds.Written))
            needs += u", writes "_s + file;
        QTEST(needs, "needs");

        // Whoever submits it knows better.
        job.AskedNeeds.Cores = 2;
        job.AskedNeeds.MemoryMB = 3;
        QCOMPARE(job.Cores(), 2);
        QCOMPARE(job.MemoryMB(), 3);
    }

    void WhatIsNoPlainFileSaysNothing()
    {
        QStringList paths{{}, Path(), Path() + u"/none"_s, u"a\0b"_s};
        // Nobody writes to it, so that reading it would wait for ever.
        if (const QString pipe = Path() + u"/pipe"_s; QProcess::execute(u"mkfifo"_s, {pipe}) == 0)
            paths += pipe;
        for (const QString &path : std::as_const(paths))
            QCOMPARE(Taskmill_NeedsOfInput(path), Taskmill_JobNeeds{});
    }
};

QTEST_GUILESS_MAIN(TestJobNeeds)
#include "test_jobneeds.moc"
