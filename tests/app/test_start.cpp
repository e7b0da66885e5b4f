// SPDX-License-Identifier: MIT
#include "app/debuglog.h"
#include "app/startoptions.h"
#include "support/testcase.h"

using namespace Qt::Literals::StringLiterals;

using Mode = Taskmill_RunMode;
using Outcome = Taskmill_FileArgument::Outcome;

/// What the command line says.
class TestStart : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void OptionsChooseTheMode()
    {
        const auto parsed = [](const QString &line) {
            return Taskmill_StartOptions::Parse(line.split(u' ', Qt::SkipEmptyParts)).Mode;
        };
        QCOMPARE(parsed({}), Mode::Gui);
        QCOMPARE(parsed(u"-console"_s), Mode::Gui);
        QCOMPARE(parsed(u"taskmill -consoles"_s), Mode::Gui);
        QCOMPARE(parsed(u"taskmill -NoGUI"_s), Mode::Console);
        QCOMPARE(parsed(u"taskmill -newconsole -console"_s), Mode::NewConsole);
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
        QCOMPARE(checked({u"-h"_s, missing}, false), std::pair(Outcome::ShowUsage, QString{}));
    }

    void UnknownOptionsAndTheFileAreNamed()
    {
        const auto unknown = [](const QString &line) {
            return Taskmill_UnknownOptions(line.split(u' ')).join(u' ');
        };
        QCOMPARE(unknown(u"taskmill -Console --help -h -DebugFile=x -list -showprogress=Some jobs.mill"_s),
                 QString{});
        QCOMPARE(unknown(u"taskmill --console -debugfiles x -run"_s), u"--console -debugfiles"_s);
        const auto named = [](const QString &line) {
            return Taskmill_FileNamed(line.split(u' '));
        };
        QCOMPARE(named(u"taskmill -console"_s), QString{});
        QCOMPARE(named(u"taskmill -platform xcb -run a.mill b.mill"_s), u"a.mill"_s);
        QCOMPARE(Taskmill_ProblemOfMissingFile(u"a.mill"_s), u"the file a.mill does not exist"_s);
    }

    void LogTakesEveryMessage()
    {
        QVERIFY(QDir::setCurrent(Path()));
        for (const QString &option : {u"-DebugFile=log.txt"_s, u"-debugfile"_s}) {
            Taskmill_DebugLog::TurnOn({u"taskmill"_s, u"-debugs"_s, option, u"-debugfile=late.txt"_s});
            QCOMPARE(Taskmill_DebugLog::Level(), 7);
            qWarning("first");
            qInfo("second");
            qCritical("third");
            Taskmill_DebugLog::TurnOff();
            QCOMPARE(Taskmill_DebugLog::Level(), 0);
            const QString file = option.contains(u'=') ? u"log.txt"_s : u"taskmill_debug.txt"_s;
            QCOMPARE(ReadTestFile(file), "Warning: first\nInfo:   second\n????:    third\n");
            QVERIFY(!QFile::exists(u"late.txt"_s));
        }
    }
};

QTEST_GUILESS_MAIN(TestStart)
#include "test_start.moc"
