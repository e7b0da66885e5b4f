// SPDX-License-Identifier: MIT
#include "jobs/joborder.h"
#include "jobs/startconditions.h"
#include "support/testcase.h"

#include <QRandomGenerator>

using namespace Qt::Literals::StringLiterals;

namespace {
const Taskmill_JobTime now = QDateTime{{2026, 3, 4}, {17, 30}};
}

/// The order of waiting jobs, and what they wait for.
class TestStartOrder : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void MarkedJobsMove_data()
    {
        QTest::addColumn<QString>("marked"); // of the jobs a, b, c, d and e
        QTest::addColumn<QString>("move");
        QTest::addColumn<QString>("order");
        QTest::newRow("one goes up") << u"c"_s << u"up"_s << u"acbde"_s;
        QTest::newRow("neighbours go up together") << u"cd"_s << u"up"_s << u"acdbe"_s;
        QTest::newRow("those at the top stay") << u"abd"_s << u"up"_s << u"abdce"_s;
        QTest::newRow("one goes down") << u"c"_s << u"down"_s << u"abdce"_s;
        QTest::newRow("those at the bottom stay") << u"bde"_s << u"down"_s << u"acbde"_s;
        QTest::newRow("to the top in their order") << u"bde"_s << u"top"_s << u"bdeac"_s;
        QTest::newRow("to the bottom in their order") << u"abd"_s << u"bottom"_s << u"ceabd"_s;
        QTest::newRow("before one between them") << u"ae"_s << u"2"_s << u"baecd"_s;
        QTest::newRow("before one of them") << u"bd"_s << u"3"_s << u"acbde"_s;
        QTest::newRow("to the end") << u"ac"_s << u"5"_s << u"bdeac"_s;
    }

    void MarkedJobsMove()
    {
        QFETCH(const QString, marked);
        QFETCH(const QString, move);
        const QString jobs = u"abcde"_s;
        QList<bool> isMarked;
        for (const QChar job : jobs)
            isMarked.append(marked.contains(job));
        const auto wanted = Taskmill_MoveFromWord(move);
        QString order;
        for (const qsizetype place :
             wanted ? Taskmill_MovedPlaces(isMarked, *wanted) : Taskmill_PlacesBefore(isMarked, move.toInt()))
            order += jobs[place];
        QTEST(order, "order");
    }

    /// Any number of moves leaves numbers that rise, and changes few.
    void OrderNumbersAlwaysRise()
    {
        QRandomGenerator random{20260304};
        QList<qint64> numbers;
        for (qint32 jobID = 1; jobID <= 300; ++jobID)
            numbers.append(Taskmill_OrderNumber::OfJobID(jobID));
        int others = 0;
        for (int round = 0; round < 4000; ++round) {
            // Half of them at one place, where the room is used up.
            const qsizetype before = round % 2 == 0 ? 150 : random.bounded(numbers.size() + 1);
            QList<bool> isMarked(numbers.size(), false);
            for (int count = random.bounded(1, 4); count > 0; --count)
                isMarked[random.bounded(numbers.size())] = true;
            QList<qint64> moved;
            QList<bool> isMoved;
            for (const qsizetype place : Taskmill_PlacesBefore(isMarked, before)) {
                moved.append(numbers[place]);
                isMoved.append(isMarked[place]);
            }
            numbers = Taskmill_OrderNumber::Renumbered(moved, isMoved);
            for (qsizetype place = 0; place < numbers.size(); ++place) {
                QVERIFY2(place == 0 || numbers[place] > numbers[place - 1],
                         qPrintable(QString::number(round)));
                if (!isMoved[place] && numbers[place] != moved[place])
                    ++others;
            }
        }
        QVERIFY2(others < 4000 * 5, qPrintable(QString::number(others)));
    }

    void SaysWhyAJobWaits_data()
    {
        using Other = Taskmill_OtherJob;
        QTest::addColumn<Taskmill_StartConditions>("conditions");
        QTest::addColumn<Other>("other");
        QTest::addColumn<QString>("reason");
        const Taskmill_StartConditions after{.AfterJobID = 7};
        const Taskmill_JobTime tonight = QDateTime{{2026, 3, 4}, {18, 0}};
        const Taskmill_JobTime tomorrow = QDateTime{{2026, 3, 5}, {6, 0}};
        QTest::newRow("nothing") << Taskmill_StartConditions{} << Other::Gone << QString{};
        QTest::newRow("held") << Taskmill_StartConditions{.IsHeld = true, .NotBefore = tonight} << Other::Gone
                              << u"held"_s;
        QTest::newRow("later today") << Taskmill_StartConditions{.NotBefore = tonight} << Other::Gone
                                     << u"not before 18:00"_s;
        QTest::newRow("tomorrow") << Taskmill_StartConditions{.NotBefore = tomorrow} << Other::Gone
                                  << u"not before 2026-03-05 06:00"_s;
        QTest::newRow("the time has come")
            << Taskmill_StartConditions{.NotBefore = now} << Other::Gone << QString{};
        QTest::newRow("the other waits") << after << Other::Waits << u"waits for the end of job 7"_s;
        QTest::newRow("the other runs") << after << Other::Runs << u"waits for the end of job 7"_s;
        QTest::newRow("the other is judged")
            << after << Other::IsJudged << u"waits for the result of job 7"_s;
        QTest::newRow("the other has failed") << after << Other::Failed << u"held: job 7 has failed"_s;
        QTest::newRow("the other was killed") << after << Other::Killed << u"held: job 7 was killed"_s;
        QTest::newRow("the other is gone") << after << Other::Gone << u"held: job 7 was removed"_s;
        QTest::newRow("the other has ended well, the time has not come")
            << Taskmill_StartConditions{.NotBefore = tonight, .AfterJobID = 7} << Other::EndedWell
            << u"not before 18:00"_s;
    }

    void SaysWhyAJobWaits()
    {
        QFETCH(const Taskmill_StartConditions, conditions);
        QFETCH(const Taskmill_OtherJob, other);
        QTEST(Taskmill_ReasonToWait(conditions, {.Now = now, .AfterJob = other}), "reason");
    }

    void ReadsTimes_data()
    {
        QTest::addColumn<QString>("time"); // empty for none
        for (const auto &[text, time] : {std::pair{"18:05", "2026-03-04T18:05:00"},
                                         {"17:30", "2026-03-05T17:30:00"},
                                         {"6:00", "2026-03-05T06:00:00"},
                                         {"2031-12-24 18:30", "2031-12-24T18:30:00"},
                                         {"2031-12-24T18:30:15", "2031-12-24T18:30:15"},
                                         {"+90", "2026-03-04T19:00:00"},
                                         {"+2h", "2026-03-04T19:30:00"},
                                         {" +1d ", "2026-03-05T17:30:00"},
                                         {"+2w", ""},
                                         {"25:00", ""},
                                         {"2026-02-30 10:00", ""},
                                         {"+99999999999d", ""},
                                         {"tomorrow", ""},
                                         {"", ""}})
            QTest::newRow(text) << QString::fromLatin1(time);
    }

    void ReadsTimes()
    {
        const QString text = QString::fromLatin1(QTest::currentDataTag());
        QTEST(Taskmill_StartTimeFromText(text, now).IsoText(), "time");
    }

    void QuietHoursHoldBothEnds_data()
    {
        QTest::addColumn<QString>("quiet"); // of 06:29, 06:30, 21:59 and 22:00
        QTest::newRow("22:00-06:30") << u"y--y"_s;
        QTest::newRow("06:30-22:00") << u"-yy-"_s;
        QTest::newRow("off") << u"----"_s;
        QTest::newRow("22:00") << u"none"_s;
        QTest::newRow("22:00-22:00") << u"none"_s;
        QTest::newRow("22:00-06:30-07:00") << u"none"_s;
        QTest::newRow("22:61-06:30") << u"none"_s;
    }

    void QuietHoursHoldBothEnds()
    {
        const QString text = QString::fromLatin1(QTest::currentDataTag());
        const auto hours = Taskmill_QuietHours::FromText(text);
        QString quiet = hours ? QString{} : u"none"_s;
        for (const int minute : {389, 390, 1319, 1320}) {
            if (hours)
                quiet += hours->AreAny() && hours->Contain(minute) ? u'y' : u'-';
        }
        QTEST(quiet, "quiet");
        if (hours)
            QCOMPARE(hours->Text(), text);
    }
};

QTEST_GUILESS_MAIN(TestStartOrder)
#include "test_startorder.moc"
