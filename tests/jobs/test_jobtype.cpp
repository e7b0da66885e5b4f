#include "jobs/jobtype.h"
#include "support/testutil.h"

#include <QTemporaryDir>
#include <QtTest>

#include <functional>

using namespace Qt::Literals::StringLiterals;

Q_DECLARE_METATYPE(std::function<void(Taskmill_JobType &)>)

class TestJobType : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void ValidityNeedsEveryPart_data();
    void ValidityNeedsEveryPart();
    void FileMatchesFilter_data();
    void FileMatchesFilter();
    void FirstMatchingTypeIsTaken();
    void QueueIndexTestsPrefixes_data();
    void QueueIndexTestsPrefixes();
    void InputFilesAreSeenInTheTemplate();
};

void TestJobType::ValidityNeedsEveryPart_data()
{
    QTest::addColumn<std::function<void(Taskmill_JobType &)>>("change");
    QTest::addColumn<bool>("isValid");
    const auto row = [](const char *name, bool isValid,
                        const std::function<void(Taskmill_JobType &)> &change) {
        QTest::newRow(name) << change << isValid;
    };
    row("complete", true, [](Taskmill_JobType &) {});
    row("placeholder in lower case", true,
        [](Taskmill_JobType &type) { type.GenericCommandLine = u"@exefile"_s; });
    row("queue does not matter", true, [](Taskmill_JobType &type) { type.DefaultQueue = u"Queue"_s; });
    row("negative key", false, [](Taskmill_JobType &type) { type.JobTypeID = -1; });
    row("no name", false, [](Taskmill_JobType &type) { type.Name.clear(); });
    row("no application name", false, [](Taskmill_JobType &type) { type.ApplicationName.clear(); });
    row("no executable", false, [](Taskmill_JobType &type) { type.ExecutablePath.clear(); });
    row("executable is gone", false, [](Taskmill_JobType &type) { type.ExecutablePath += u'x'; });
    row("executable is a directory", false,
        [](Taskmill_JobType &type) { type.ExecutablePath = QDir::tempPath(); });
    row("no @EXEFILE", false, [](Taskmill_JobType &type) { type.GenericCommandLine = u"x @INFILE"_s; });
}

void TestJobType::ValidityNeedsEveryPart()
{
    const QTemporaryDir place;
    Taskmill_JobType jobType;
    jobType.Name = u"Type"_s;
    jobType.ApplicationName = u"program"_s;
    jobType.ExecutablePath = WriteTestFile(place.filePath(u"program"_s), {});
    jobType.GenericCommandLine = u"@EXEFILE @INFILE"_s;
    QFETCH(const std::function<void(Taskmill_JobType &)>, change);
    change(jobType);
    QTEST(jobType.IsValid(), "isValid");
}

void TestJobType::FileMatchesFilter_data()
{
    QTest::addColumn<QString>("filter");
    QTest::addColumn<QString>("file");
    QTest::addColumn<bool>("matches");
    const QString veltra = u"Veltra Input Files (*.dat *.vdat)"_s;
    QTest::newRow("second pattern, other case") << veltra << u"/w/X.VDAT"_s << true;
    QTest::newRow("word of the description") << veltra << u"/w/x.Files"_s << false;
    QTest::newRow("only the last suffix counts") << veltra << u"/w/x.dat.gz"_s << false;
    QTest::newRow("dot in the directory only") << veltra << u"/w.dat/x"_s << false;
    QTest::newRow("filter without description") << u"(*.gjf)"_s << u"x.gjf"_s << true;
    QTest::newRow("semicolons make one piece") << u"*.gjf;*.com"_s << u"x.gjf"_s << false;
    QTest::newRow("piece without *.") << u"Files (gjf .gjf)"_s << u"x.gjf"_s << false;
    QTest::newRow("bare *. and no suffix") << u"(*.)"_s << u"/w/x"_s << true;
    QTest::newRow("bare *. and a suffix") << u"(*.)"_s << u"/w/x.gjf"_s << false;
    QTest::newRow("no suffix otherwise") << u"(*.gjf)"_s << u"/w/gjf"_s << false;
    QTest::newRow("empty filter") << u"  "_s << u"/w/x"_s << false;
}

void TestJobType::FileMatchesFilter()
{
    QFETCH(const QString, filter);
    QFETCH(const QString, file);
    Taskmill_JobType jobType;
    jobType.InputFileFilter = filter;
    QTEST(jobType.MatchesFile(file), "matches");
}

void TestJobType::FirstMatchingTypeIsTaken()
{
    Taskmill_JobType first;
    first.Name = u"First"_s;
    first.InputFileFilter = u"(*.chk)"_s;
    Taskmill_JobType second = first;
    second.Name = u"Second"_s;
    second.InputFileFilter = u"(*.chk *.fch)"_s;
    const QList<Taskmill_JobType> jobTypes{first, second};
    QCOMPARE(Taskmill_JobTypeForFile(jobTypes, u"x.chk"_s).Name, u"First"_s);
    QCOMPARE(Taskmill_JobTypeForFile(jobTypes, u"x.FCH"_s).Name, u"Second"_s);
    QVERIFY(Taskmill_JobTypeForFile(jobTypes, u"x.gjf"_s).IsEmpty());
}

void TestJobType::QueueIndexTestsPrefixes_data()
{
    QTest::addColumn<QString>("queue");
    QTest::addColumn<Taskmill_QueueKey>("key");
    QTest::newRow("Long") << u"Long"_s << Taskmill_QueueKey::Long;
    QTest::newRow("longer") << u"longer"_s << Taskmill_QueueKey::Long;
    QTest::newRow("SHORT") << u"SHORT"_s << Taskmill_QueueKey::Short;
    QTest::newRow("None") << u"None"_s << Taskmill_QueueKey::Queueless;
    QTest::newRow("Queueless") << u"Queueless"_s << Taskmill_QueueKey::Queueless;
    QTest::newRow("Queue") << u"Queue"_s << Taskmill_QueueKey::None;
    QTest::newRow("empty") << QString{} << Taskmill_QueueKey::None;
}

void TestJobType::QueueIndexTestsPrefixes()
{
    QFETCH(const QString, queue);
    Taskmill_JobType jobType;
    jobType.DefaultQueue = queue;
    QTEST(jobType.DefaultQueueIndex(), "key");
}

void TestJobType::InputFilesAreSeenInTheTemplate()
{
    Taskmill_JobType jobType;
    jobType.GenericCommandLine = u"@EXEFILE\n@infile1\n"_s;
    QVERIFY(jobType.UsesInputFile());
    QVERIFY(!jobType.UsesSecondInputFile());
    jobType.GenericCommandLine += u"@InFile2\n"_s;
    QVERIFY(jobType.UsesSecondInputFile());
    jobType.GenericCommandLine = u"@EXEFILE @OUTFILE"_s;
    QVERIFY(!jobType.UsesInputFile());
}

QTEST_GUILESS_MAIN(TestJobType)
#include "test_jobtype.moc"
