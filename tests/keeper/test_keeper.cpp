// SPDX-License-Identifier: MIT
#include "keeperfixture.h"

#include "support/testutil.h"

#include <QRegularExpression>
#include <QTest>

#include <cerrno>
#include <csignal>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using Kind = Taskmill_RunReport::Kind;
using How = Taskmill_RunEnd::How;
using By = Taskmill_RunEnd::By;

namespace {
constexpr rlim_t megabyte = 1024UL * 1024;

/// While it lives, no file of what this program starts grows beyond that, as on a full disk.
class FileSizeLimitOfPrograms
{
public:
    explicit FileSizeLimitOfPrograms(rlim_t bytes)
    {
        getrlimit(RLIMIT_FSIZE, &m_before);
        Set(getpid(), bytes);
    }
    ~FileSizeLimitOfPrograms() { setrlimit(RLIMIT_FSIZE, &m_before); }
    Q_DISABLE_COPY_MOVE(FileSizeLimitOfPrograms)

    /// As when the disk fills, or somebody has made room.
    void Set(long long process, rlim_t bytes) const
    {
        const rlimit limit{.rlim_cur = bytes, .rlim_max = m_before.rlim_max};
        prlimit(static_cast<pid_t>(process), RLIMIT_FSIZE, &limit, nullptr);
    }
    void Lift(long long process) const
    {
        prlimit(static_cast<pid_t>(process), RLIMIT_FSIZE, &m_before, nullptr);
    }

private:
    rlimit m_before{};
};
} // namespace

class TestKeeper : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void recordsHowARunEnds_data();
    void recordsHowARunEnds();
    void sumsUpWhatARunUses();
    void aFreeKeeperTakesTheNextRun();
    void takesALongEnvironment();
    void storesOutputWhileTheRunGoesOn();
    void keepsTheFirstAndTheLastOfMuchOutput();
    void writesOverTheOldestAfterTheHead();
    void drainsWhatAScriptLeavesInTheBackground();
    void writesIntoTheFileOfTheOrder();
    void dropsOutputOnAFullDisk();
    void recordsTheEndWhenThereIsRoomAgain();
    void startsNothingThatItCannotRecord();
    void aFullDiskTakesNeitherHeadNorTail();

private:
    std::unique_ptr<KeeperFixture> m_keepers;
};

void TestKeeper::init()
{
    FailOnQtWarnings();
    m_keepers = std::make_unique<KeeperFixture>();
}

void TestKeeper::cleanup()
{
    m_keepers.reset();
}

void TestKeeper::recordsHowARunEnds_data()
{
    QTest::addColumn<QByteArray>("changed");
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<QByteArray>("verb");
    QTest::addColumn<How>("how");
    QTest::addColumn<int>("code");

    const QByteArray unchanged;
    QTest::newRow("exit code") << unchanged << unchanged << QByteArray{"exit 3"} << How::Exit << 3;
    QTest::newRow("signal") << unchanged << unchanged << QByteArray{"crash"} << How::Signal << SIGABRT;
    QTest::newRow("no such program") << QByteArray{"program"} << QByteArray{"/no/such"}
                                     << QByteArray{"exit 0"} << How::NotStarted << ENOENT;
    QTest::newRow("program that may not run") << QByteArray{"program"} << QByteArray{"/etc/passwd"}
                                              << QByteArray{"exit 0"} << How::NotStarted << EACCES;
    QTest::newRow("no such directory") << QByteArray{"directory"} << QByteArray{"/no/such"}
                                       << QByteArray{"exit 0"} << How::NotStarted << ENOENT;
    QTest::newRow("pipe as input") << QByteArray{"input"} << QByteArray{"pipe"} << QByteArray{"stdin"}
                                   << How::NotStarted << EINVAL;
    QTest::newRow("output that cannot be written") << QByteArray{"output"} << QByteArray{"/no/such/file"}
                                                   << QByteArray{"exit 0"} << How::NotStarted << ENOENT;
}

void TestKeeper::recordsHowARunEnds()
{
    QFETCH(QByteArray, changed);
    QFETCH(QByteArray, value);
    QFETCH(QByteArray, verb);
    QFETCH(How, how);
    QFETCH(int, code);
    QVERIFY(m_keepers->StartNursery());
    QList<std::string> words;
    for (const QByteArray &word : verb.split(' '))
        words.append(word.toStdString());
    Taskmill_RunOrder order = m_keepers->Order(words);
    std::string *part = changed == "program"     ? &order.program
                        : changed == "directory" ? &order.directory
                        : changed == "input"     ? &order.inputPath
                                                 : &order.outputPath;
    *part = changed == "program" || !value.isEmpty() ? value.toStdString() : *part;
    if (value == "pipe") {
        order.inputPath = m_keepers->JobFolder() + "/pipe";
        QCOMPARE(mkfifo(order.inputPath.c_str(), S_IRUSR | S_IWUSR), 0);
    }
    const std::string wanted = *part;

    m_keepers->Start(order);
    const Taskmill_RunReport report = m_keepers->Wait(Kind::Ended);
    QCOMPARE(report.kind, Kind::Ended);
    QCOMPARE(report.end.how, how);
    QCOMPARE(report.end.code, code);
    QCOMPARE(report.end.by, By::Itself);
    if (how == How::NotStarted)
        QCOMPARE(report.failedFile, wanted);
    QVERIFY(m_keepers->RecordedEnd(order.runID) == report.end);
}

void TestKeeper::sumsUpWhatARunUses()
{
    QVERIFY(m_keepers->StartNursery());
    m_keepers->Start(m_keepers->Script("dd if=/dev/zero of=/dev/null bs=64M count=20 2>/dev/null; true"));
    const Taskmill_RunReport report = m_keepers->Wait(Kind::Ended);
    constexpr long long blockKB = 64LL * 1024;
    QVERIFY(report.end.peakMemoryKB >= blockKB);
    QVERIFY(report.end.peakMemoryKB < 2 * blockKB);
    QVERIFY(report.end.processorMs > 0);
    QVERIFY(report.end.startMs > 0);
    QVERIFY(report.end.endMs >= report.end.startMs);
}

void TestKeeper::aFreeKeeperTakesTheNextRun()
{
    QVERIFY(m_keepers->StartNursery());
    const Taskmill_RunOrder first = m_keepers->Order({"waitfor", "one", "print", "first", "exit", "3"});
    const long long keeper = m_keepers->LeaveFreeKeeper(first, "one");
    QVERIFY(keeper > 0);
    // Nothing of the first is left to the second.
    const Taskmill_RunOrder second = m_keepers->Order({"waitfor", "two", "print", "second"});
    QCOMPARE(m_keepers->LeaveFreeKeeper(second, "two"), keeper);
    QCOMPARE(m_keepers->RecordedEnd(first.runID).value_or(Taskmill_RunEnd{}).code, 3);
    QCOMPARE(m_keepers->RecordedEnd(second.runID).value_or(Taskmill_RunEnd{.code = -1}).code, 0);
    QCOMPARE(m_keepers->Output(first.runID), "first\n");
    QCOMPARE(m_keepers->Output(second.runID), "second\n");
    // Killed while it waits, it is missed by nobody.
    QCOMPARE(kill(static_cast<pid_t>(keeper), SIGKILL), 0);
    QTRY_VERIFY_WITH_TIMEOUT(!KeeperFixture::IsProcessThere(keeper), KeeperFixture::WaitMs);
    const long long other = m_keepers->LeaveFreeKeeper(m_keepers->Order({"waitfor", "three"}), "three");
    QVERIFY(other > 0);
    QVERIFY(other != keeper);
    // What still has something to drain is not free.
    m_keepers->Start(m_keepers->Script("(until [ -e end ]; do sleep 0.05; done) & exit 0"));
    QVERIFY(!m_keepers->Wait(Kind::Ended).isKeeperFree);
    m_keepers->Touch("end");
}

void TestKeeper::takesALongEnvironment()
{
    QVERIFY(m_keepers->StartNursery());
    Taskmill_RunOrder order = m_keepers->Script("echo ${#LONG9} ${#LONG0} $TASKMILL_RUN_ID");
    constexpr std::size_t length = 100'000;
    for (int number = 0; number < 10; ++number)
        order.environment.push_back("LONG" + std::to_string(number) + '=' + std::string(length, 'x'));
    order.environment.emplace_back("TASKMILL_RUN_ID=of an outer run");
    m_keepers->Start(order);
    QCOMPARE(m_keepers->Wait(Kind::Ended).end.how, How::Exit);
    QCOMPARE(m_keepers->Output(order.runID),
             QByteArray::fromStdString("100000 100000 " + order.runID + '\n'));
}

void TestKeeper::storesOutputWhileTheRunGoesOn()
{
    QVERIFY(m_keepers->StartNursery());
    const Taskmill_RunOrder order = m_keepers->Order({"print", "first", "waitfor", "go", "error", "second"});
    m_keepers->Start(order);
    QVERIFY(m_keepers->Run().Watch(0));
    QCOMPARE(m_keepers->Wait(Kind::Output).outputBytes, 6LL);
    const Taskmill_RunOutput output{m_keepers->Folder(), order.runID};
    long long offset = 0;
    QCOMPARE(output.ReadFrom(offset, 100, false), std::string{"first\n"});
    QVERIFY(m_keepers->Run().Watch(offset));
    m_keepers->Touch("go");
    QCOMPARE(m_keepers->Wait(Kind::Output).outputBytes, 13LL);
    QCOMPARE(output.ReadFrom(offset, 100, false), std::string{"second\n"});
    QCOMPARE(m_keepers->Wait(Kind::Ended).end.outputBytes, 13LL);
}

void TestKeeper::keepsTheFirstAndTheLastOfMuchOutput()
{
    QVERIFY(m_keepers->StartNursery());
    const Taskmill_RunOrder order = m_keepers->Script("seq 10000001 44000000");
    m_keepers->Start(order);
    // Somebody looks at it meanwhile: what he sees is never torn in the middle of the ring.
    const Taskmill_RunOutput output{m_keepers->Folder(), order.runID};
    constexpr long long lineSize = 9;
    Taskmill_RunReport report;
    for (long long offset = 0; report.kind != Kind::Ended;) {
        QVERIFY(m_keepers->Run().IsOpen());
        report = m_keepers->Run().Receive();
        // He comes late, so that he reads where the keeper is about to write.
        if (report.kind != Kind::Ended && output.TotalSize() < 100'000'000)
            continue;
        const long long before = offset;
        const std::string piece = output.ReadFrom(offset, 1 << 20, false);
        const long long begin = offset - static_cast<long long>(piece.size());
        QVERIFY(begin >= before);
        const long long first = (begin + lineSize - 1) / lineSize;
        const auto place = static_cast<std::size_t>(first * lineSize - begin);
        if (piece.size() >= place + lineSize)
            QCOMPARE(std::stoll(piece.substr(place, lineSize)), first + 10'000'001);
    }
    QCOMPARE(report.end.outputBytes, 34'000'000LL * lineSize);
    QCOMPARE(output.TotalSize(), report.end.outputBytes);

    constexpr qsizetype half = 32L * 1024 * 1024;
    const QByteArray gap = "\n[... " + QByteArray::number(report.end.outputBytes - 2 * half) +
                           " bytes of output were left out here ...]\n";
    const QByteArray kept = m_keepers->Output(order.runID);
    QCOMPARE(kept.size(), 2 * half + gap.size());
    QCOMPARE(kept.mid(half, gap.size()), gap);
    QCOMPARE(kept.left(2 * lineSize), QByteArray{"10000001\n10000002\n"});
    const QByteArray tail = kept.mid(half + gap.size());
    const qsizetype lines = half / lineSize;
    for (qsizetype line = 1; line <= lines; ++line) {
        const QByteArrayView text = QByteArrayView{tail}.sliced(half - line * lineSize, lineSize - 1);
        if (text.toLongLong() != 44'000'001 - line)
            QFAIL("The tail is not in order");
    }
}

void TestKeeper::writesOverTheOldestAfterTheHead()
{
    QVERIFY(m_keepers->StartNursery());
    const long long half = 32LL * 1024 * 1024;
    const Taskmill_RunOrder order =
        m_keepers->Script("yes | head -c " + std::to_string(2 * half) + "; printf ab");
    m_keepers->Start(order);
    QCOMPARE(m_keepers->Wait(Kind::Ended).end.outputBytes, 2 * half + 2);
    const QByteArray kept = m_keepers->Output(order.runID);
    const QByteArray head{"\ny\ny\n"};
    QCOMPARE(kept.mid(half - head.size(), head.size()), head);
    QCOMPARE(kept.right(6), QByteArray{"y\ny\nab"});
    QCOMPARE(kept.mid(kept.indexOf("...]\n") + 5, 4), QByteArray{"y\ny\n"});
}

void TestKeeper::drainsWhatAScriptLeavesInTheBackground()
{
    QVERIFY(m_keepers->StartNursery());
    const Taskmill_RunOrder order =
        m_keepers->Script("echo first; (until [ -e go ]; do sleep 0.01; done; echo late; echo later) & "
                          "until [ -e known ]; do sleep 0.01; done; exit 4");
    m_keepers->Start(order);
    const long long keeper = KeeperFixture::KeeperOf(m_keepers->Wait(Kind::Started));
    QVERIFY(keeper > 0);
    m_keepers->Touch("known");
    QCOMPARE(m_keepers->Wait(Kind::Ended).end.code, 4);
    QCOMPARE(m_keepers->Output(order.runID), QByteArray{"first\n"});
    m_keepers->Touch("go");
    QTRY_VERIFY_WITH_TIMEOUT(!KeeperFixture::IsProcessThere(keeper), KeeperFixture::WaitMs);
    QCOMPARE(m_keepers->Output(order.runID), QByteArray{"first\nlate\nlater\n"});
}

void TestKeeper::writesIntoTheFileOfTheOrder()
{
    QVERIFY(m_keepers->StartNursery());
    Taskmill_RunOrder order = m_keepers->Order({"stdin", "error", "and errors", "cwd"});
    order.inputPath =
        WriteTestFile(QString::fromStdString(m_keepers->JobFolder() + "/input"), "input\n").toStdString();
    order.outputPath = m_keepers->JobFolder() + "/output";
    m_keepers->Start(order);
    QCOMPARE(m_keepers->Wait(Kind::Ended).end.outputBytes, 0LL);
    const QByteArray text = ReadTestFile(QString::fromStdString(order.outputPath));
    for (const std::string &line :
         {std::string{"input\n"}, std::string{"and errors\n"}, m_keepers->JobFolder()})
        QVERIFY2(text.contains(line.c_str()), text);
    QCOMPARE(m_keepers->Output(order.runID), QByteArray{});
}

void TestKeeper::dropsOutputOnAFullDisk()
{
    const FileSizeLimitOfPrograms limit{megabyte};
    QVERIFY(m_keepers->StartNursery());
    const Taskmill_RunOrder order = m_keepers->Order(
        {"fill", "3000000", "touch", "filled", "waitfor", "go", "print", "room", "waitfor", "end"});
    m_keepers->Start(order);
    const long long keeper = KeeperFixture::KeeperOf(m_keepers->Wait(Kind::Started));
    // It does not wait for room.
    QTRY_VERIFY_WITH_TIMEOUT(m_keepers->Exists("filled"), KeeperFixture::WaitMs);
    QVERIFY(m_keepers->Run().Watch(megabyte));
    limit.Lift(keeper);
    m_keepers->Touch("go");
    QCOMPARE(m_keepers->Wait(Kind::Output).kind, Kind::Output);
    m_keepers->Touch("end");
    QCOMPARE(m_keepers->Wait(Kind::Ended).end.droppedBytes, 0LL);
    const QByteArray text = m_keepers->Output(order.runID);
    const QRegularExpression line{
        QStringLiteral(R"(\n\[\.\.\. (\d+) bytes of output were left out here: File too large \.\.\.\]\n)")};
    const QRegularExpressionMatch match = line.match(QString::fromUtf8(text));
    QVERIFY2(match.hasMatch(), text.right(200));
    QCOMPARE(match.capturedStart(), static_cast<qsizetype>(megabyte));
    QVERIFY(text.endsWith("room\n"));
    QCOMPARE(text.size() - match.capturedLength() + match.captured(1).toLongLong(), 3'000'000LL + 5);
}

void TestKeeper::startsNothingThatItCannotRecord()
{
    const FileSizeLimitOfPrograms limit{0};
    QVERIFY(m_keepers->StartNursery());
    m_keepers->Start(m_keepers->Order({"touch", "ran"}));
    const Taskmill_RunReport report = m_keepers->Wait(Kind::Ended);
    QCOMPARE(report.end.how, How::NotStarted);
    QCOMPARE(report.end.code, EFBIG);
    QVERIFY(!m_keepers->Exists("ran"));
}

void TestKeeper::recordsTheEndWhenThereIsRoomAgain()
{
    QVERIFY(m_keepers->StartNursery());
    const Taskmill_RunOrder order = m_keepers->Order({"waitfor", "go", "print", "lost", "exit", "5"});
    m_keepers->Start(order);
    const long long keeper = KeeperFixture::KeeperOf(m_keepers->Wait(Kind::Started));
    QVERIFY(keeper > 0);
    const FileSizeLimitOfPrograms limit{0};
    limit.Set(keeper, 0);
    m_keepers->Touch("go");
    const Taskmill_RunReport report = m_keepers->Wait(Kind::Ended);
    QCOMPARE(report.end.code, 5);
    QCOMPARE(report.end.droppedBytes, 5LL);
    QVERIFY(!m_keepers->RecordedEnd(order.runID));
    QVERIFY(KeeperFixture::IsProcessThere(keeper));
    limit.Lift(keeper);
    QTRY_VERIFY_WITH_TIMEOUT(m_keepers->RecordedEnd(order.runID) == report.end, KeeperFixture::WaitMs);
}

void TestKeeper::aFullDiskTakesNeitherHeadNorTail()
{
    // Room for the head and half of the ring.
    const FileSizeLimitOfPrograms limit{48 * megabyte};
    QVERIFY(m_keepers->StartNursery());
    const Taskmill_RunOrder order = m_keepers->Order({"fill", "80000000"});
    m_keepers->Start(order);
    const Taskmill_RunReport report = m_keepers->Wait(Kind::Ended);
    QCOMPARE(report.end.how, How::Exit);
    QCOMPARE(report.end.outputBytes, 48LL * static_cast<long long>(megabyte));
    QCOMPARE(report.end.outputBytes + report.end.droppedBytes, 80'000'000LL);
    QCOMPARE(m_keepers->Output(order.runID).size(), report.end.outputBytes);
}

QTEST_GUILESS_MAIN(TestKeeper)
#include "test_keeper.moc"
