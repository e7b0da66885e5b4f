#include "jobs/defaultjobtypes.h"
#include "jobs/jobtypelist.h"
#include "kilnutil/filesys.h"

#include "fakejobstore.h"
#include "support/testutil.h"

#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

class TestJobTypeList : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        FailOnQtWarnings();
        m_store = {};
    }

    void ListAndStoreAgree()
    {
        Taskmill_JobTypeList list{m_store};
        Taskmill_JobType first = Named(u"A"_s);
        Taskmill_JobType second = Named(u"B"_s);
        list.Add(first);
        list.Add(second);
        QCOMPARE(list.GetAll(), (QList{first, second}));
        QCOMPARE(m_store.Rows, (QList{first, second}));
        list.Remove(first);
        QCOMPARE(list.GetAll(), QList{second});
        QCOMPARE(m_store.Rows, QList{second});
    }

    void RefreshTellsOnlyOfChanges()
    {
        Taskmill_JobTypeList list{m_store};
        const QSignalSpy changed{&list, &Taskmill_JobTypeList::JobTypesChangedSignal};
        // As a view does; it would never end if an unchanged list were told again.
        connect(&list, &Taskmill_JobTypeList::JobTypesChangedSignal, &list, &Taskmill_JobTypeList::Refresh);
        m_store.Rows = {Named(u"A"_s)};
        list.Refresh();
        QCOMPARE(list.GetAll(), m_store.Rows);
        QCOMPARE(changed.size(), 1);
        m_store.Open = false;
        m_store.Rows.clear();
        list.Refresh();
        QCOMPARE(list.Names(), QStringList{u"A"_s});
        QCOMPARE(changed.size(), 1);
    }

    void InstalledProgramsBecomeTypesInOrder()
    {
        const QTemporaryDir place;
        KilnUtil_FileSys::m_appDirPath = place.path();
        qputenv("GAUSS_EXEDIR", QFile::encodeName(place.path()));
        qputenv("VELTRA_EXE", QFile::encodeName(place.filePath(u"veltra.exe"_s)));
        const auto restore = qScopeGuard([] {
            qunsetenv("GAUSS_EXEDIR");
            qunsetenv("VELTRA_EXE");
        });
        Taskmill_JobTypeList list{m_store};
        list.AddDefaults();
        QVERIFY(list.GetAll().isEmpty());
        for (const auto name : {"veltra.exe"_L1, "g09w.exe"_L1, "cubegen.exe"_L1, "formchk"_L1,
                                "formchk.exe"_L1, "freqchk.exe"_L1, "cubman.exe"_L1})
            WriteTestFile(place.filePath(name), {});
        WriteTestFile(place.filePath(isWindows ? u"gmmx.exe"_s : u"gmmx"_s), {});
        list.AddDefaults();
        QCOMPARE(list.Names(), (QStringList{u"Veltra"_s, u"GaussianW"_s, u"GMMX"_s, u"Cubegen"_s,
                                            u"Formchk"_s, u"Freqchk"_s, u"Cubman"_s}));
        for (const Taskmill_JobType &jobType : list.GetAll())
            QVERIFY2(jobType.IsValid(), qPrintable(jobType.Name));
        QCOMPARE(list.GetAll().at(4).ExecutablePath, place.filePath(u"formchk.exe"_s));

        WriteTestFile(place.filePath(isWindows ? u"g16.exe"_s : u"g16"_s), {});
        Taskmill_AddDefaultGaussian(list);
        const Taskmill_JobType gaussian = list.GetAll().value(7);
        QCOMPARE(gaussian.Name, u"Gaussian"_s);
        QVERIFY(gaussian.IsValid());
        QCOMPARE(gaussian.EnvironmentVariables, "GAUSS_EXEDIR="_L1 + place.path());
    }

private:
    static Taskmill_JobType Named(const QString &name)
    {
        Taskmill_JobType jobType;
        jobType.Name = name;
        return jobType;
    }

    FakeJobStore m_store;
};

QTEST_GUILESS_MAIN(TestJobTypeList)
#include "test_jobtypelist.moc"
