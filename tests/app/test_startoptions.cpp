#include "app/startoptions.h"

#include "support/testutil.h"

#include <QTemporaryDir>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

using Mode = Taskmill_RunMode;
using Progress = Taskmill_ProgressLevel;
using Outcome = Taskmill_FileArgument::Outcome;

class TestStartOptions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { FailOnQtWarnings(); }
    void OptionsOfTheFirstPass_data();
    void OptionsOfTheFirstPass();
    void FileArguments_data();
    void FileArguments();
    void UsageText();
};

void TestStartOptions::OptionsOfTheFirstPass_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<Mode>("mode");
    QTest::addColumn<Progress>("progress");
    QTest::addColumn<bool>("noEventLoop");
    const auto row = [](const char *name, const QStringList &arguments, Mode mode, Progress progress,
                        bool noEventLoop = false) {
        QTest::newRow(name) << arguments << mode << progress << noEventLoop;
    };
    const QString some = u"-showprogress=some"_s;
    const QString none = u"-showprogress=false"_s;
    const QString full = u"-showprogress=true"_s;
    row("nothing", {}, Mode::Gui, Progress::Full);
    row("name alone", {u"taskmill"_s}, Mode::Gui, Progress::Full);
    row("no window", {u"taskmill"_s, u"-nogui"_s}, Mode::Console, Progress::Some);
    row("any case", {u"taskmill"_s, u"-NoGUI"_s}, Mode::Console, Progress::Some);
    row("new console wins", {u"taskmill"_s, u"-newconsole"_s, u"-console"_s}, Mode::NewConsole,
        Progress::Some);
    row("program of that name", {u"-console"_s}, Mode::Gui, Progress::Full);
    row("part of an option", {u"taskmill"_s, u"-consoles"_s}, Mode::Gui, Progress::Full);
    row("no event loop", {u"taskmill"_s, u"-NoEventLoop"_s}, Mode::Gui, Progress::Full, true);
    row("full in a console", {u"taskmill"_s, u"-console"_s, full}, Mode::Console, Progress::Full);
    row("some wins over full", {u"taskmill"_s, some, full}, Mode::Gui, Progress::Some);
    row("some wins over none", {u"taskmill"_s, some, none}, Mode::Gui, Progress::Some);
    row("unknown level", {u"taskmill"_s, u"-showprogress=all"_s}, Mode::Gui, Progress::Full);
}

void TestStartOptions::OptionsOfTheFirstPass()
{
    QFETCH(const QStringList, arguments);
    const auto options = Taskmill_StartOptions::Parse(arguments);
    QTEST(options.Mode, "mode");
    QTEST(options.Progress, "progress");
    QTEST(options.NoEventLoop, "noEventLoop");
}

void TestStartOptions::FileArguments_data()
{
    // FILE stands for a file that exists.
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<bool>("console");
    QTest::addColumn<Outcome>("outcome");
    QTest::addColumn<bool>("hasFile");
    const auto row = [](const char *name, const QStringList &arguments, bool console, Outcome outcome,
                        bool hasFile = false) {
        QTest::newRow(name) << arguments << console << outcome << hasFile;
    };
    const QString file = u"FILE"_s;
    const QString missing = u"/missing/jobs.mill"_s;
    row("nothing", {}, false, Outcome::ShowUsage);
    row("name alone", {u"taskmill"_s}, false, Outcome::GoOn);
    row("help in any case", {u"taskmill"_s, file, u"-Help"_s}, true, Outcome::ShowUsage);
    row("file", {u"taskmill"_s, file}, false, Outcome::GoOn, true);
    row("file behind options", {u"taskmill"_s, u"-console"_s, file, missing}, true, Outcome::GoOn, true);
    row("missing file", {u"taskmill"_s, missing, file}, false, Outcome::MissingFile);
    row("unattended, in a console", {u"taskmill"_s, u"-nogui"_s, missing}, true, Outcome::MissingFile);
    row("unattended, with a window", {u"taskmill"_s, missing, file, u"-run"_s}, false, Outcome::GoOn);
    row("unattended in this spelling only", {u"taskmill"_s, missing, u"-RUN"_s}, false, Outcome::MissingFile);
    row("program is no argument", {missing, u"-run"_s}, false, Outcome::GoOn);
}

void TestStartOptions::FileArguments()
{
    QFETCH(QStringList, arguments);
    QFETCH(const bool, console);
    QFETCH(const bool, hasFile);
    const QTemporaryDir directory;
    const QString path = WriteTestFile(directory.filePath(u"jobs.mill"_s), {});
    arguments.replaceInStrings(u"FILE"_s, path);
    const auto file = Taskmill_FileArgument::Check(arguments, console);
    QTEST(file.Result, "outcome");
    QCOMPARE(file.StartUpFile, hasFile ? path : QString{});
}

void TestStartOptions::UsageText()
{
    QCOMPARE(Taskmill_UsageText,
             "Usage:    taskmill [options]\n\noptions:  [-help]\n          [-list\n          "
             "[-console]\n          [-newconsole]\n          [-run]\n          [-nogui]\n");
}

QTEST_GUILESS_MAIN(TestStartOptions)
#include "test_startoptions.moc"
