#include "jobs/jobtypelist.h"

#include "fakejobstore.h"
#include "support/testutil.h"

#include <QSignalSpy>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

namespace {
Taskmill_JobType Named(const QString &name)
{
    Taskmill_JobType jobType;
    jobType.Name = name;
    return jobType;
}
} // namespace

class TestJobTypeList : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { FailOnQtWarnings(); }
    void AddGivesTheKeyToCallerListAndStore();
    void AddWithoutAStoreChangesOnlyTheList();
    void RemoveTakesEveryEqualEntry();
    void RefreshTellsOnlyOfChanges();
};

void TestJobTypeList::AddGivesTheKeyToCallerListAndStore()
{
    FakeJobStore store;
    Taskmill_JobTypeList list{store};
    const QSignalSpy changed{&list, &Taskmill_JobTypeList::JobTypesChangedSignal};
    Taskmill_JobType first = Named(u"A"_s);
    Taskmill_JobType second = Named(u"B"_s);
    list.Add(first);
    list.Add(second);
    QCOMPARE(second.JobTypeID, 1);
    QCOMPARE(list.GetAll(), store.Rows);
    QCOMPARE(changed.size(), 2);

    store.RefusesInsertions = true;
    Taskmill_JobType refused = Named(u"C"_s);
    list.Add(refused);
    QCOMPARE(list.Names(), (QStringList{u"A"_s, u"B"_s}));
    list.Clear();
    QVERIFY(list.GetAll().isEmpty());
    QCOMPARE(store.Rows.size(), 2);
}

void TestJobTypeList::AddWithoutAStoreChangesOnlyTheList()
{
    FakeJobStore store;
    store.Open = false;
    Taskmill_JobTypeList list{store};
    const QSignalSpy changed{&list, &Taskmill_JobTypeList::JobTypesChangedSignal};
    Taskmill_JobType jobType = Named(u"A"_s);
    list.Add(jobType);
    QCOMPARE(list.GetAll(), QList<Taskmill_JobType>{jobType});
    QVERIFY(store.Rows.isEmpty());
    QCOMPARE(changed.size(), 1);
    list.RemoveAll();
    QVERIFY(list.GetAll().isEmpty());
}

void TestJobTypeList::RemoveTakesEveryEqualEntry()
{
    FakeJobStore store;
    Taskmill_JobTypeList list{store};
    const Taskmill_JobType twin = Named(u"Twin"_s);
    Taskmill_JobType other = twin;
    other.EnvironmentVariables = u"A=b"_s;
    store.Rows = {twin};
    list.SetAll({twin, other, twin});
    list.Remove(list.GetAll().first());
    QCOMPARE(list.GetAll(), QList<Taskmill_JobType>{other});
    QVERIFY(store.Rows.isEmpty());
    list.Add(other);
    list.RemoveAll();
    QVERIFY(list.GetAll().isEmpty() && store.Rows.isEmpty());
}

void TestJobTypeList::RefreshTellsOnlyOfChanges()
{
    FakeJobStore store;
    Taskmill_JobTypeList list{store};
    const QSignalSpy changed{&list, &Taskmill_JobTypeList::JobTypesChangedSignal};
    // As a view does; it would never end if an unchanged list were told again.
    connect(&list, &Taskmill_JobTypeList::JobTypesChangedSignal, &list, &Taskmill_JobTypeList::Refresh);
    store.Rows = {Named(u"A"_s)};
    list.Refresh();
    QCOMPARE(list.GetAll(), store.Rows);
    QCOMPARE(changed.size(), 1);

    store.Open = false;
    store.Rows.clear();
    list.Refresh();
    QCOMPARE(list.Names(), QStringList{u"A"_s});
    QCOMPARE(changed.size(), 1);
}

QTEST_GUILESS_MAIN(TestJobTypeList)
#include "test_jobtypelist.moc"
