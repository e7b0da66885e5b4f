// SPDX-License-Identifier: MIT
#include "manager/followedoutput.h"

#include "jobs/jobtime.h"
#include "support/sampleoutput.h"
#include "support/testcase.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <functional>
#include <utility>

using namespace Qt::Literals::StringLiterals;
using namespace SampleOutput;

/// What is taken of the outputs of jobs, and what is not theirs.
class TestFollowedOutput : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void init() override
    {
        TestCase::init();
        m_directory = std::make_unique<QTemporaryDir>();
        m_path = m_directory->filePath(u"job.out"_s);
    }

    void ReadsEachByteOnce_data()
    {
        QTest::addColumn<int>("piece");
        QTest::newRow("one byte after the other") << 1;
        QTest::newRow("pieces that end within a line") << 37;
        QTest::newRow("all at once") << 1'000'000;
    }

    /// What was read twice would be a step too many.
    void ReadsEachByteOnce()
    {
        QFETCH(int, piece);
        Taskmill_FollowedOutput output{Files()};
        QByteArray all = Banner();
        for (int step = 1; step <= 5; ++step)
            all += Step(step, "-5.0" + QByteArray::number(step));
        all += End().chopped(1);
        for (qsizetype begin = 0; begin < all.size(); begin += piece) {
            Append(all.sliced(begin, qMin<qsizetype>(piece, all.size() - begin)));
            ReadAll(output);
        }
        // Only the end of the job ends a line that has no end.
        QCOMPARE(output.State()->Verdict, Taskmill_Verdict::None);
        QVERIFY(!output.IsComplete());
        EndJob(output);
        const Taskmill_ResultState state = output.State();
        QCOMPARE(state->Verdict, Taskmill_Verdict::Normal);
        QCOMPARE(state->Steps, 5);
        QCOMPARE(state->Energies, (std::vector{-5.01, -5.02, -5.03, -5.04, -5.05}));
    }

    void TellsThisRunFromOthers_data()
    {
        using Change = std::function<void(TestFollowedOutput &)>;
        QTest::addColumn<Change>("change");
        QTest::addColumn<int>("steps");
        const auto anew = [](TestFollowedOutput &test) {
            WriteTestFile(test.m_path, Banner() + Step(1) + Step(2) + Step(3) + End());
        };
        QTest::newRow("the file of an earlier run is left alone") << Change{[](auto &) {
        }} << 0;
        QTest::newRow("it is written anew") << Change{anew} << 3;
        QTest::newRow("it is written anew, as long as before") << Change{[](auto &test) {
            WriteTestFile(test.m_path, Banner() + Step(7) + End());
        }} << 1;
        QTest::newRow("it is replaced") << Change{[anew](auto &test) {
            const QString real = std::exchange(test.m_path, test.m_path + u".part"_s);
            anew(test);
            QFile::remove(real);
            QFile::rename(std::exchange(test.m_path, real), real);
        }} << 3;
        QTest::newRow("it is removed and made again") << Change{[anew](auto &test) {
            QFile::remove(test.m_path);
            anew(test);
        }} << 3;
    }

    /// The file is there when the job starts; what it says of its run comes later.
    void TellsThisRunFromOthers()
    {
        QFETCH(std::function<void(TestFollowedOutput &)>, change);
        QFETCH(int, steps);
        WriteTestFile(m_path, Banner() + Step(1) + End());
        // On a busy computer more time than a tick may pass before the file is looked at.
        QFile file{m_path};
        QVERIFY(file.open(QIODevice::ReadWrite));
        QVERIFY(file.setFileTime(QDateTime::currentDateTime().addSecs(-1), QFile::FileModificationTime));
        file.close();
        Taskmill_FollowedOutput output{Files()};
        ReadAll(output);
        QVERIFY(!output.IsOfKnownProgram());
        change(*this);
        EndJob(output);
        QCOMPARE(output.State()->Steps, steps);
        QCOMPARE(output.IsOfKnownProgram(), steps > 0);
    }

    void BeginsAnewWhenTheFileDoes()
    {
        Taskmill_FollowedOutput output{Files()};
        Append(Banner() + Step(1) + Step(2) + End());
        ReadAll(output);
        QCOMPARE(output.State()->Steps, 2);
        WriteTestFile(m_path, Banner() + Step(1));
        ReadAll(output);
        QCOMPARE(output.State()->Steps, 1);
        QCOMPARE(output.State()->Verdict, Taskmill_Verdict::None);
    }

    /// Another job has begun to write the same file before all of it was read.
    void LeavesALaterRunAlone()
    {
        WriteTestFile(m_path, Normal());
        Taskmill_OutputFiles files = Files();
        files.IsAboutToStart = false;
        files.Started = files.Started.addSecs(-60);
        Taskmill_FollowedOutput output{files};
        output.SetOvertaken();
        output.End(files.Started.addSecs(30));
        ReadAll(output);
        QVERIFY(output.IsComplete());
        QVERIFY(!output.IsOfKnownProgram());
    }

    void PassesOverWhatIsNoFile_data()
    {
        QTest::addColumn<QString>("kind");
        for (const char *kind : {"missing", "directory", "pipe", "device"})
            QTest::newRow(kind) << QString::fromLatin1(kind);
    }

    /// What the job prints counts then.
    void PassesOverWhatIsNoFile()
    {
        QFETCH(QString, kind);
        if (kind == "directory"_L1)
            QVERIFY(QDir{}.mkdir(m_path));
        if (kind == "device"_L1)
            m_path = isWindows ? u"NUL"_s : u"/dev/zero"_s;
        if (kind == "pipe"_L1 && !isWindows)
            QCOMPARE(QProcess::execute(u"mkfifo"_s, {m_path}), 0);
        Taskmill_FollowedOutput output{Files()};
        output.AddPrinted(Banner());
        ReadAll(output);
        output.AddPrinted(End());
        EndJob(output);
        QCOMPARE(output.State()->Verdict, Taskmill_Verdict::Normal);
    }

    void PrefersTheFileToWhatIsPrinted()
    {
        Taskmill_FollowedOutput output{Files()};
        output.AddPrinted(Normal());
        ReadAll(output);
        QCOMPARE(output.State()->Verdict, Taskmill_Verdict::Normal);
        Append(Banner() + Unconverged() + End());
        EndJob(output);
        QCOMPARE(output.State()->Verdict, Taskmill_Verdict::NotConverged);
    }

private:
    [[nodiscard]] Taskmill_OutputFiles Files() const
    {
        return {.Paths = {m_path}, .Started = Taskmill_JobTime::Now().ClockTime(), .IsAboutToStart = true};
    }

    void Append(const QByteArray &bytes) const
    {
        QFile file{m_path};
        QVERIFY(file.open(QIODevice::Append));
        QCOMPARE(file.write(bytes), bytes.size());
    }

    static void ReadAll(Taskmill_FollowedOutput &output)
    {
        while (output.Advance(1'000'000)) {
        }
    }

    static void EndJob(Taskmill_FollowedOutput &output)
    {
        output.End(Taskmill_JobTime::Now().ClockTime());
        ReadAll(output);
        QVERIFY(output.IsComplete());
    }

    std::unique_ptr<QTemporaryDir> m_directory;
    QString m_path;
};

QTEST_GUILESS_MAIN(TestFollowedOutput)
#include "test_followedoutput.moc"
