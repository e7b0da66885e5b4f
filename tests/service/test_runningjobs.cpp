#include "service/runningjobs.h"

#include "jobs/processinspector.h"
#include "service/processworker.h"
#include "support/testutil.h"

#include <QFile>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

namespace {
/// Remembers which processes it was to end.
class FakeInspector final : public Taskmill_ProcessInspector
{
public:
    std::optional<QString> CreationDate; ///< of every process now; nothing when it cannot be asked
    std::optional<int> Parent;           ///< the same
    QString Ended;                       ///< such as "of 5, 5, " for the children of 5 and then 5

protected:
    QString ListingText() override { return {}; }
    void EndProcess(int processID) override { Ended += u"%1, "_s.arg(processID); }
    void EndChildren(int processID) override { Ended += u"of %1, "_s.arg(processID); }
    std::optional<QString> CreationDateNow(int) override { return CreationDate; }
    std::optional<int> ParentNow(int) override { return Parent; }
};

Taskmill_ProcessRecord ProcessOf(const QString &executable)
{
    Taskmill_ProcessRecord process;
    process.ExecutablePath = executable;
    return process;
}

bool IsSame(const QString &processExecutable, const QString &jobTypeExecutable)
{
    return !Taskmill_ProcessesOfJobTypes({ProcessOf(processExecutable)}, {jobTypeExecutable}).isEmpty();
}
} // namespace

class TestRunningJobs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { FailOnQtWarnings(); }

    void SamePathsHaveManyForms()
    {
        QVERIFY(IsSame(u" /None/A.EXE "_s, u"/none/a.exe"_s));
        QVERIFY(IsSame(u"C:\\none\\b\\..\\a.exe"_s, u"c:/none/./a.exe"_s));
        QVERIFY(IsSame(u"/none/Gaussian, Inc./a"_s, u"/none/Gaussian, Inc/a"_s));
        QVERIFY(IsSame(u"/none/Kilnworks, Inc./a"_s, u"/none/kilnworks, Inc./a"_s));
        QVERIFY(!IsSame(u"/none/Else, Inc./a"_s, u"/none/Else, Inc/a"_s));
        QVERIFY(!IsSame(u"/none/ab.exe"_s, u"/none/a.exe"_s));
        QVERIFY(!IsSame(u"/none/b/a.exe"_s, u"/none/a.exe"_s));
        QVERIFY(!IsSame(u" "_s, u" "_s));
        // Each process is listed once, of however many job types it may be.
        const auto listed = Taskmill_ProcessesOfJobTypes(
            {ProcessOf(u"/b"_s), ProcessOf(u"/x"_s), ProcessOf(u"/a"_s)}, {u"/a"_s, u"/b"_s, u"/B"_s});
        QCOMPARE(listed.size(), 2);
        QCOMPARE(listed.first().ExecutablePath, u"/b"_s);
    }

    void LinksLeadToTheSameFile()
    {
        if constexpr (isWindows)
            QSKIP("A link is made by administrators only");
        const QTemporaryDir directory;
        const QString file = WriteTestFile(directory.filePath(u"real"_s), {});
        const QString link = directory.filePath(u"link"_s);
        QVERIFY(QFile::link(file, link));
        QVERIFY(IsSame(file, link) && IsSame(link, file));
        // A link to nothing is like nothing else that is missing.
        QVERIFY(QFile::remove(file));
        QVERIFY(!IsSame(u"/none/a"_s, link));
    }

    void EndsOnlyWhatWasListed()
    {
        const auto ended = [](const QString &creationDateNow, int parentNow) {
            FakeInspector inspector;
            inspector.CreationDate = creationDateNow;
            inspector.Parent = parentNow;
            Taskmill_ProcessRecord process;
            process.ProcessId = u"5"_s;
            process.ParentProcessId = u"4"_s;
            process.CreationDate = u"1999"_s;
            using enum Taskmill_Kill;
            for (const Taskmill_Kill kill : {Process, Children, ProcessAndChildren, ProcessAndParent,
                                             ProcessChildrenAndParent, ProcessGroup}) {
                (void)Taskmill_KillProcess(inspector, process, kill);
                inspector.Ended += u'/';
            }
            return inspector.Ended;
        };
        QCOMPARE(ended(u"1999"_s, 4), u"5, /of 5, /of 5, 5, /4, 5, /of 5, 4, 5, //"_s);
        // The parent has ended; then the number belongs to another process.
        QCOMPARE(ended(u"1999"_s, 1), u"5, /of 5, /of 5, 5, /5, /of 5, 5, //"_s);
        QCOMPARE(ended(u"2000"_s, 4), u"//////"_s);
    }
};

QTEST_GUILESS_MAIN(TestRunningJobs)
#include "test_runningjobs.moc"
