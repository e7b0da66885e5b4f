#include "jobs/jobstatus.h"

#include <QtTest>

using namespace Qt::Literals::StringLiterals;

class TestJobStatus : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void WordsAreKeptAndReadInAnyCase();
};

void TestJobStatus::WordsAreKeptAndReadInAnyCase()
{
    // Numbers, words and their order are those of stored projects.
    const QStringList words{u"Unknown"_s,   u"Pending"_s, u"Running"_s, u"Finished"_s,
                            u"Completed"_s, u"Crashed"_s, u"Failed"_s,  u"Killed"_s};
    for (int number = 0; number < words.size(); ++number) {
        const auto status = static_cast<Taskmill_JobStatus>(number);
        QCOMPARE(Taskmill_JobStatusText(status), words[number]);
        QCOMPARE(Taskmill_JobStatusFromText(words[number].toUpper()), status);
        QCOMPARE(Taskmill_IsFinalStatus(status), number >= 3);
    }
    for (const QString &text : {u"Done"_s, u""_s, u"Complete"_s, u"Completed "_s})
        QCOMPARE(Taskmill_JobStatusFromText(text), Taskmill_JobStatus::Unknown);
    for (const int number : {8, -1})
        QCOMPARE(Taskmill_JobStatusText(static_cast<Taskmill_JobStatus>(number)), QString{});
}

QTEST_GUILESS_MAIN(TestJobStatus)
#include "test_jobstatus.moc"
