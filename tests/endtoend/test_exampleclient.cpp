#include "endtoend/projectfixture.h"

#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

/// The example client of the manual against the real manager.
class TestExampleClient : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void SubmitsAndWaits_data();
    void SubmitsAndWaits();
};

void TestExampleClient::SubmitsAndWaits_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("output");
    QTest::addColumn<QString>("error");

    QTest::newRow("a job that completes, its type told by the extension")
        << QStringList{u"ä b.ok"_s} << 0
        << u"Job 1 was accepted\n%1/ä b.ok completed\nOutput file: %1/ä b.out\n"_s << QString{};
    QTest::newRow("a job that fails, with type and queue")
        << QStringList{u"ä b.ok"_s, u"bad"_s, u"none"_s} << 1
        << u"Job 1 was accepted\n%1/ä b.ok failed\nOutput file: %1/ä b.out\n"_s << QString{};
    QTest::newRow("a request that is refused")
        << QStringList{u"missing.ok"_s} << 1 << QString{}
        << u"Refused: the input file does not exist: %1/missing.ok\n"_s;
}

void TestExampleClient::SubmitsAndWaits()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const int, status);
    QFETCH(const QString, output);
    QFETCH(const QString, error);
    const QString python = QStandardPaths::findExecutable(u"python3"_s);
    QVERIFY(!python.isEmpty());
    ProjectFixture project;
    const QString filter = u"Files (*.ok)"_s;
    QVERIFY(project.AddTestType(u"Good"_s, u"exit 0 @INFILE"_s, filter));
    QVERIFY(project.AddTestType(u"Bad"_s, u"exit 3 @INFILE"_s, filter));
    QVERIFY(!project.InputFile(u"ä b.ok"_s).isEmpty());
    QVERIFY(project.Start());
    (void)project.Manager().Command("unpause long jobs");

    const QString directory = QFileInfo{project.ProjectPath()}.absolutePath();
    QProcess client;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const QString &variable : {u"TASKMILL_CONSOLE_PORT"_s, u"TASKMILL_GUI_PORT"_s})
        environment.insert(variable, QString::number(project.Manager().Port()));
    environment.insert(u"PYTHONUTF8"_s, u"1"_s);
    client.setProcessEnvironment(environment);
    client.setWorkingDirectory(directory);
    client.start(python, QStringList{QStringLiteral(TASKMILL_EXAMPLE_CLIENT)} + arguments);
    QVERIFY(client.waitForFinished());
    const auto expanded = [&directory](const QString &text) {
        return text.contains("%1"_L1) ? text.arg(directory) : text;
    };
    QCOMPARE(QString::fromUtf8(client.readAllStandardError()), expanded(error));
    QCOMPARE(QString::fromUtf8(client.readAllStandardOutput()), expanded(output));
    QCOMPARE(client.exitCode(), status);
}

QTEST_GUILESS_MAIN(TestExampleClient)
#include "test_exampleclient.moc"
