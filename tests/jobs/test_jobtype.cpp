#include "jobs/jobtype.h"
#include "support/testutil.h"

#include <QTemporaryDir>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

class TestJobType : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void ValidityNeedsEveryPart();
    void FileMatchesFilter_data();
    void FileMatchesFilter();
    void InputFilesAreSeenInTheTemplate();
};

void TestJobType::ValidityNeedsEveryPart()
{
    const QTemporaryDir place;
    Taskmill_JobType good;
    good.Name = u"Type"_s;
    good.ApplicationName = u"program"_s;
    good.ExecutablePath = WriteTestFile(place.filePath(u"program"_s), {});
    good.GenericCommandLine = u"@exefile @INFILE"_s;
    QVERIFY(good.IsValid());
    const auto isValidWith = [&good](auto member, const auto &value) {
        Taskmill_JobType jobType = good;
        jobType.*member = value;
        return jobType.IsValid();
    };
    QVERIFY(isValidWith(&Taskmill_JobType::DefaultQueue, u"Queue"_s));
    QVERIFY(!isValidWith(&Taskmill_JobType::JobTypeID, -1));
    QVERIFY(!isValidWith(&Taskmill_JobType::Name, QString{}));
    QVERIFY(!isValidWith(&Taskmill_JobType::ApplicationName, QString{}));
    QVERIFY(!isValidWith(&Taskmill_JobType::ExecutablePath, place.path()));
    QVERIFY(!isValidWith(&Taskmill_JobType::ExecutablePath, place.filePath(u"gone"_s)));
    QVERIFY(!isValidWith(&Taskmill_JobType::GenericCommandLine, u"x @INFILE"_s));
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
    QTest::newRow("semicolons make one piece") << u"*.gjf;*.com"_s << u"x.gjf"_s << false;
    QTest::newRow("piece without *.") << u"Files (gjf .gjf)"_s << u"x.gjf"_s << false;
    QTest::newRow("bare *. and no suffix") << u"(*.)"_s << u"/w/x"_s << true;
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
