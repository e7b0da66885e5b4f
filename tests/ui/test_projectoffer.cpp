// SPDX-License-Identifier: MIT
#include "ui/programsoffer.h"
#include "ui/projectoffer.h"

#include "db/databasetestutil.h"
#include "jobs/jobtypelist.h"
#include "ui/queuewidgets.h"
#include "ui/uidriver.h"
#include "widgets/tablewidget.h"

using namespace Qt::Literals::StringLiterals;

class TestProjectOffer : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void SaysWhatWaits_data()
    {
        QTest::addColumn<QStringList>("changes");
        QTest::addColumn<QString>("text");
        QTest::newRow("three jobs") << QStringList{} << u"Open a && b.mill, 3 waiting jobs"_s;
        QTest::newRow("one job") << QStringList{u"DELETE FROM ShortJobsQueue"_s,
                                                u"DELETE FROM QueuelessJobs"_s}
                                 << u"Open a && b.mill, 1 waiting job"_s;
        QTest::newRow("without the tables")
            << QStringList{u"DROP TABLE LongJobsQueue"_s} << u"Open a && b.mill"_s;
        QTest::newRow("an endless table")
            << QStringList{u"DROP TABLE LongJobsQueue"_s,
                           u"CREATE VIEW LongJobsQueue AS WITH RECURSIVE n(i) AS "
                           "(SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT i FROM n"_s}
            << u"Open a && b.mill"_s;
    }

    void SaysWhatWaits()
    {
        PagePlace place;
        Taskmill_LongJobsQueueWidget tab{&place.window, place.manager};
        place.Show();
        const QString path = place.manager.Path(u"a & b.mill"_s);
        const Taskmill_JobType gated = place.manager.AddGatedJobType();
        place.manager.Long().Queue()->SetPaused(true);
        place.manager.Short().Queue()->SetPaused(true);
        for (Taskmill_QueueOwner *owner : place.manager.Destinations().All())
            owner->Submit(place.manager.NewJob(gated));
        QVERIFY(place.manager.Project().SaveProjectAs(path));
        place.manager.NewProject();
        tab.FillTable();
        QFETCH(const QStringList, changes);
        RawDatabase{path}.Execute(changes);

        auto *offer = new Taskmill_ProjectOffer{tab.Table(), path};
        QFETCH(const QString, text);
        QTRY_COMPARE(offer->text(), text);
        QVERIFY(offer->isVisible());
        QVERIFY(tab.Frame()->rect().contains(offer->geometry()));
        // It goes when there is work.
        place.manager.Long().Submit(place.manager.NewJob(gated));
        tab.FillTable();
        QVERIFY(!offer->isVisible());
    }

    void AddsTheTypesOfInstalledPrograms()
    {
        if (isWindows)
            QSKIP("By a program without a suffix");
        WriteTestFile(Path(u"mopac"_s), "#!/bin/sh\n");
        QVERIFY(QFile::setPermissions(Path(u"mopac"_s), QFile::ReadOwner | QFile::ExeOwner));
        qputenv("PATH", QFile::encodeName(Path()));
        PagePlace place;
        Taskmill_LongJobsQueueWidget tab{&place.window, place.manager};
        place.Show();
        auto *offer = new Taskmill_ProgramsOffer{tab.Table(), place.manager.JobTypes()};
        QVERIFY(!offer->isVisible());
        offer->UpdateSlot();
        QVERIFY(offer->isVisible());
        QCOMPARE(offer->text(), u"Add the job type MOPAC"_s);
        offer->click();
        QCOMPARE(place.manager.JobTypes().Names(), QStringList{u"MOPAC"_s});
        QVERIFY(!offer->isVisible());
        // It is there again for a project that has none.
        place.manager.JobTypes().RemoveAll();
        offer->UpdateSlot();
        QVERIFY(offer->isVisible());
        qputenv("PATH", "");
        offer->UpdateSlot();
        QVERIFY(!offer->isVisible());
    }
};

QTEST_MAIN(TestProjectOffer)
#include "test_projectoffer.moc"
