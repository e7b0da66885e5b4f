// SPDX-License-Identifier: MIT
#include "ui/finishedjobswidget.h"
#include "ui/uidriver.h"
#include "widgets/tablesortproxy.h"
#include "widgets/tablewidget.h"

#include <QAbstractItemModelTester>
#include <QAbstractProxyModel>
#include <QApplication>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int jobCount = Taskmill_FinishedJobs::FewJobs + 100;
constexpr int nameColumn = 1;
constexpr int statusColumn = 2;
constexpr auto reportMode = QAbstractItemModelTester::FailureReportingMode::QtTest;

struct LongHistory : PagePlace
{
    Taskmill_JobType type = manager.AddGatedJobType();
    Taskmill_FinishedJobs &jobs = manager.FinishedJobs();
    Taskmill_FinishedJobsWidget page{&window, jobs};
    KilnUtil_TableWidget &table = *page.Table();
    QAbstractItemModelTester tester{table.model(), reportMode};
    QAbstractItemModelTester sourceTester{qobject_cast<QAbstractProxyModel *>(table.model())->sourceModel(),
                                          reportMode};

    LongHistory()
    {
        const bool inserted = TestManager::Database().AsOneChange([this] {
            for (int number = 1; number <= jobCount; ++number)
                TestManager::Database().InsertFinishedJob(Job(number), true);
            return true;
        });
        if (!inserted)
            qFatal("no jobs");
        jobs.Load();
        Show();
    }

    /// Many of the names and statuses are equal.
    [[nodiscard]] Taskmill_JobRecord Job(int number) const
    {
        Taskmill_JobRecord job = TestManager::JobOf(type, number);
        job.Name = (number % 2 == 0 ? u"name %1"_s : u"Name %1"_s).arg(number * 31 % 97);
        job.Status = number % 3 == 0 ? Taskmill_JobStatus::Failed : Taskmill_JobStatus::Completed;
        return job;
    }

    [[nodiscard]] QList<int> Numbers() const
    {
        QList<int> numbers;
        for (int row = 0; row < table.model()->rowCount(); ++row)
            numbers.append(table.model()->index(row, 0).data().toInt());
        return numbers;
    }

    /// Jobs in this order sorted by the text of the column.
    [[nodiscard]] QList<int> Sorted(QList<int> numbers, int column, Qt::SortOrder order) const
    {
        QHash<int, QString> keys;
        for (const int number : std::as_const(numbers)) {
            const Taskmill_JobRecord job = Job(number);
            keys.insert(number,
                        column == nameColumn ? job.Name.toCaseFolded() : Taskmill_JobStatusText(job.Status));
        }
        const auto key = [&keys](int number) {
            return keys.value(number);
        };
        if (order == Qt::AscendingOrder)
            std::ranges::stable_sort(numbers, {}, key);
        else
            std::ranges::stable_sort(numbers, std::greater{}, key);
        return numbers;
    }
};

QList<int> FromOneTo(int last)
{
    QList<int> numbers(last);
    std::iota(numbers.begin(), numbers.end(), 1);
    return numbers;
}
} // namespace

/// The tab of finished jobs that are too many to be sorted at once.
class TestLongHistory : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void EqualRowsStayAsTheyStood()
    {
        const LongHistory history;
        const QList<int> byNumber = history.Numbers();
        QCOMPARE(byNumber, FromOneTo(jobCount));
        history.table.sortByColumn(nameColumn, Qt::DescendingOrder);
        // Until the new order is found.
        QCOMPARE(history.Numbers(), byNumber);
        const QList<int> byName = history.Sorted(byNumber, nameColumn, Qt::DescendingOrder);
        QTRY_COMPARE(history.Numbers(), byName);
        history.table.sortByColumn(statusColumn, Qt::AscendingOrder);
        const QList<int> byStatus = history.Sorted(byName, statusColumn, Qt::AscendingOrder);
        QTRY_COMPARE(history.Numbers(), byStatus);
        // What is known at once waits for nothing, and nothing comes behind it.
        history.table.sortByColumn(nameColumn, Qt::AscendingOrder);
        history.table.sortByColumn(0, Qt::DescendingOrder);
        QList<int> byNumberDown = byNumber;
        std::ranges::reverse(byNumberDown);
        QCOMPARE(history.Numbers(), byNumberDown);
        QTest::qWait(1);
        QCOMPARE(history.Numbers(), byNumberDown);
    }

    void ChangesWhileTheOrderIsFound_data()
    {
        QTest::addColumn<int>("added");
        QTest::addColumn<int>("removed");
        QTest::newRow("nothing") << 0 << 0;
        QTest::newRow("a job ends") << 1 << 0;
        QTest::newRow("more end than are reported one by one") << 250 << 0;
        QTest::newRow("one is removed") << 0 << 1;
        QTest::newRow("many are removed, and some end") << 7 << 900;
        QTest::newRow("so many are removed that few are left") << 3 << jobCount - 50;
    }

    void ChangesWhileTheOrderIsFound()
    {
        QFETCH(const int, added);
        QFETCH(const int, removed);
        LongHistory history;
        const QPersistentModelIndex last = history.table.model()->index(jobCount - 1, 0);
        history.table.sortByColumn(nameColumn, Qt::AscendingOrder);
        QList<int> numbers = FromOneTo(jobCount + added);
        for (int number = jobCount + 1; number <= jobCount + added; ++number)
            history.jobs.AddJob(history.Job(number));
        history.page.FillTable();
        // From everywhere but the end.
        QList<int> positions;
        for (int number = 0; number < removed; ++number)
            positions.append(number * (jobCount - 1) / removed);
        history.jobs.Remove(positions);
        const QSet<int> gone{positions.begin(), positions.end()};
        numbers.removeIf([&gone](int number) { return gone.contains(number - 1); });
        const QList<int> sorted = history.Sorted(numbers, nameColumn, Qt::AscendingOrder);
        QTRY_COMPARE(history.Numbers(), sorted);
        QCOMPARE(last.data().toInt(), jobCount);
        // And behind it each finds its place.
        history.jobs.AddJob(history.Job(jobCount + added + 1));
        history.page.FillTable();
        numbers.append(jobCount + added + 1);
        QCOMPARE(history.Numbers(), history.Sorted(numbers, nameColumn, Qt::AscendingOrder));
    }

    void SelectedRowsAreRemoved()
    {
        LongHistory history;
        history.table.sortByColumn(nameColumn, Qt::AscendingOrder);
        QList<int> numbers = history.Sorted(FromOneTo(jobCount), nameColumn, Qt::AscendingOrder);
        QTRY_COMPARE(history.Numbers(), numbers);
        // Beside each other in the table, anywhere in the list.
        history.table.selectionModel()->select(
            {history.table.model()->index(300, 0), history.table.model()->index(1799, 0)},
            QItemSelectionModel::Select | QItemSelectionModel::Rows);
        const QPersistentModelIndex behind = history.table.model()->index(1800, 0);
        history.manager.prompt.answers = {KilnUtil_UserPrompt::WarnAnswer::Yes};
        QTest::keyClick(&history.table, Qt::Key_Delete);
        const QString &question = history.manager.prompt.asked.last().text;
        QVERIFY(question.contains(u"the following 1500 selected"_s));
        QVERIFY(question.endsWith(u"\n... 1490 more ..."_s));
        numbers.remove(300, 1500);
        QTRY_COMPARE(history.Numbers(), numbers);
        QCOMPARE(behind.row(), 300);
        QVERIFY(history.table.SelectedRows().isEmpty());
        // Whatever is still to be removed from the database is not in what is saved.
        QVERIFY(history.manager.Project().SaveProjectAs(history.manager.Path(u"saved.mill"_s)));
        QCOMPARE(TestManager::Database().GetFinishedJobs().size(), numbers.size());
    }

    void AFilterIsFoundInTheBackground_data()
    {
        QTest::addColumn<bool>("isSortedMeanwhile");
        QTest::addColumn<int>("added");
        QTest::addColumn<int>("removed");
        QTest::newRow("nothing changes") << false << 0 << 0;
        QTest::newRow("the order is found at the same time") << true << 0 << 0;
        QTest::newRow("jobs end") << false << 7 << 0;
        QTest::newRow("many end") << false << 1200 << 0;
        QTest::newRow("jobs are removed") << true << 0 << 90;
        QTest::newRow("so many that few are left") << false << 3 << jobCount - 50;
    }

    void AFilterIsFoundInTheBackground()
    {
        QFETCH(const bool, isSortedMeanwhile);
        QFETCH(const int, added);
        QFETCH(const int, removed);
        LongHistory history;
        history.page.OpenFilter();
        QTest::keyClicks(QApplication::focusWidget(), u"name 4"_s);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
        QVERIFY(history.table.Rows().IsFiltering());
        if (isSortedMeanwhile)
            history.table.sortByColumn(nameColumn, Qt::DescendingOrder);
        QList<int> numbers = FromOneTo(jobCount + added);
        for (int number = jobCount + 1; number <= jobCount + added; ++number)
            history.jobs.AddJob(history.Job(number));
        history.page.FillTable();
        QList<int> positions(removed);
        std::iota(positions.begin(), positions.end(), 0);
        history.jobs.Remove(positions);
        numbers.remove(0, removed);
        QList<int> shown = numbers;
        shown.removeIf([&](int number) {
            return !history.Job(number).Name.contains(u"name"_s, Qt::CaseInsensitive) ||
                   !history.Job(number).Name.contains(u'4');
        });
        const auto sorted = [&](const QList<int> &jobs) {
            return isSortedMeanwhile ? history.Sorted(jobs, nameColumn, Qt::DescendingOrder) : jobs;
        };
        QTRY_COMPARE(history.Numbers(), sorted(shown));
        // One that ends is there when it matches; more are removed, shown and not.
        for (const int number : {jobCount + added + 1, jobCount + added + 2, jobCount + added + 3}) {
            history.jobs.AddJob(history.Job(number));
            numbers.append(number);
            if (history.Job(number).Name.contains(u'4'))
                shown.append(number);
        }
        history.page.FillTable();
        QCOMPARE(history.Numbers(), sorted(shown));
        history.jobs.Remove({0, 1, 2, 10, 20});
        for (const int position : {20, 10, 2, 1, 0})
            shown.removeOne(numbers.takeAt(position));
        QCOMPARE(history.Numbers(), sorted(shown));
        // All that is shown is removed, no more.
        history.table.selectAll();
        history.manager.prompt.answers = {KilnUtil_UserPrompt::WarnAnswer::Yes};
        QTest::keyClick(&history.table, Qt::Key_Delete);
        QTRY_COMPARE(history.Numbers(), QList<int>{});
        numbers.removeIf([&shown](int number) { return shown.contains(number); });
        QTest::keyClick(&history.table, Qt::Key_Escape);
        QCOMPARE(history.Numbers(), sorted(numbers));
    }

    void AnotherProjectIsOpened()
    {
        LongHistory history;
        QVERIFY(history.manager.Project().SaveProjectAs(history.manager.Path(u"long.mill"_s)));
        history.table.sortByColumn(nameColumn, Qt::DescendingOrder);
        QVERIFY(history.manager.Project().NewProject());
        QCOMPARE(history.table.model()->rowCount(), 0);
        // It comes sorted as the table was to be.
        QVERIFY(history.manager.Project().OpenProject(history.manager.Path(u"long.mill"_s)));
        const QList<int> sorted = history.Sorted(FromOneTo(jobCount), nameColumn, Qt::DescendingOrder);
        QTRY_COMPARE(history.Numbers(), sorted);
    }
};

QTEST_MAIN(TestLongHistory)
#include "test_longhistory.moc"
