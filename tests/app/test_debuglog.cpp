#include "app/debuglog.h"

#include "support/testutil.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <array>
#include <cstring>
#include <thread>

using namespace Qt::Literals::StringLiterals;

namespace {
// The log belongs to the whole process, so each case runs in a copy of this program that does one of these.
constexpr const char *logOneOfEach = "log-one-of-each";
constexpr const char *logFatal = "log-fatal";
constexpr const char *logFromThreads = "log-from-threads";

constexpr qsizetype threadCount = 4;
constexpr qsizetype linesOfEachThread = 200;

void LogFromThreads()
{
    std::array<std::thread, threadCount> threads;
    for (std::thread &thread : threads) {
        thread = std::thread{[] {
            for (int line = 0; line < linesOfEachThread; ++line)
                qWarning("the same line");
        }};
    }
    for (std::thread &thread : threads)
        thread.join();
}

/// The exit status is the debug level in force.
int RunAsCopy(const char *task, const QStringList &arguments)
{
    Taskmill_DebugLog::TurnOn(arguments);
    const int level = Taskmill_DebugLog::Level();
    if (std::strcmp(task, logFatal) == 0)
        qFatal("the end");
    if (std::strcmp(task, logFromThreads) == 0) {
        LogFromThreads();
        return level;
    }
    qDebug("one");
    qInfo("two");
    qWarning("three");
    qCritical("four");
    Taskmill_DebugLog::TurnOff();
    qWarning("not logged");
    return level + 10 * Taskmill_DebugLog::Level();
}
} // namespace

class TestDebugLog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void OptionsDecideWhere_data();
    void OptionsDecideWhere();
    void FileIsTruncated();
    void FatalMessageIsWrittenBeforeTheEnd();
    void LinesOfThreadsStayWhole();

private:
    [[nodiscard]] QString Path(const QString &name) const { return m_directory->filePath(name); }
    void RunCopy(const char *task, const QStringList &options);

    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<QProcess> m_copy;
};

void TestDebugLog::init()
{
    FailOnQtWarnings();
    m_directory = std::make_unique<QTemporaryDir>();
    m_copy = std::make_unique<QProcess>();
}

void TestDebugLog::cleanup()
{
    m_copy.reset();
    m_directory.reset();
}

/// Runs a copy to its end, in the temporary directory.
void TestDebugLog::RunCopy(const char *task, const QStringList &options)
{
    m_copy->setWorkingDirectory(m_directory->path());
    m_copy->start(QCoreApplication::applicationFilePath(), QStringList{QString::fromLatin1(task)} + options);
    QVERIFY(m_copy->waitForFinished());
}

void TestDebugLog::OptionsDecideWhere_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QString>("file");
    QTest::addColumn<int>("level");
    const QString none;
    QTest::newRow("no option") << QStringList{u"-console"_s, u"jobs.mill"_s} << none << 0;
    QTest::newRow("standard error") << QStringList{u"-console"_s, u"-Debug"_s} << none << 7;
    QTest::newRow("file of fixed name") << QStringList{u"-DEBUGFILE"_s} << u"taskmill_debug.txt"_s << 7;
    QTest::newRow("named file in lower case") << QStringList{u"-debugfile=My.Log"_s} << u"my.log"_s << 7;
    QTest::newRow("first option is a file")
        << QStringList{u"-debugfile=a.log"_s, u"-debug"_s} << u"a.log"_s << 7;
    QTest::newRow("first option is none") << QStringList{u"-debug"_s, u"-debugfile"_s} << none << 7;
    QTest::newRow("file that cannot be opened")
        << QStringList{u"-debugfile=missing/a.log"_s, u"-debug"_s} << none << 0;
    QTest::newRow("program of that name does not count") << QStringList{} << none << 0;
    QTest::newRow("part of an option") << QStringList{u"-debugging"_s} << none << 0;
}

void TestDebugLog::OptionsDecideWhere()
{
    QFETCH(const QStringList, options);
    QFETCH(const QString, file);
    QFETCH(const int, level);
    RunCopy(logOneOfEach, options);
    QCOMPARE(m_copy->exitStatus(), QProcess::NormalExit);
    QCOMPARE(m_copy->exitCode(), level);

    const QByteArray errors = WithPlainLineEnds(m_copy->readAllStandardError());
    const QStringList expectedFiles = file.isEmpty() ? QStringList{} : QStringList{file};
    QCOMPARE(QDir{m_directory->path()}.entryList(QDir::Files), expectedFiles);
    if (!file.isEmpty()) {
        QCOMPARE(ReadTestFile(Path(file)), "Info:   one\nInfo:   two\nWarning: three\n????:    four\n"_ba);
        QCOMPARE(errors, "not logged\n"_ba);
    } else if (level != 0) {
        QCOMPARE(errors, "Info:    one\nInfo:    two\nWarning:  three\n????:     four\nnot logged\n"_ba);
    } else {
        QVERIFY(!errors.contains("Info:"));
    }
}

void TestDebugLog::FileIsTruncated()
{
    WriteTestFile(Path(u"a.log"_s), QByteArray(1000, 'x'));
    RunCopy(logOneOfEach, {u"-debugfile=a.log"_s});
    QVERIFY(ReadTestFile(Path(u"a.log"_s)).startsWith("Info:   one\n"));
    QVERIFY(!ReadTestFile(Path(u"a.log"_s)).contains('x'));
}

void TestDebugLog::FatalMessageIsWrittenBeforeTheEnd()
{
    RunCopy(logFatal, {u"-debugfile=a.log"_s});
    QCOMPARE(m_copy->exitStatus(), QProcess::CrashExit);
    QCOMPARE(ReadTestFile(Path(u"a.log"_s)), "Fatal:   the end\n"_ba);
}

void TestDebugLog::LinesOfThreadsStayWhole()
{
    RunCopy(logFromThreads, {u"-debugfile=a.log"_s});
    QCOMPARE(ReadTestFile(Path(u"a.log"_s)),
             "Warning: the same line\n"_ba.repeated(threadCount * linesOfEachThread));
}

int main(int argc, char **argv)
{
    for (const char *task : {logOneOfEach, logFatal, logFromThreads}) {
        if (argc > 1 && std::strcmp(argv[1], task) == 0) {
            QStringList arguments{u"-debug"_s};
            for (int index = 2; index < argc; ++index)
                arguments += QString::fromLocal8Bit(argv[index]);
            return RunAsCopy(task, arguments);
        }
    }
    const QCoreApplication application{argc, argv};
    TestDebugLog test;
    return QTest::qExec(&test, argc, argv);
}

#include "test_debuglog.moc"
