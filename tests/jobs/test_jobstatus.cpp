#include "jobs/jobstatus.h"

#include <QtTest>

using namespace Qt::Literals::StringLiterals;

class TestJobStatus : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void KeepsNumbersAndWords_data();
    void KeepsNumbersAndWords();
    void ReadsUnknownWords();
};

void TestJobStatus::KeepsNumbersAndWords_data()
{
    QTest::addColumn<int>("number");
    QTest::addColumn<QString>("word");
    QTest::addColumn<bool>("final");

    QTest::newRow("unknown") << 0 << u"Unknown"_s << false;
    QTest::newRow("pending") << 1 << u"Pending"_s << false;
    QTest::newRow("running") << 2 << u"Running"_s << false;
    QTest::newRow("finished") << 3 << u"Finished"_s << true;
    QTest::newRow("completed") << 4 << u"Completed"_s << true;
    QTest::newRow("crashed") << 5 << u"Crashed"_s << true;
    QTest::newRow("failed") << 6 << u"Failed"_s << true;
    QTest::newRow("killed") << 7 << u"Killed"_s << true;
}

void TestJobStatus::KeepsNumbersAndWords()
{
    QFETCH(int, number);
    QFETCH(QString, word);
    const auto status = static_cast<Taskmill_JobStatus>(number);
    QCOMPARE(Taskmill_JobStatusText(status), word);
    QTEST(Taskmill_IsFinalStatus(status), "final");
    QCOMPARE(Taskmill_JobStatusFromText(word.toUpper()), status);
    QCOMPARE(Taskmill_JobStatusFromText(word.toLower()), status);
}

void TestJobStatus::ReadsUnknownWords()
{
    for (const QString &text : {u"Done"_s, u""_s, u"Complete"_s, u"Completed "_s})
        QCOMPARE(Taskmill_JobStatusFromText(text), Taskmill_JobStatus::Unknown);
    for (const int number : {8, -1}) {
        QCOMPARE(Taskmill_JobStatusText(static_cast<Taskmill_JobStatus>(number)), QString{});
        QVERIFY(!Taskmill_IsFinalStatus(static_cast<Taskmill_JobStatus>(number)));
    }
}

QTEST_GUILESS_MAIN(TestJobStatus)
#include "test_jobstatus.moc"
