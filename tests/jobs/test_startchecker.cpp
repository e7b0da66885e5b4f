// SPDX-License-Identifier: MIT
#include "fakejobstore.h"
#include "jobs/jobbudget.h"
#include "jobs/jobqueue.h"
#include "jobs/queuelessjobslist.h"
#include "jobs/startchecker.h"
#include "kilnutil/drives.h"
#include "kilnutil/filesys.h"
#include "processes/processinspector.h"
#include "support/jobfakes.h"
#include "support/testcase.h"
#include "support/testutil.h"

#include <QDir>
#include <QRandomGenerator>
#include <QSemaphore>

#include <array>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {
constexpr qint64 minute = 60'000;

/// The three places where jobs wait and run, with a look at the files of jobs before they start.
struct Places
{
    explicit Places(Taskmill_StartChecker::Look look = Taskmill_LookAtFiles,
                    std::chrono::milliseconds longestLook = 1min)
        : budget{[this] {
            return now;
        }}
        , checker{std::move(look), longestLook}
    {
        budget.Join(longJobs);
        budget.Join(shortJobs);
        budget.JoinUnasked(queueless);
        for (Taskmill_JobContainer *jobs : All())
            checker.Join(*jobs);
    }

    [[nodiscard]] std::array<Taskmill_JobContainer *, 3> All() { return {&longJobs, &shortJobs, &queueless}; }

    qint64 now = 0; ///< of the budget, in ms
    const std::unique_ptr<Taskmill_ProcessInspector> inspector = Taskmill_MakeSystemProcessInspector();
    FakeJobStore store;
    RecordingFinishedJobsTaker finished;
    Taskmill_JobBudget budget;
    Taskmill_StartChecker checker;
    const Taskmill_JobServices services{.Store = store,
                                        .FinishedJobs = finished,
                                        .Inspector = *inspector,
                                        .Checker = &checker,
                                        .Budget = &budget};
    Taskmill_LongJobsQueue longJobs{services};
    Taskmill_ShortJobsQueue shortJobs{services};
    Taskmill_QueuelessJobsList queueless{services};
};
} // namespace

/// What keeps jobs from being started: their files.
class TestStartChecker : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() override
    {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        TestCase::cleanup();
    }

    /// Files that collide are the same one of four, under whichever name.
    void CollidingJobsNeverRunTogether()
    {
        const quint32 seed = QRandomGenerator::global()->generate();
        qInfo("seed %u", seed);
        QRandomGenerator random{seed};
        QVERIFY(QDir{Path()}.mkpath(u"real"_s));
        const QString other = OtherNameOf(u"real"_s);
        m_folders = {u"real"_s, u"real/../"_s + other, other + u"/../real/none/.."_s};
        for (int file = 0; file < files && !isWindows; ++file)
            QVERIFY(QFile::link(Path(u"real/%1"_s.arg(file)), Path(u"to%1"_s.arg(file))));
        // The server of Wine takes its time for each file.
        const int runs = RunsUnderWine() ? 100 : 1000;
        for (int run = 0; run < runs && !QTest::currentTestFailed(); ++run)
            RunRandomJobs(random, run % 25 == 0);
    }

    void JobsWaitForAWriter()
    {
        Places places;
        places.longJobs.SetMaxRunningJobs(2);
        places.longJobs.AddAll({Writing(1, u"a"_s, {u"wait"_s}), Writing(2, u"a"_s, {u"wait"_s}),
                                Writing(3, u"b"_s, {u"wait"_s})});
        QTRY_COMPARE(places.longJobs.RunningCount(), 1);
        places.longJobs.JobFinishedSlot();
        QTRY_COMPARE(places.longJobs.RunningCount(), 2);
        places.queueless.Add(new Taskmill_Job{Writing(4, u"b"_s, {u"wait"_s})});
        // It is overtaken, and its row says by which.
        QTRY_COMPARE(places.longJobs.JobIDs(), (QList{1, 3, 2}));
        QCOMPARE(ReasonOf(places.longJobs, 2), u"waits for job 1, which writes a"_s);
        QTRY_COMPARE(ReasonOf(places.queueless, 4), u"waits for job 3, which writes b"_s);
        // Nobody lets it start by force, and a queue does not leave it behind when it pauses.
        places.longJobs.IgnoreFilesOf(*places.longJobs.FindByJobID(2));
        places.longJobs.PauseWhenJobsHaveEnded();
        places.longJobs.LookAgain();
        QCOMPARE(places.longJobs.RunningCount(), 2);
        places.longJobs.RemoveByJobIDs({1});
        QTRY_COMPARE(places.longJobs.RunningCount(), 2);
        places.longJobs.RemoveByJobIDs({3});
        QTRY_COMPARE(places.queueless.RunningCount(), 1);
        QCOMPARE(ReasonOf(places.queueless, 4), QString{});
    }

    void FilesHoldJobs_data()
    {
        QTest::addColumn<Taskmill_FileFacts>("facts");
        QTest::addColumn<QString>("reason"); // %1 is the folder; empty when it starts
        QTest::newRow("nothing") << Taskmill_FileFacts{} << QString{};
        QTest::newRow("an input that nobody may read")
            << Taskmill_FileFacts{.IsInputReadable = false, .FreeMB = {}}
            << u"waits until its input can be read"_s;
        QTest::newRow("a folder that cannot be written")
            << Taskmill_FileFacts{.IsFolderWritable = false, .FreeMB = {}}
            << u"waits until it can write into %1"_s;
        QTest::newRow("too little space")
            << Taskmill_FileFacts{.FreeMB = 99} << u"waits for 100 MB of free space, 99 MB free in %1"_s;
        QTest::newRow("just enough space") << Taskmill_FileFacts{.FreeMB = 100} << QString{};
        QTest::newRow("another input") << Taskmill_FileFacts{.IsInputChanged = true, .FreeMB = {}}
                                       << u"held: its input has changed since it was submitted"_s;
    }

    void FilesHoldJobs()
    {
        QFETCH(const Taskmill_FileFacts, facts);
        QFETCH(QString, reason);
        reason.replace(u"%1"_s, QDir::toNativeSeparators(Path()));
        Taskmill_FileFacts now = facts;
        Places places{[&now](const Taskmill_FileQuestion &question) {
            return question.Input.endsWith("2.in"_L1) ? Taskmill_FileFacts{} : now;
        }};
        Taskmill_JobRecord job = Writing(1, u"a"_s, {u"wait"_s});
        job.JobType.LeastFreeMB = 100;
        job.JobType.HoldsChangedInput = true;
        places.longJobs.AddAll({job, Writing(2, u"b"_s, {u"wait"_s})});
        QTRY_COMPARE(places.longJobs.RunningCount(), 1);
        QCOMPARE(ReasonOf(places.longJobs, 1), reason);
        QCOMPARE(places.longJobs.JobIDs().first(), reason.isEmpty() ? 1 : 2);
        if (reason.isEmpty())
            return;
        places.longJobs.SetMaxRunningJobs(2);
        places.checker.TryAgain();
        QCOMPARE(ReasonOf(places.longJobs, 1), reason);
        if (facts.IsInputChanged) {
            // The user may want it with the file as it is.
            places.longJobs.IgnoreFilesOf(*places.longJobs.FindByJobID(1));
            places.longJobs.LookAgain();
        } else {
            now = {};
            places.checker.TryAgain();
        }
        QTRY_COMPARE(places.longJobs.RunningCount(), 2);
        QCOMPARE(ReasonOf(places.longJobs, 1),
                 facts.IsInputChanged ? u"its input has changed since it was submitted"_s : QString{});
    }

    void ADriveThatDoesNotAnswerHoldsUpItsJobsOnly()
    {
        QSemaphore drive;
        QVERIFY(QDir{Path()}.mkpath(u"dead"_s));
        Places places{[&drive](const Taskmill_FileQuestion &question) {
                          if (question.Folder.endsWith("dead"_L1)) {
                              drive.acquire();
                              drive.release();
                          }
                          return Taskmill_FileFacts{};
                      },
                      50ms};
        places.longJobs.SetMaxRunningJobs(3);
        places.longJobs.AddAll({Writing(1, u"dead/a"_s, {u"wait"_s}), Writing(2, u"dead/b"_s, {u"wait"_s}),
                                Writing(3, u"c"_s, {u"wait"_s})});
        QCOMPARE(places.longJobs.RunningCount(), 0);
        QTRY_COMPARE(places.longJobs.RunningCount(), 1);
        const QString reason = u"waits for the drive of %1, which does not answer"_s.arg(
            QDir::toNativeSeparators(Path(u"dead"_s)));
        QCOMPARE(ReasonOf(places.longJobs, 1), reason);
        QCOMPARE(ReasonOf(places.longJobs, 2), reason);
        places.checker.TryAgain();
        QCOMPARE(ReasonOf(places.longJobs, 2), reason);
        drive.release();
        QTRY_COMPARE(places.longJobs.RunningCount(), 3);
    }

    void AJobHeldForItsFilesTakesNobodysTurn()
    {
        Taskmill_FileFacts ofFirst{.FreeMB = 99};
        Places places{[&ofFirst](const Taskmill_FileQuestion &question) {
            return question.Input.endsWith("1.in"_L1) ? ofFirst : Taskmill_FileFacts{};
        }};
        const auto job = [this](int jobID, qint32 cores) {
            Taskmill_JobRecord record = Writing(jobID, QString::number(jobID), {u"wait"_s});
            record.AskedNeeds.Cores = cores;
            record.JobType.LeastFreeMB = 100;
            return record;
        };
        places.longJobs.SetMaxRunningJobs(9);
        places.budget.SetLimits({.Cores = 4});
        places.longJobs.AddAll({job(1, 2), job(2, 2), job(3, 4), job(4, 1)});
        QTRY_COMPARE(places.longJobs.JobIDs(), (QList{2, 4, 1, 3}));
        const QString lacksSpace = ReasonOf(places.longJobs, 1);
        QVERIFY2(lacksSpace.startsWith(u"waits for 100 MB of free space"_s), qPrintable(lacksSpace));

        // It is tried again while there is no room for it.
        places.now += 6 * minute;
        places.checker.TryAgain();
        QTRY_COMPARE(ReasonOf(places.longJobs, 1), lacksSpace);
        places.longJobs.LookAgain();
        places.now += 6 * minute;
        places.shortJobs.AddAll({job(5, 1)});
        QTRY_COMPARE(ReasonOf(places.shortJobs, 5), u"waits for job 3, which has waited long"_s);

        // The third does not lose its turn either to one that is let go, and is held again.
        ofFirst = {};
        places.checker.TryAgain();
        QTRY_COMPARE(ReasonOf(places.longJobs, 1), u"waits for 2 cores, 0 free"_s);
        QCOMPARE(places.shortJobs.RunningCount(), 1);
        ofFirst = {.FreeMB = 98};
        places.longJobs.RemoveByJobIDs({4});
        places.shortJobs.RemoveByJobIDs({5});
        QTRY_VERIFY(ReasonOf(places.longJobs, 1).contains(u"98 MB free"_s));
        places.shortJobs.AddAll({job(6, 1)});
        QTRY_COMPARE(ReasonOf(places.shortJobs, 6), u"waits for job 3, which has waited long"_s);
        places.longJobs.RemoveByJobIDs({2});
        QTRY_COMPARE(places.longJobs.JobIDs(), (QList{3, 1}));
        QCOMPARE(places.longJobs.RunningCount(), 1);
    }

    void LooksAtFiles()
    {
        const QString input = WriteTestFile(Path(u"x.in"_s), "abc");
        QCOMPARE(Taskmill_HashOfInput(input),
                 u"ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"_s);
        QVERIFY(Taskmill_HashOfInput(Path()).isEmpty());
        QVERIFY(QDir{Path()}.mkpath(u"scratch"_s));
        const QString other = OtherNameOf(u"scratch"_s);
        WriteTestFile(Path(u"scratch/there.chk"_s), "old");

        Taskmill_JobRecord job = Writing(1, other + u"/there.chk"_s, {u"wait"_s});
        job.InputFilePath = input;
        job.InputHash = Taskmill_HashOfInput(input);
        job.StandardOutputFile = isWindows ? u"NUL"_s : u"/dev/null"_s;
        job.CheckpointFile = u"scratch/../%1/new.chk"_s.arg(other);
        job.InputNeeds.Written = {u"scratch"_s};
        job.JobType.LeastFreeMB = 1;
        Taskmill_FileFacts facts = Taskmill_LookAtFiles(Taskmill_FileQuestionOf(job));
        QVERIFY(facts.IsInputReadable);
        QVERIFY(facts.IsFolderWritable);
        QVERIFY(!facts.IsInputChanged);
        QVERIFY(facts.FreeMB);
        QVERIFY(*facts.FreeMB > 0);
        const QString scratch = KilnUtil_FileSys::PlaceOf(Path(u"scratch"_s))->Path;
        // Neither a folder nor a device belongs to one job alone.
        QCOMPARE(facts.Written, (QStringList{KilnUtil_FileSys::ComparablePath(scratch + u"/there.chk"_s),
                                             KilnUtil_FileSys::ComparablePath(scratch + u"/new.chk"_s)}));
        WriteTestFile(input, "abd");
        QVERIFY(Taskmill_LookAtFiles(Taskmill_FileQuestionOf(job)).IsInputChanged);
        QVERIFY(KilnUtil_Drives::IsLocal(Path(other + u"/../new.chk"_s)));
        if (!isWindows) {
            QVERIFY(QFile::link(Path(u"endless"_s), Path(u"endless"_s)));
            QVERIFY(!KilnUtil_Drives::IsLocal(Path(u"endless/file"_s)));
        }
        // That it is gone its program says.
        QVERIFY(QFile::remove(input));
        facts = Taskmill_LookAtFiles(Taskmill_FileQuestionOf(job));
        QVERIFY(facts.IsInputReadable);
        QVERIFY(!facts.IsInputChanged);
    }

private:
    /// Makes another name of a folder, where a system has links one of them.
    [[nodiscard]] QString OtherNameOf(const QString &folder) const
    {
        if (isWindows)
            return folder.toUpper();
        return QFile::link(Path(folder), Path(u"link"_s)) ? u"link"_s : u"no link"_s;
    }

    [[nodiscard]] Taskmill_JobRecord Writing(int jobID, const QString &file,
                                             const QStringList &arguments) const
    {
        Taskmill_JobRecord job = MakeTestJob(jobID, Path(), arguments);
        job.InputFilePath = Path(u"%1.in"_s.arg(jobID));
        job.OutputFile = Path(file);
        return job;
    }

    [[nodiscard]] static QString ReasonOf(const Taskmill_JobContainer &jobs, int jobID)
    {
        const Taskmill_Job *job = jobs.FindByJobID(jobID);
        return job ? job->Record().WhyItWaits() : u"no job"_s;
    }

    /// One of four files, as one of the three that a job writes, under one of its names.
    void NameAFile(Taskmill_JobRecord &job, int file, QRandomGenerator &random) const
    {
        const auto folder = random.bounded(isWindows ? m_folders.size() : m_folders.size() + 1);
        const QString name =
            Path(folder < m_folders.size() ? m_folders[folder] + u"/%1"_s : u"to%1"_s).arg(file);
        switch (random.bounded(3)) {
        case 0:
            job.OutputFile = name;
            break;
        case 1:
            job.CheckpointFile = name;
            break;
        default:
            job.InputNeeds.Written.append(name);
        }
    }

    /// Without a program that is there they end quickly.
    void RunRandomJobs(QRandomGenerator &random, bool hasProgram)
    {
        Places places;
        if (random.bounded(2) == 0)
            places.budget.SetLimits({.Cores = random.bounded(1, 5)});
        places.longJobs.SetMaxRunningJobs(random.bounded(1, 5));
        places.shortJobs.SetMaxRunningJobs(random.bounded(1, 5));
        const auto check = [&] {
            QStringList written;
            for (const Taskmill_JobContainer *jobs : places.All()) {
                for (const Taskmill_Job *job : jobs->Jobs()) {
                    if (job->Status() == Taskmill_JobStatus::Running)
                        written += job->Record().Name.split(u' ');
                }
            }
            QCOMPARE(written.removeDuplicates(), 0);
        };
        connect(&places.longJobs, &Taskmill_JobQueue::QueueUpdatedSignal, this, check);
        connect(&places.shortJobs, &Taskmill_JobQueue::QueueUpdatedSignal, this, check);
        connect(&places.queueless, &Taskmill_QueuelessJobsList::ListUpdatedSignal, this, check);
        const int count = random.bounded(2, 6);
        for (int jobID = 1; jobID <= count; ++jobID) {
            Taskmill_JobRecord job = Writing(jobID, u"%1.out"_s.arg(jobID), {u"exit"_s, u"0"_s});
            if (!hasProgram)
                job.JobType.ExecutablePath = Path(u"no program"_s);
            const int file = random.bounded(files);
            job.Name = QString::number(file);
            NameAFile(job, file, random);
            places.All()[static_cast<std::size_t>(random.bounded(3))]->Add(new Taskmill_Job{job});
            if (random.bounded(4) == 0)
                QCoreApplication::processEvents();
        }
        const auto areAllDone = [&places] {
            return std::ranges::all_of(places.All(), [](const Taskmill_JobContainer *jobs) {
                return jobs->WaitingCount() == 0 && jobs->RunningCount() == 0;
            });
        };
        QTRY_VERIFY(areAllDone());
    }

    static constexpr int files = 4;
    QList<QString> m_folders; ///< names of one folder
};

QTEST_GUILESS_MAIN(TestStartChecker)
#include "test_startchecker.moc"
