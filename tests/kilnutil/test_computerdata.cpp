#include "kilnutil/computerdata.h"

#include <QRegularExpression>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

class TestComputerData : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void PortsCanBeOverridden_data();
    void PortsCanBeOverridden();
};

void TestComputerData::cleanup()
{
    qunsetenv("TASKMILL_GUI_PORT");
    qunsetenv("TASKMILL_CONSOLE_PORT");
}

void TestComputerData::PortsCanBeOverridden_data()
{
    QTest::addColumn<QByteArray>("guiText");
    QTest::addColumn<QByteArray>("consoleText");
    QTest::addColumn<int>("guiPort");
    QTest::addColumn<int>("consolePort");
    QTest::addColumn<int>("warnings");
    QTest::newRow("no override") << QByteArray{} << QByteArray{} << 27641 << 27642 << 0;
    QTest::newRow("both") << QByteArray{"40001"} << QByteArray{"65535"} << 40001 << 65535 << 0;
    QTest::newRow("a word and zero") << QByteArray{"http"} << QByteArray{"0"} << 27641 << 27642 << 2;
    QTest::newRow("out of range") << QByteArray{"65536"} << QByteArray{"-1"} << 27641 << 27642 << 2;
    QTest::newRow("the port of the other mode") << QByteArray{"27642"} << QByteArray{} << 27641 << 27642 << 1;
}

void TestComputerData::PortsCanBeOverridden()
{
    QFETCH(const QByteArray, guiText);
    QFETCH(const QByteArray, consoleText);
    QFETCH(const int, warnings);
    qputenv("TASKMILL_GUI_PORT", guiText);
    qputenv("TASKMILL_CONSOLE_PORT", consoleText);
    for (int warning = 0; warning < warnings; ++warning)
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression{u"TASKMILL_.*ignored"_s});
    QTEST(int{KilnUtil_ComputerData::TaskmillGUIPortNumber()}, "guiPort");
    QTEST(int{KilnUtil_ComputerData::TaskmillConsolePortNumber()}, "consolePort");
}

QTEST_GUILESS_MAIN(TestComputerData)
#include "test_computerdata.moc"
