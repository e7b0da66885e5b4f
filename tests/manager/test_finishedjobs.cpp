// SPDX-License-Identifier: MIT
#include "db/databasetestutil.h"
#include "manager/finishedjobs.h"
#include "manager/finishedremovaldialogue.h"
#include "manager/jobfilter.h"
#include "manager/listings.h"
#include "manager/outbox.h"
#include "support/testmanager.h"

using namespace Qt::Literals::StringLiterals;

namespace {
/// More than are kept when they were read.
constexpr int jobCount = 2100;

/// Texts whose order is easily got wrong, with many that are equal.
QString NameOf(int number)
{
    static const QStringList names{u"b"_s,     u"B"_s,      u"a"_s,           u"äther"_s,
                                   u"Äther"_s, u"a b"_s,    u"molecule_10"_s, u"molecule_9"_s,
                                   u"水"_s,    u"\uFFFD"_s, u"😀"_s,           u"Z"_s};
    const QString &name = names[number * 7 % names.size()];
    return number % 3 == 0 ? name : name + QString::number(number % 50);
}

Taskmill_JobRecord Job(int number)
{
    Taskmill_JobRecord job = SampleJob(SampleJobType(u"Type"_s), number);
    job.Name = NameOf(number);
    job.QueueName = number % 2 == 0 ? u"Long"_s : u"None"_s;
    job.Status = number % 5 == 0 ? Taskmill_JobStatus::Failed : Taskmill_JobStatus::Completed;
    job.StdOutAndStdErr = u"output %1"_s.arg(number);
    job.Submitted = QDateTime{{2024 + number % 3, 1 + number % 12, 1 + number % 28}, {1, 2, number % 60}};
    job.Finished = QDateTime{{2024, 2, 29}, {1, number * 13 % 60, number % 60}};
    job.InputFilePath = u"/data/run %1/in.mop"_s.arg(number % 30);
    if (number % 4 != 0) {
        job.ProcessorMs = number * 7919 % 100'000;
        job.PeakMemoryKB = number * 104'729 % 2'000'000;
        job.ExitCode = job.Status == Taskmill_JobStatus::Failed ? number % 7 - 3 : 0;
        job.Result.Program = u"MOPAC"_s;
        job.Result.Verdict = static_cast<Taskmill_Verdict>(number % 4);
    }
    return job;
}

/// What the column is sorted by in a table of few jobs.
bool IsBefore(const Taskmill_JobRecord &job, const Taskmill_JobRecord &other, int column)
{
    const auto &columns = Taskmill_Listings::FinishedJobsTable();
    if (const auto number = columns.SortNumber(job, column))
        return number < columns.SortNumber(other, column);
    return columns.Text(job, column).toCaseFolded() < columns.Text(other, column).toCaseFolded();
}
} // namespace

/// The list of the jobs that have ended, whose records are read when they are asked for.
class TestFinishedJobs : public TestCase
{
    Q_OBJECT

private:
    /// A database in a file, as a working copy is, or in memory.
    void MakeDatabase(bool inFile)
    {
        auto database = Taskmill_Database_Manager::MakeMemoryDatabase();
        if (inFile)
            database->SetStoragePath(Path(u"work.db"_s));
        m_database = Taskmill_Database_Manager::Global().Adopt(std::move(database));
        QVERIFY(m_database->Open());
        QVERIFY(m_database->CreateTables());
        QVERIFY(m_database->InsertJobType(SampleJobType(u"Type"_s), true));
    }

    void InsertJobs(int count)
    {
        QVERIFY(m_database->AsOneChange([&] {
            for (int number = 1; number <= count; ++number) {
                if (!m_database->InsertFinishedJob(Job(number), true))
                    return false;
            }
            return true;
        }));
    }

    [[nodiscard]] QStringList Rows() const
    {
        return RowsOf(*m_database, u"SELECT JobID FROM FinishedJobs ORDER BY JobID"_s);
    }

    Taskmill_Database *m_database = nullptr;
    RecordingNotifier m_notifier;
    Taskmill_Outbox m_outbox{m_notifier};

private Q_SLOTS:
    void cleanup() override
    {
        Taskmill_Database_Manager::Global().CloseAll();
        TestCase::cleanup();
    }

    void StepsFollowWhatComesAndGoes()
    {
        MakeDatabase(true);
        InsertJobs(20);
        Taskmill_FinishedJobs jobs{m_outbox};
        jobs.Load();
        Taskmill_FinishedPlace place;
        QList<int> seen;
        const auto step = [&](int count) {
            return jobs.ForSome(
                place, count,
                [&seen](const Taskmill_JobRecord &job) {
                    QCOMPARE(job.ProcessorMs, Job(job.JobID).ProcessorMs);
                    seen += job.JobID;
                },
                2);
        };
        QVERIFY(step(3));
        QCOMPARE(seen, (QList{3, 4, 5}));
        // The last one seen, others before and behind it, and one that comes.
        jobs.Remove({0, 3, 4, 5});
        QVERIFY(jobs.AddJob(Job(21)));
        QVERIFY(step(4));
        QVERIFY(!step(100));
        QCOMPARE(seen, (QList{3, 4, 5, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21}));
        // Another project has other jobs.
        place = {};
        QVERIFY(step(3));
        jobs.Load();
        QVERIFY(!step(3));
        QCOMPARE(seen.size(), 21);
    }

    void RecordsAreThoseOfTheirRows()
    {
        MakeDatabase(true);
        InsertJobs(jobCount);
        // Keys that do not follow each other, and one that is used again.
        QVERIFY(m_database->DeleteFinishedJobs({1, 2, 700, jobCount}));
        Taskmill_FinishedJobs jobs{m_outbox};
        jobs.Load();
        QVERIFY(jobs.AddJob(Job(jobCount)));
        QCOMPARE(jobs.Count(), jobCount - 3);
        QList<int> numbers;
        for (int position = 0; position < jobs.Count(); ++position) {
            QCOMPARE(jobs.JobAt(position).JobID, jobs.JobIDAt(position));
            QCOMPARE(jobs.JobAt(position).Name, NameOf(jobs.JobIDAt(position)));
            numbers += jobs.JobIDAt(position);
        }
        QCOMPARE(jobs.OutputOf(jobs.JobAt(0)), u"output 3"_s);
        QCOMPARE(jobs.OutputOf(jobs.JobAt(jobs.Count() - 1)), u"output %1"_s.arg(jobCount));
        // The same all at once, and few of them.
        for (const int since : {Taskmill_FinishedJobs::LowestJobID, jobCount - 5}) {
            QList<int> wanted = numbers;
            wanted.removeIf([since](int number) { return number <= since; });
            QList<int> taken;
            jobs.ForEach(
                [&](const Taskmill_JobRecord &job) {
                    taken += job.JobID;
                    QCOMPARE(job.Name, NameOf(job.JobID));
                },
                since);
            QCOMPARE(taken, wanted);
        }
        QCOMPARE(jobs.PositionOf(3), 0);
        QCOMPARE(jobs.PositionOf(700), -1);
    }

    void OutputsAreReadOnAnyThread_data() { RanksAreInTheOrderOfTheColumn_data(); }

    void OutputsAreReadOnAnyThread()
    {
        QFETCH(const bool, inFile);
        MakeDatabase(inFile);
        Taskmill_JobRecord silent = Job(1);
        silent.StdOutAndStdErr.clear();
        Taskmill_JobRecord job = Job(2);
        job.StdOutAndStdErr = u"äöü 水\n"_s.repeated(200'000);
        QVERIFY(m_database->InsertFinishedJob(silent, true));
        QVERIFY(m_database->InsertFinishedJob(job, true));
        Taskmill_FinishedJobs jobs{m_outbox};
        jobs.Load();
        QVERIFY(!jobs.HasOutput(jobs.JobAt(0)));
        QVERIFY(jobs.HasOutput(jobs.JobAt(1)));
        const Taskmill_OutputText ofSilent = jobs.ReaderOfOutput(jobs.JobAt(0));
        const Taskmill_OutputText ofJob = jobs.ReaderOfOutput(jobs.JobAt(1));
        QByteArrayList read;
        const std::unique_ptr<QThread> thread{QThread::create([&] { read = {ofSilent(), ofJob()}; })};
        thread->start();
        thread->wait();
        QCOMPARE(read.value(0), QByteArray{});
        QVERIFY(read.value(1) == job.StdOutAndStdErr.toUtf8());
        // The database may be another one by then.
        jobs.Clear();
        QVERIFY(!inFile || ofJob().isEmpty());
    }

    /// A row does not say everything: new jobs have another name of their queue, and their job type as it
    /// was.
    void JobsOfThisSessionStayAsTheyWere()
    {
        MakeDatabase(true);
        Taskmill_FinishedJobs jobs{m_outbox};
        jobs.Load();
        Taskmill_JobRecord job = Job(1);
        job.JobType.Name = u"Before"_s;
        AddSampleFields(job);
        QVERIFY(jobs.AddJob(job));
        const auto texts = [&jobs] {
            return Taskmill_Listings::JobFields().Row(jobs.JobAt(0));
        };
        const QStringList before = texts();
        QVERIFY(before.contains(u"None"_s));
        QVERIFY(before.contains(u"Before"_s));
        // So many that it has to be read again.
        for (int number = 2; number <= jobCount; ++number)
            jobs.AddJob(Job(number));
        QCOMPARE(texts(), before);
        QCOMPARE(Taskmill_Listings::JobFields().Row(jobs.Jobs().first()), before);
        jobs.Load();
        QVERIFY(texts().contains(u"Queueless"_s));
        QVERIFY(texts().contains(u"Type"_s));
    }

    void RanksAreInTheOrderOfTheColumn_data()
    {
        QTest::addColumn<bool>("inFile");
        QTest::newRow("on a thread") << true;
        QTest::newRow("in slices, the database being in memory") << false;
    }

    void RanksAreInTheOrderOfTheColumn()
    {
        QFETCH(const bool, inFile);
        MakeDatabase(inFile);
        InsertJobs(jobCount);
        Taskmill_FinishedJobs jobs{m_outbox};
        jobs.Load();
        // One that has no row, and one behind it that has.
        RefuseWrites(*m_database, true);
        QVERIFY(!jobs.AddJob(Job(jobCount + 1)));
        RefuseWrites(*m_database, false);
        QVERIFY(jobs.IsRanked());
        for (int column = 1; column < Taskmill_Listings::FinishedJobsTable().Count(); ++column) {
            QList<quint32> ranks;
            jobs.Rank(column, [&](const QList<quint32> &found) { ranks = found; });
            QTRY_COMPARE(ranks.size(), jobs.Count());
            const QList<Taskmill_JobRecord> records = jobs.Jobs();
            QList<int> order(records.size());
            std::iota(order.begin(), order.end(), 0);
            std::ranges::stable_sort(order, {}, [&](int row) { return ranks[row]; });
            for (qsizetype place = 1; place < order.size(); ++place) {
                const int row = order[place - 1];
                const int next = order[place];
                QVERIFY(!IsBefore(records[next], records[row], column));
                QCOMPARE(ranks[row] == ranks[next], !IsBefore(records[row], records[next], column));
            }
        }
        // What a filter shows is found in the same way.
        for (const auto &filter :
             {Taskmill_JobFilter{u" RUN\t7 molecule "_s, false},
              Taskmill_JobFilter{u"not converged"_s, false}, Taskmill_JobFilter{u"type"_s, true},
              Taskmill_JobFilter{{}, true}, Taskmill_JobFilter{u"nowhere"_s, false}}) {
            QList<bool> matches;
            jobs.Match(filter, [&](const QList<bool> &found) { matches = found; });
            QTRY_COMPARE(matches.size(), jobs.Count());
            for (int position = 0; position < jobs.Count(); ++position)
                QCOMPARE(matches[position], filter.Matches(jobs.JobAt(position)));
        }
    }

    void AFilterLooksForItsWords_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("failedOnly");
        QTest::addColumn<QString>("shown");
        QTest::newRow("nothing is said") << u" "_s << false << u"abcde"_s;
        QTest::newRow("a name in any case") << u"WATER"_s << false << u"ab"_s;
        QTest::newRow("words in other fields") << u"conv water"_s << false << u"b"_s;
        QTest::newRow("a folder") << u"2026/x"_s << false << u"c"_s;
        QTest::newRow("a result") << u"normal"_s << false << u"a"_s;
        QTest::newRow("failed") << u""_s << true << u"bde"_s;
        QTest::newRow("failed, with words") << u"ethanol"_s << true << u"e"_s;
    }

    void AFilterLooksForItsWords()
    {
        QFETCH(const QString, text);
        QFETCH(const bool, failedOnly);
        QFETCH(const QString, shown);
        const auto job = [](const QString &name, Taskmill_JobStatus status, Taskmill_Verdict verdict) {
            Taskmill_JobRecord record = SampleJob(SampleJobType(u"MOPAC"_s), 1);
            record.Name = name;
            record.Status = status;
            record.InputFilePath = name == "c"_L1 ? u"/data/2026/x/in.mop"_s : u"/data/in.mop"_s;
            record.Result.Verdict = verdict;
            record.Result.Program = u"MOPAC"_s;
            return record;
        };
        using Status = Taskmill_JobStatus;
        using Verdict = Taskmill_Verdict;
        const QList<Taskmill_JobRecord> jobs{job(u"Water 1"_s, Status::Completed, Verdict::Normal),
                                             job(u"Water 2"_s, Status::Completed, Verdict::NotConverged),
                                             job(u"c"_s, Status::Killed, Verdict::None),
                                             job(u"d"_s, Status::Completed, Verdict::Error),
                                             job(u"ethanol"_s, Status::Crashed, Verdict::None)};
        QString found;
        for (qsizetype place = 0; place < jobs.size(); ++place) {
            if (Taskmill_JobFilter{text, failedOnly}.Matches(jobs[place]))
                found += QChar{u'a' + static_cast<int>(place)};
        }
        QCOMPARE(found, shown);
    }

    void NoRanksComeForAnotherList()
    {
        MakeDatabase(true);
        InsertJobs(jobCount);
        Taskmill_FinishedJobs jobs{m_outbox};
        jobs.Load();
        int taken = 0;
        const auto take = [&taken](const QList<quint32> &) {
            ++taken;
        };
        jobs.Rank(1, take);
        jobs.Remove({5});
        jobs.Rank(2, take);
        jobs.Rank(1, [&taken](const QList<quint32> &ranks) {
            taken += 10;
            QCOMPARE(ranks.size(), jobCount - 1);
        });
        QTRY_COMPARE(taken, 10);
        // Its database is about to be closed.
        jobs.Rank(1, take);
        jobs.Clear();
        Taskmill_Database_Manager::Global().CloseAll();
        QCoreApplication::processEvents();
        QCOMPARE(taken, 10);
    }

    void OtherJobsThanThoseAskedAboutStay()
    {
        MakeDatabase(true);
        InsertJobs(4);
        Taskmill_FinishedJobs jobs{m_outbox};
        jobs.Load();
        Taskmill_FinishedRemovalDialogue removal{jobs, {1}};
        QVERIFY(removal.Next());
        // Somebody else is faster.
        jobs.Remove({0});
        removal.Answer({.choice = KilnUtil_UserPrompt::WarnAnswer::Yes});
        QCOMPARE(jobs.Count(), 3);
    }

    void ManyRowsGoLittleByLittle()
    {
        MakeDatabase(true);
        InsertJobs(jobCount);
        Taskmill_FinishedJobs jobs{m_outbox};
        jobs.Load();
        QList<int> positions(jobCount - 2);
        std::iota(positions.begin(), positions.end(), 1);
        jobs.Remove(positions);
        QCOMPARE(jobs.Count(), 2);
        QCOMPARE(jobs.Jobs().size(), 2);
        QVERIFY(jobs.AddJob(Job(jobCount + 1)));
        jobs.FinishRemovals();
        QVERIFY(!jobs.IsRemoving());
        QCOMPARE(Rows(), (QStringList{u"1"_s, QString::number(jobCount), QString::number(jobCount + 1)}));
        QCOMPARE(jobs.JobAt(2).JobID, jobCount + 1);
    }
};

QTEST_GUILESS_MAIN(TestFinishedJobs)
#include "test_finishedjobs.moc"
