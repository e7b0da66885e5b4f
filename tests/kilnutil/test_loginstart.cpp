// SPDX-License-Identifier: MIT
#include "kilnutil/loginstart.h"
#include "support/testcase.h"

#include <QFileInfo>
#include <QStandardPaths>

using namespace Qt::Literals::StringLiterals;

/// The entry by which the desktop starts the program.
class TestLoginStart : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void init() override
    {
        TestCase::init();
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(Path(u"config"_s)));
    }

    void ComesAndGoes()
    {
        const KilnUtil_LoginStart start{u"TaskmillTest"_s, Path(u"a program"_s), {u"-login"_s}};
        QVERIFY(!start.IsOn());
        QCOMPARE(start.Set(true), QString{});
        QVERIFY(start.IsOn());
        QCOMPARE(start.Set(false), QString{});
        QVERIFY(!start.IsOn());
        QCOMPARE(start.Set(false), QString{});
    }

    void WritesAnEntryThatDesktopsRead()
    {
        if (isWindows)
            QSKIP("These have a registry");
        // What the shell, the file format and the desktop each take for something else.
        const KilnUtil_LoginStart start{
            u"Taskmill"_s, u"/opt/a \"b\" $c `d` \\e 5%f/taskmill"_s, {u"-login"_s}};
        QCOMPARE(start.Set(true), QString{});
        const QString path = Path(u"config/autostart/taskmill.desktop"_s);
        const QByteArray entry = ReadTestFile(path);
        QVERIFY2(entry.contains(
                     "\nExec=\"/opt/a \\\\\"b\\\\\" \\\\$c \\\\`d\\\\` \\\\\\\\e 5%%f/taskmill\" -login\n"),
                 entry.constData());
        if (!QStandardPaths::findExecutable(u"desktop-file-validate"_s).isEmpty())
            QCOMPARE(QProcess::execute(u"desktop-file-validate"_s, {path}), 0);
        // Desktops turn it off like this.
        for (const char *line : {"Hidden=true\n", "X-GNOME-Autostart-enabled=false\n"}) {
            WriteTestFile(path, entry + line);
            QVERIFY(!start.IsOn());
        }
    }

    void SaysWhyItCannotBeStored()
    {
        if (isWindows)
            QSKIP("These have a registry");
        WriteTestFile(Path(u"config"_s), "in the way");
        const KilnUtil_LoginStart start{u"Taskmill"_s, u"/usr/bin/taskmill"_s, {}};
        QVERIFY(start.Set(true).contains(u"autostart/taskmill.desktop"_s));
        QVERIFY(!start.IsOn());
    }
};

QTEST_GUILESS_MAIN(TestLoginStart)
#include "test_loginstart.moc"
