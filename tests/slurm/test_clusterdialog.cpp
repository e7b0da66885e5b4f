// SPDX-License-Identifier: MIT
#include "kilnutil/filesys.h"
#include "support/testcase.h"
#include "ui/clusterdialog.h"
#include "ui/newjobtypewidget.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTreeWidget>

#include <csignal>

using namespace Qt::Literals::StringLiterals;

namespace {
template <typename Widget = QLineEdit>
Widget &Field(const QWidget &window, const QString &name)
{
    const auto fields = window.findChildren<Widget *>();
    const auto field = std::ranges::find(fields, name, &QWidget::accessibleName);
    if (field == fields.end())
        qFatal("there is no field %s", qPrintable(name));
    return **field;
}

QString CommandLine(const QWidget &window)
{
    return Field<QPlainTextEdit>(window, u"Resulting command line"_s).toPlainText();
}

Taskmill_JobType TypeOf(const QString &program, const QString &commandLine)
{
    Taskmill_JobType jobType;
    jobType.Name = u"ORCA"_s;
    jobType.ApplicationName = u"orca"_s;
    jobType.ExecutablePath = program;
    jobType.DefaultQueue = u"Long"_s;
    jobType.GenericCommandLine = commandLine;
    return jobType;
}
} // namespace

/// Where the jobs of a type run: its editor, and the dialog of the cluster, which asks with the real program;
/// the cluster's own commands are shell scripts.
class TestClusterDialog : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void init() override;
    void cleanup() override;
    void ShowsWhatTheClusterAnswers_data();
    void ShowsWhatTheClusterAnswers();
    void AsksNoMoreWhenItIsClosed();
    void MovesAJobType();
    void LeavesACommandLineAsItWasWritten();

private:
    void AddProgram(const QString &name, const QByteArray &lines) const
    {
        QDir{}.mkpath(Path(u"bin"_s));
        const QString path = WriteTestFile(Path(u"bin/"_s + name), "#!/bin/sh\n" + lines);
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    [[nodiscard]] static Taskmill_ClusterDialog &OpenSettings(Taskmill_NewJobTypeWidget &editor)
    {
        QTest::mouseClick(&Field<QPushButton>(editor, u"Cluster Settings"_s), Qt::LeftButton);
        return *editor.findChild<Taskmill_ClusterDialog *>();
    }

    QString m_appDirBefore;
};

void TestClusterDialog::init()
{
    TestCase::init();
    m_appDirBefore =
        std::exchange(KilnUtil_FileSys::m_appDirPath, QFileInfo{QStringLiteral(TASKMILL_SLURM)}.path());
    qputenv("PATH", (Path(u"bin:"_s) + qEnvironmentVariable("PATH")).toLocal8Bit());
}

void TestClusterDialog::cleanup()
{
    KilnUtil_FileSys::m_appDirPath = m_appDirBefore;
    TestCase::cleanup();
}

void TestClusterDialog::ShowsWhatTheClusterAnswers_data()
{
    QTest::addColumn<QByteArray>("sinfo");
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QStringList>("partitions");
    QTest::newRow("partitions") << QByteArray{"echo 'a-long-partition*|up|infinite|12|100/28/0/128'\n"
                                              "echo 'night|down|1-00:00:00|1|0/8/0/8'"}
                                << u"The cluster answers. Its own choice is a-long-partition."_s
                                << QStringList{u"a-long-partition up infinite 12 28 128"_s,
                                               u"night down 1-00:00:00 1 8 8"_s};
    QTest::newRow("an error")
        << QByteArray{"echo 'sinfo: Unable to <b>contact</b> slurm controller' >&2; exit 1"}
        << u"No answer: sinfo: Unable to <b>contact</b> slurm controller"_s << QStringList{};
    QTest::newRow("nothing") << QByteArray{"exit 0"} << u"The cluster shows no partition."_s << QStringList{};
}

void TestClusterDialog::ShowsWhatTheClusterAnswers()
{
    QFETCH(QByteArray, sinfo);
    QFETCH(QStringList, partitions);
    AddProgram(u"sinfo"_s, sinfo);
    Taskmill_ClusterDialog dialog{nullptr, TypeOf(u"/opt/orca"_s, u"@EXEFILE @INFILE"_s)};
    auto &ask = Field<QPushButton>(dialog, u"Try"_s);
    ask.click();
    QCOMPARE(ask.text(), u"&Stop"_s);
    QTRY_COMPARE(ask.text(), u"T&ry"_s);
    QStringList answers;
    for (const QLabel *label : dialog.findChildren<QLabel *>())
        answers += label->text();
    QFETCH(QString, answer);
    QVERIFY2(answers.contains(answer), qPrintable(answers.join(u'\n')));
    auto &table = Field<QTreeWidget>(dialog, u"Partitions of the cluster"_s);
    QStringList rows;
    for (int row = 0; row < table.topLevelItemCount(); ++row) {
        QStringList cells;
        for (int column = 0; column < table.columnCount(); ++column)
            cells += table.topLevelItem(row)->text(column);
        rows += cells.join(u' ');
    }
    QCOMPARE(rows, partitions);
    if (rows.isEmpty())
        return;
    QCOMPARE(CommandLine(dialog), u"@EXEFILE --cores input --memory input -- /opt/orca @INFILE"_s);
    table.setCurrentItem(table.topLevelItem(1));
    QTest::keyClick(&table, Qt::Key_Return);
    QCOMPARE(CommandLine(dialog),
             u"@EXEFILE --partition night --cores input --memory input -- /opt/orca @INFILE"_s);
}

void TestClusterDialog::AsksNoMoreWhenItIsClosed()
{
    AddProgram(u"ssh"_s, "[ \"$2\" = check ] && exit 255\necho $$ >" + Path(u"asks"_s).toLocal8Bit() +
                             ".new; mv " + Path(u"asks.new"_s).toLocal8Bit() + ' ' +
                             Path(u"asks"_s).toLocal8Bit() + "; exec sleep 1000\n");
    auto dialog = std::make_unique<Taskmill_ClusterDialog>(nullptr, TypeOf(u"/opt/orca"_s, u"@EXEFILE"_s));
    Field(*dialog, u"Host"_s).setText(u"me@login"_s);
    Field<QPushButton>(*dialog, u"Try"_s).click();
    QTRY_VERIFY(QFile::exists(Path(u"asks"_s)));
    const int process = ReadTestFile(Path(u"asks"_s)).toInt();
    QCOMPARE(kill(process, 0), 0);
    dialog.reset();
    QTRY_VERIFY(kill(process, 0) != 0);
}

void TestClusterDialog::MovesAJobType()
{
    const Taskmill_JobType here = TypeOf(TestProgramPath(), u"@EXEFILE @INFILE\nyes"_s);
    Taskmill_NewJobTypeWidget editor{nullptr};
    editor.Load(here);
    editor.show();
    auto &runOn = Field<QComboBox>(editor, u"Run on"_s);
    QCOMPARE(runOn.currentIndex(), 0);
    QVERIFY(!Field<QPushButton>(editor, u"Cluster Settings"_s).isEnabled());
    // The choice follows what comes of the dialog.
    for (const bool isAccepted : {false, true}) {
        runOn.setFocus();
        QTest::keyClick(&runOn, Qt::Key_Down);
        auto &dialog = *editor.findChild<Taskmill_ClusterDialog *>();
        Field(dialog, u"Time limit"_s).setText(u"2:00:00"_s);
        Field<QPlainTextEdit>(dialog, u"Prepare lines"_s).setPlainText(u"module load \"a b\"\n\nulimit -s"_s);
        Field<QComboBox>(dialog, u"Memory in MB"_s).setCurrentText(u"12x"_s);
        QVERIFY(!Field<QPushButton>(dialog, u"Ok"_s).isEnabled());
        Field<QComboBox>(dialog, u"Memory in MB"_s).setCurrentText(u"not said"_s);
        dialog.done(isAccepted);
        QTRY_VERIFY(!editor.findChild<Taskmill_ClusterDialog *>());
        QCOMPARE(runOn.currentIndex(), isAccepted ? 1 : 0);
    }
    const Taskmill_JobType there = editor.Read();
    QVERIFY(there.RunsOnCluster());
    QVERIFY(there.IsValid());
    QCOMPARE(
        there.GenericCommandLine,
        u"@EXEFILE --cores input --time 2:00:00 --prepare \"module load \\\"a b\\\"\" --prepare \"ulimit "
        "-s\" -- "_s +
            TestProgramPath() + u" @INFILE\nyes"_s);
    runOn.setFocus();
    QTest::keyClick(&runOn, Qt::Key_Up);
    QCOMPARE(editor.Read(), here);
}

void TestClusterDialog::LeavesACommandLineAsItWasWritten()
{
    const QString written = u"@EXEFILE   --cores=@NCPU --sbatch '--qos=a'  --  orca   @INFILE"_s;
    const Taskmill_JobType jobType = TypeOf(QStringLiteral(TASKMILL_SLURM), written);
    Taskmill_NewJobTypeWidget editor{nullptr};
    editor.Load(jobType);
    editor.show();
    Taskmill_ClusterDialog &dialog = OpenSettings(editor);
    QCOMPARE(Field<QComboBox>(dialog, u"Cores"_s).currentText(), u"@NCPU"_s);
    QCOMPARE(Field<QComboBox>(dialog, u"Memory in MB"_s).currentText(), u"not said"_s);
    QCOMPARE(Field(dialog, u"Further options"_s).text(), u"--sbatch '--qos=a'"_s);
    QCOMPARE(CommandLine(dialog), written);
    dialog.accept();
    QCOMPARE(editor.Read(), jobType);
    QTRY_VERIFY(!editor.findChild<Taskmill_ClusterDialog *>());
    Taskmill_ClusterDialog &again = OpenSettings(editor);
    Field(again, u"Host"_s).setText(u" me@login "_s);
    again.accept();
    QCOMPARE(editor.Read().GenericCommandLine,
             u"@EXEFILE --host me@login --cores @NCPU --sbatch '--qos=a' -- orca   @INFILE"_s);
}

QTEST_MAIN(TestClusterDialog)
#include "test_clusterdialog.moc"
