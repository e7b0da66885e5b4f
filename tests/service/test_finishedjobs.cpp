#include "db/database.h"
#include "service/finishedjobs.h"
#include "support/testmanager.h"
#include "support/testutil.h"

#include <QtTest>

using namespace Qt::Literals::StringLiterals;

class TestFinishedJobs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void LongOutputIsKeptOnce();
};

void TestFinishedJobs::LongOutputIsKeptOnce()
{
    FailOnQtWarnings();
    TestManager manager;
    manager.NewProject();
    const std::unique_ptr<Taskmill_Job> made{
        manager.NewJob(manager.AddJobType(u"Run"_s, u"exit 0"_s), manager.InputFile(u"a.in"_s))};
    Taskmill_JobRecord job = made->Record();
    job.SetStatus(Taskmill_JobStatus::Completed, true);
    const QString longOutput{Taskmill_FinishedJobs::LongestOutputKept + 1, u'\u00e4'};
    const QString shortOutput = u"ended normally"_s;
    for (const QString &output : {longOutput, shortOutput}) {
        ++job.JobID;
        job.StdOutAndStdErr = output;
        QVERIFY(manager.finishedJobs.AddJob(job));
    }
    const auto outputsAreWhole = [&] {
        const QList<Taskmill_JobRecord> &jobs = manager.finishedJobs.Jobs();
        QVERIFY(jobs[0].StdOutAndStdErr.isEmpty());
        QVERIFY(manager.finishedJobs.HasOutput(jobs[0]));
        QVERIFY(manager.finishedJobs.OutputOf(jobs[0]) == longOutput);
        QCOMPARE(manager.finishedJobs.OutputOf(jobs[1]), shortOutput);
    };
    outputsAreWhole();

    const QString file = manager.Path(u"saved.mill"_s);
    QVERIFY(manager.project.SaveProjectAs(file));
    outputsAreWhole();
    QVERIFY(manager.project.OpenProject(file));
    outputsAreWhole();

    manager.finishedJobs.Clear();
    job.StdOutAndStdErr.clear();
    QVERIFY(!manager.finishedJobs.HasOutput(job));
}

QTEST_GUILESS_MAIN(TestFinishedJobs)
#include "test_finishedjobs.moc"
