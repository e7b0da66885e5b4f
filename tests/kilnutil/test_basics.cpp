// SPDX-License-Identifier: MIT
#include "kilnutil/computerdata.h"
#include "kilnutil/filesys.h"
#include "kilnutil/idmanager.h"
#include "kilnutil/logging.h"
#include "kilnutil/registry.h"
#include "kilnutil/statefolder.h"
#include "kilnutil/stringutil.h"
#include "kilnutil/textencoding.h"
#include "kilnutil/threadstart.h"
#include "support/openfileslimit.h"
#include "support/testcase.h"
#include "wire/utf8.h"

using namespace Qt::Literals::StringLiterals;
using namespace std::literals;

/// Texts, variables of the environment and numbers.
class TestBasics : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void ArgumentTextIsSplitAsItIsQuoted()
    {
        const auto split = [](const QString &text) {
            return KilnUtil_String::MakeStringList(text, true).join(u'|');
        };
        QCOMPARE(KilnUtil_String::MakeStringList(u" \t "_s, true), QStringList{});
        QCOMPARE(split(u"-inp=\"a b\" \"\" c"_s), u"-inp=a b||c"_s);
        QCOMPARE(split(u"C:\\w\\x \\\\host\\"_s), u"C:\\w\\x|\\\\host\\"_s);
        QCOMPARE(split(u"\"a b\\\\\" \"c\\\\\\\" d\" e\\\"f"_s), u"a b\\|c\\\" d|e\"f"_s);
        QCOMPARE(split(u"'a b' \"never closed"_s), u"'a|b'|never closed"_s);
        QCOMPARE(KilnUtil_FileSys::ConvertFilename(u"a b\"c\\"_s, true, false), u"\"a b\\\"c\\\\\""_s);
    }

    void PortsOfTheEnvironmentAreChecked()
    {
        const auto ports = [](const QByteArray &gui, const QByteArray &console) {
            qputenv("TASKMILL_GUI_PORT", gui);
            qputenv("TASKMILL_CONSOLE_PORT", console);
            return QList{int{KilnUtil_ComputerData::TaskmillGUIPortNumber()},
                         int{KilnUtil_ComputerData::TaskmillConsolePortNumber()}};
        };
        QCOMPARE(ports("40001", "65535"), (QList{40001, 65535}));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression{u"TASKMILL_GUI_PORT.*ignored.*65536"_s});
        QCOMPARE(ports("65536", "0"), (QList{27641, 27642}));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression{u"TASKMILL_CONSOLE_PORT.*ignored.*27642"_s});
        QCOMPARE(ports("27642", {}), (QList{27641, 27642}));
    }

    void LinesOnStandardErrorGoWithoutOwnCategories()
    {
        static QByteArrayList categories;
        const QtMessageHandler before =
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext &context, const QString &) {
                categories.append(context.category);
            });
        KilnUtil_Logging::HideOwnCategories();
        qCWarning(Taskmill_RequestsLog, "own");
        const QLoggingCategory foreign{"qt.someones"};
        qCWarning(foreign, "foreign");
        qInstallMessageHandler(before);
        QCOMPARE(categories, (QByteArrayList{"default", "qt.someones"}));
    }

    void StateFolderIsOneUsersOwn()
    {
        const auto folder = [this] {
            return KilnUtil_StateFolder().replace(Path(), u"DIR"_s);
        };
        qputenv("TASKMILLPREFS_DIR", Path(u"prefs"_s).toLocal8Bit());
        QCOMPARE(folder(), u"DIR/prefs/state"_s);
        if (isWindows)
            return;
        const QString state = Path(u"prefs/state"_s);
        const auto others = QFile::ReadGroup | QFile::ExeGroup | QFile::ExeOther;
        QVERIFY(!(QFile::permissions(state) & others));
        QVERIFY(
            QFile::setPermissions(state, others | QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        QCOMPARE(folder(), u"DIR/prefs/state"_s);
        QVERIFY(!(QFile::permissions(state) & others));
        // Somebody else may have made the link.
        QVERIFY(QDir{}.rmdir(state));
        QVERIFY(QFile::link(Path(), state));
        QCOMPARE(folder(), QString{});
        QVERIFY(QFile::remove(state));
        WriteTestFile(state, {});
        QCOMPARE(folder(), QString{});

        qunsetenv("TASKMILLPREFS_DIR");
        qputenv("XDG_STATE_HOME", Path(u"a/b"_s).toLocal8Bit());
        QCOMPARE(folder(), u"DIR/a/b/taskmill"_s);
        qputenv("XDG_STATE_HOME", "relative");
        qputenv("HOME", Path().toLocal8Bit());
        QCOMPARE(folder(), u"DIR/.local/state/taskmill"_s);
    }

    void GaussianIsFoundWhereItsProgramsAre()
    {
        const auto at = [this](const QString &name) {
            return QDir::cleanPath(QDir{Path()}.canonicalPath() + u'/' + name);
        };
        const QString program = isWindows ? u"g16.exe"_s : u"g16"_s;
        for (const QString &directory : {u"scripts"_s, u"g16"_s, u"utilities"_s, u"links"_s})
            QVERIFY(QDir{Path()}.mkdir(directory));
        WriteTestFile(at(u"g16/"_s + program), {});
        WriteTestFile(at(u"utilities/formchk.exe"_s), {});
        QFile::setPermissions(at(u"g16/"_s + program), QFile::ReadOwner | QFile::ExeOwner);
        const auto found = [&at](const QStringList &listed, const QString &searched) {
            QStringList directories;
            for (const QString &name : listed)
                directories += QDir::toNativeSeparators(at(name));
            qputenv("GAUSS_EXEDIR", directories.join(QDir::listSeparator()).toLocal8Bit());
            qputenv("PATH", QDir::toNativeSeparators(at(searched)).toLocal8Bit());
            return KilnUtil_FileSys::GaussExeDirPath();
        };
        QCOMPARE(found({u"scripts"_s, u"g16/"_s}, u"scripts"_s), at(u"g16"_s));
        QCOMPARE(found({u"scripts"_s, u"utilities"_s, u"g16"_s}, u"scripts"_s), at(u"utilities"_s));
        QCOMPARE(found({u"scripts"_s}, u"g16"_s), at(u"g16"_s));
        QCOMPARE(found({u"missing"_s, u"scripts"_s}, u"scripts"_s), at(u"missing"_s));
        // Its other programs are not beside a link.
        if constexpr (!isWindows) {
            QVERIFY(QFile::link(at(u"g16/g16"_s), at(u"links/g16"_s)));
            QCOMPARE(found({}, u"links"_s), at(u"g16"_s));
        }
    }

    void PreferencesDirectoryKeepsTheSettings()
    {
        KeepSettingsIn(Path(u"usual"_s));
        const auto store = [](const QByteArray &directory) {
            qputenv("TASKMILLPREFS_DIR", directory);
            KilnUtil_Registry::SetAppData({}, u"1"_s, {}, {}, u"TASKMILLPREFS_DIR"_s, u".taskmillprefs"_s);
            KilnUtil_Registry::SetValue(u"/Files/Key"_s, directory);
            return KilnUtil_Registry::Value(u"/Files/Key"_s).toByteArray() == directory;
        };
        QVERIFY(store(Path(u"new/chosen"_s).toUtf8()));
        QVERIFY(ReadTestFile(Path(u"new/chosen/Taskmill.conf"_s)).contains("Files\\Key="));
        QVERIFY(!QFile::exists(Path(u"usual"_s)));
        QVERIFY(store({}));
        QVERIFY(QFile::exists(Path(u"usual"_s)));
    }

    void LargestNumberIsNoTrap()
    {
        KilnUtil_IDManager manager{std::numeric_limits<int>::max() - 1, 1};
        QCOMPARE(manager.NewID(), std::numeric_limits<int>::max());
        QCOMPARE(manager.NewID(), 1);
    }

    void ThreadBeginsWhileNoFileCanBeOpened()
    {
        KilnUtil_KeepFilesForThreads();
        const OpenFilesLimit noFiles;
        for (int i = 0; i < 3; ++i) {
            bool hasRun = false;
            const std::unique_ptr<QThread> thread{QThread::create([&hasRun] { hasRun = true; })};
            KilnUtil_StartThread(*thread);
            QVERIFY(thread->wait());
            QVERIFY(hasRun);
        }
    }

    void BytesBecomeText()
    {
        QCOMPARE(Taskmill_Utf8FromAny("\xC4\xFF\xA0"), "\u00C4\u00FF\u00A0"s);
        QCOMPARE(Taskmill_Utf8FromAny("h\u00F6\u20AC\U0001F600"), "h\u00F6\u20AC\U0001F600"s);
        QCOMPARE(KilnUtil_TextEncoding::FromUtf8OrLatin1("caf\xE9"), u"café"_s);
        for (const char *cut : {"\xC3", "\xE2\x82", "\xF0\x9F\x98"})
            QCOMPARE(KilnUtil_TextEncoding::FromUtf8OrLatin1("\xC3\xA9"_ba + cut), u"é\uFFFD"_s);
        QCOMPARE(KilnUtil_TextEncoding::FromUtf8OrLatin1("\xC3\xA9\xFF \xC0\xAF"), u"Ã©ÿ À¯"_s);
    }
};

QTEST_GUILESS_MAIN(TestBasics)
#include "test_basics.moc"
