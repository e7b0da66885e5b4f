#include "app/debuglog.h"
#include "app/startoptions.h"

#include "support/testutil.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <cstring>
#include <thread>

using namespace Qt::Literals::StringLiterals;

using Mode = Taskmill_RunMode;
using Progress = Taskmill_ProgressLevel;
using Outcome = Taskmill_FileArgument::Outcome;

namespace {
// The log belongs to the whole process, so a copy of this program writes it.
constexpr const char *writeLog = "write-log";

constexpr qsizetype linesOfEachThread = 200;

int WriteLog(const QStringList &arguments)
{
    Taskmill_DebugLog::TurnOn(arguments);
    qDebug("one");
    qInfo("two");
    qWarning("three");
    qCritical("four");
    const auto repeat = [] {
        for (qsizetype line = 0; line < linesOfEachThread; ++line)
            qWarning("the same line");
    };
    std::thread first{repeat};
    std::thread second{repeat};
    first.join();
    second.join();
    qFatal("the end");
}
} // namespace

/// What the command line says.
class TestStart : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { FailOnQtWarnings(); }

    void OptionsChooseModeAndProgress()
    {
        const auto parsed = [](const QString &line) {
            const auto options = Taskmill_StartOptions::Parse(line.split(u' ', Qt::SkipEmptyParts));
            return std::pair{options.Mode, options.Progress};
        };
        QCOMPARE(parsed({}), std::pair(Mode::Gui, Progress::Full));
        QCOMPARE(parsed(u"-console"_s), std::pair(Mode::Gui, Progress::Full));
        QCOMPARE(parsed(u"taskmill -consoles"_s), std::pair(Mode::Gui, Progress::Full));
        QCOMPARE(parsed(u"taskmill -NoGUI"_s), std::pair(Mode::Console, Progress::Some));
        QCOMPARE(parsed(u"taskmill -newconsole -console"_s), std::pair(Mode::NewConsole, Progress::Some));
        QCOMPARE(parsed(u"x -console -showprogress=true"_s), std::pair(Mode::Console, Progress::Full));
        QCOMPARE(parsed(u"x -showprogress=some -showprogress=false"_s), std::pair(Mode::Gui, Progress::Some));
    }

    void FirstFileDecides()
    {
        const QString here = QCoreApplication::applicationFilePath();
        const QString missing = u"/missing/jobs.mill"_s;
        const auto checked = [](const QStringList &arguments, bool console) {
            const auto file = Taskmill_FileArgument::Check(QStringList{u"taskmill"_s} + arguments, console);
            return std::pair{file.Result, file.StartUpFile};
        };
        QCOMPARE(checked({}, false), std::pair(Outcome::GoOn, QString{}));
        QCOMPARE(checked({here, u"-Help"_s}, true), std::pair(Outcome::ShowUsage, QString{}));
        QCOMPARE(checked({u"-console"_s, here, missing}, true), std::pair(Outcome::GoOn, here));
        QCOMPARE(checked({missing, here}, false), std::pair(Outcome::MissingFile, QString{}));
        QCOMPARE(checked({u"-nogui"_s, missing}, true), std::pair(Outcome::MissingFile, QString{}));
        QCOMPARE(checked({missing, here, u"-run"_s}, false), std::pair(Outcome::GoOn, QString{}));
    }

    void LogGoesWhereTheFirstOptionSays()
    {
        const QTemporaryDir directory;
        const QString path = WriteTestFile(directory.filePath(u"my.log"_s), QByteArray(100'000, 'x'));
        const QByteArray log = "Info:   one\nInfo:   two\nWarning: three\n????:    four\n" +
                               "Warning: the same line\n"_ba.repeated(2 * linesOfEachThread) +
                               "Fatal:   the end\n";
        (void)LogOfCopy({u"-debugfile=My.Log"_s, u"-debug"_s}, directory.path());
        QCOMPARE(ReadTestFile(path), log);
        QCOMPARE(LogOfCopy({u"-Debug"_s, u"-debugfile"_s}, directory.path()),
                 QByteArray{log}.replace(": ", ":  "));
        QVERIFY(!LogOfCopy({u"-debugfile=none/a.log"_s, u"-debug"_s}, directory.path()).contains("Info:"));
        QCOMPARE(QDir{directory.path()}.entryList(QDir::Files), QStringList{u"my.log"_s});
    }

private:
    /// What a copy of this program with these options writes to standard error.
    static QByteArray LogOfCopy(const QStringList &options, const QString &directory)
    {
        QProcess copy;
        copy.setWorkingDirectory(directory);
        copy.start(QCoreApplication::applicationFilePath(),
                   QStringList{QString::fromLatin1(writeLog)} + options);
        if (!copy.waitForFinished() || copy.exitStatus() != QProcess::CrashExit)
            return "no crash";
        return WithPlainLineEnds(copy.readAllStandardError());
    }
};

int main(int argc, char **argv)
{
    if (argc > 1 && std::strcmp(argv[1], writeLog) == 0) {
        QStringList arguments;
        for (int index = 1; index < argc; ++index)
            arguments += QString::fromLocal8Bit(argv[index]);
        return WriteLog(arguments);
    }
    const QCoreApplication application{argc, argv};
    TestStart test;
    return QTest::qExec(&test, argc, argv);
}

#include "test_start.moc"
