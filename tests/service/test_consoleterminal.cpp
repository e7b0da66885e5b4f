#include "service/consoleterminal_plain.h"

#include "support/testutil.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <future>
#include <thread>

#include <pthread.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {
/// A pipe whose writing end can be closed.
class Pipe
{
public:
    Pipe()
    {
        if (pipe(m_ends.data()) != 0)
            qFatal("no pipe");
    }
    ~Pipe()
    {
        CloseWriter();
        close(m_ends[0]);
    }
    Q_DISABLE_COPY_MOVE(Pipe)

    [[nodiscard]] int Reader() const { return m_ends[0]; }
    void Write(const QByteArray &bytes) const
    {
        if (write(m_ends[1], bytes.constData(), static_cast<size_t>(bytes.size())) != bytes.size())
            qFatal("cannot write to the pipe");
    }
    void CloseWriter()
    {
        if (m_ends[1] >= 0)
            close(std::exchange(m_ends[1], -1));
    }

private:
    std::array<int, 2> m_ends{-1, -1};
};

using Line = std::optional<QString>;

std::future<Line> ReadAside(Taskmill_ConsoleTerminal &terminal)
{
    return std::async(std::launch::async, [&terminal] { return terminal.ReadLine({}); });
}
} // namespace

class TestConsoleTerminal : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { FailOnQtWarnings(); }
    void Lines_data();
    void Lines();
    void EndOfTheInputIsNoEnd();
    void InterruptEndsTheWaiting_data();
    void InterruptEndsTheWaiting();
    void WakingReturnsOnceAndLosesNothing();
    void SignalsCallTheHookAndLoseNothing();
    void TextIsPrintedAsItStands();
};

void TestConsoleTerminal::Lines_data()
{
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<QStringList>("lines");
    const QString longest{Taskmill_ConsoleTerminal::MaxLineBytes, u'x'};
    QTest::newRow("lines") << " two words \n\nthree\n"_ba << QStringList{u" two words "_s, {}, u"three"_s};
    QTest::newRow("local encoding") << "cd Größe\n"_ba << QStringList{u"cd Größe"_s};
    QTest::newRow("longest") << longest.toLatin1() + "\nnext\n" << QStringList{longest, u"next"_s};
    // The rest is no line of its own.
    QTest::newRow("one more") << longest.toLatin1() + "y\nnext\n" << QStringList{longest, u"next"_s};
    QTest::newRow("much longer") << longest.toLatin1() + QByteArray{20000, 'y'} + "\nnext\n"
                                 << QStringList{longest, u"next"_s};
    QTest::newRow("no text") << "\xff\xfe\n"_ba << QStringList{u"\uFFFD\uFFFD"_s};
}

void TestConsoleTerminal::Lines()
{
    QFETCH(const QByteArray, input);
    QFETCH(const QStringList, lines);
    const Pipe pipe;
    pipe.Write(input);
    Taskmill_PlainTerminal terminal{pipe.Reader()};
    for (const QString &line : lines)
        QCOMPARE(terminal.ReadLine({}), Line{line});
}

void TestConsoleTerminal::EndOfTheInputIsNoEnd()
{
    const QTemporaryDir directory;
    QFile file{WriteTestFile(directory.filePath(u"commands"_s), "first\nsec")};
    QVERIFY(file.open(QIODevice::ReadOnly | QIODevice::Unbuffered));
    Taskmill_PlainTerminal terminal{file.handle()};
    QCOMPARE(terminal.ReadLine({}), Line{u"first"_s});
    std::future<Line> line = ReadAside(terminal);
    QTRY_COMPARE(lseek(file.handle(), 0, SEEK_CUR), off_t{9});
    QFile more{file.fileName()};
    QVERIFY(more.open(QIODevice::Append));
    more.write("ond\n");
    more.close();
    QCOMPARE(line.get(), Line{u"second"_s});
}

void TestConsoleTerminal::InterruptEndsTheWaiting_data()
{
    QTest::addColumn<QString>("input");
    QTest::newRow("for input") << u"open"_s;
    QTest::newRow("in the middle of a line") << u"begun"_s;
    QTest::newRow("at the end") << u"ended"_s;
    QTest::newRow("at the end for ever") << u"null device"_s;
    QTest::newRow("without input") << u"none"_s;
}

void TestConsoleTerminal::InterruptEndsTheWaiting()
{
    QFETCH(const QString, input);
    Pipe pipe;
    QFile null{u"/dev/null"_s};
    QVERIFY(null.open(QIODevice::ReadOnly));
    if (input == "begun"_L1)
        pipe.Write("begun");
    if (input == "ended"_L1)
        pipe.CloseWriter();
    const int descriptor = input == "none"_L1          ? -1
                           : input == "null device"_L1 ? null.handle()
                                                       : pipe.Reader();
    Taskmill_PlainTerminal terminal{descriptor};
    std::future<Line> line = ReadAside(terminal);
    terminal.Interrupt();
    QCOMPARE(line.get(), Line{});
    // It stays interrupted, whatever comes.
    if (input == "open"_L1)
        pipe.Write("late\n");
    QCOMPARE(terminal.ReadLine({}), Line{});
}

void TestConsoleTerminal::WakingReturnsOnceAndLosesNothing()
{
    const Pipe pipe;
    Taskmill_InterruptibleInput input{pipe.Reader()};
    pipe.Write("ab");
    input.Wake();
    input.Wake();
    QCOMPARE(input.ReadByte(), std::optional<char>{});
    QCOMPARE(input.ReadByte(), std::optional{'a'});
    input.Interrupt();
    QVERIFY(input.IsInterrupted());
    QCOMPARE(input.ReadByte(), std::optional<char>{});
}

void TestConsoleTerminal::SignalsCallTheHookAndLoseNothing()
{
    struct sigaction action
    {
    };
    struct sigaction before
    {
    };
    action.sa_handler = [](int) {
    };
    sigaction(SIGUSR1, &action, &before);
    const Pipe pipe;
    pipe.Write("be");
    Taskmill_PlainTerminal terminal{pipe.Reader()};
    std::atomic<bool> isCalled = false;
    terminal.SetWakeHook([&isCalled] { isCalled = true; });
    Line line;
    std::thread reader{[&] {
        line = terminal.ReadLine({});
    }};
    const auto isCalledAfterSignal = [&] {
        pthread_kill(reader.native_handle(), SIGUSR1);
        return isCalled.load();
    };
    const bool called = QTest::qWaitFor(isCalledAfterSignal);
    pipe.Write("gun\n");
    reader.join();
    sigaction(SIGUSR1, &before, nullptr);
    QVERIFY(called);
    QCOMPARE(line, Line{u"begun"_s});
}

void TestConsoleTerminal::TextIsPrintedAsItStands()
{
    const QTemporaryDir directory;
    QFile file{directory.filePath(u"out"_s)};
    QVERIFY(file.open(QIODevice::WriteOnly));
    const Pipe pipe;
    pipe.Write("answer\n");
    Taskmill_PlainTerminal terminal{pipe.Reader()};
    std::fflush(stdout);
    const int before = dup(STDOUT_FILENO);
    dup2(file.handle(), STDOUT_FILENO);
    terminal.Print(u"100 %s %n Größe\n\n"_s);
    const Line line = terminal.ReadLine(u"Question?  "_s);
    const QByteArray printed = ReadTestFile(file.fileName());
    dup2(before, STDOUT_FILENO);
    close(before);
    QCOMPARE(printed, "100 %s %n Größe\n\nQuestion?  "_ba);
    QCOMPARE(line, Line{u"answer"_s});
}

QTEST_GUILESS_MAIN(TestConsoleTerminal)
#include "test_consoleterminal.moc"
