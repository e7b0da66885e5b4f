#include "ctlrun.h"

#include "db/databasemanager.h"
#include "service/projectdatabase.h"
#include "support/testutil.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

namespace {
QJsonArray Json(const CtlResult &result)
{
    return QJsonDocument::fromJson(result.out).array();
}

QStringList Column(const QJsonArray &list, const QString &key)
{
    QStringList values;
    for (const QJsonValue &entry : list)
        values += entry.toObject().value(key).toVariant().toString();
    return values;
}
} // namespace

class TestCtlProjects : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void NewProjectReplacesNothingUnasked();
    void JobTypesComeAndGo();
    void FaultyJobTypesAreNotAdded();
    void JobsAreListed();
    void OtherFilesAreNoProjects_data();
    void OtherFilesAreNoProjects();

private:
    /// The test program stands in for the one program that is installed.
    [[nodiscard]] CtlResult Run(const QStringList &arguments) const
    {
        return RunCtl(arguments, {.directory = m_directory->path(),
                                  .variables = {u"VELTRA_EXE="_s + TestProgramPath(),
                                                u"GAUSS_EXEDIR="_s + m_directory->path()}});
    }
    [[nodiscard]] QString Path(const QString &name) const { return m_directory->filePath(name); }
    [[nodiscard]] Taskmill_Database *Load(const QString &name) const
    {
        Taskmill_Database *database =
            Taskmill_Database_Manager::Global().Database(Taskmill_Database::SQLiteMemory, {}, false);
        return database->LoadFromFile(Path(name)) ? database : nullptr;
    }

    std::unique_ptr<QTemporaryDir> m_directory;
};

void TestCtlProjects::init()
{
    FailOnQtWarnings();
    m_directory = std::make_unique<QTemporaryDir>();
    QVERIFY(m_directory->isValid());
    QCOMPARE(Run({u"project"_s, u"create"_s, u"größe.mill"_s}).status, 0);
}

void TestCtlProjects::cleanup()
{
    Taskmill_Database_Manager::Global().CloseAll();
    m_directory.reset();
}

void TestCtlProjects::NewProjectReplacesNothingUnasked()
{
    WriteTestFile(Path(u"letter.txt"_s), "dear");
    const CtlResult refused = Run({u"project"_s, u"create"_s, u"letter.txt"_s});
    QCOMPARE(refused.status, 5);
    QVERIFY2(refused.err.contains("--force"), refused.err.constData());
    QCOMPARE(ReadTestFile(Path(u"letter.txt"_s)), "dear"_ba);

    QCOMPARE(Run({u"project"_s, u"create"_s, u"--force"_s, u"letter.txt"_s}).status, 0);
    Taskmill_Database *database = Load(u"letter.txt"_s);
    QVERIFY(database);
    QVERIFY(Taskmill_IsProject(*database));
    QCOMPARE(database->GetQueueID(u"Short"_s), 1);
    QCOMPARE(Run({u"project"_s, u"create"_s, u"no/such/place.mill"_s}).status, 5);
    QCOMPARE(Run({u"project"_s, u"create"_s, u"--force"_s, u"."_s}).status, 5);
}

void TestCtlProjects::JobTypesComeAndGo()
{
    const QString file = u"größe.mill"_s;
    QCOMPARE(Run({u"types"_s, u"add"_s, file, u"--name"_s, u"O'Hara"_s, u"--exe"_s, TestProgramPath(),
                  u"--queue"_s, u"Queueless"_s, u"--command-line"_s, u"@EXEFILE\n@INFILE"_s,
                  u"--input-filter"_s, u"Water (*.mop)"_s, u"--env=A=1=2"_s, u"--env=B="_s})
                 .status,
             0);
    const QJsonArray types = Json(Run({u"types"_s, u"list"_s, file, u"--json"_s}));
    QCOMPARE(Column(types, u"name"_s), (QStringList{u"Veltra"_s, u"O'Hara"_s}));
    const QJsonObject expected{
        {u"id"_s, 1},
        {u"name"_s, u"O'Hara"_s},
        {u"applicationname"_s, QFileInfo{TestProgramPath()}.fileName()},
        {u"executablepath"_s, TestProgramPath()},
        {u"defaultqueue"_s, u"Queueless"_s},
        {u"inputfilefilter"_s, u"Water (*.mop)"_s},
        {u"outputfilefilter"_s, QString{}},
        {u"environmentvariables"_s, QJsonArray{u"A=1=2"_s, u"B="_s}},
        {u"genericcommandline"_s, u"@EXEFILE\n@INFILE"_s},
    };
    QCOMPARE(types[1].toObject(), expected);
    const QByteArray text = Run({u"types"_s, u"list"_s, file}).out;
    QVERIFY2(text.contains("A=1=2 ; B=") && text.contains("@EXEFILE @INFILE"), text.constData());

    QCOMPARE(Run({u"types"_s, u"remove"_s, file, u"unknown"_s}).status, 2);
    QCOMPARE(Run({u"types"_s, u"remove"_s, file, u"o'hara"_s}).status, 0);
    QCOMPARE(Run({u"types"_s, u"remove"_s, file, u"Veltra"_s}).status, 0);
    QCOMPARE(Run({u"types"_s, u"list"_s, file}).out, "Job Types List is Empty\n"_ba);
}

void TestCtlProjects::FaultyJobTypesAreNotAdded()
{
    const QByteArray before = ReadTestFile(Path(u"größe.mill"_s));
    const QString exe = u"--exe="_s + TestProgramPath();
    const QString name = u"--name=Water"_s;
    const QList<std::pair<QStringList, QByteArray>> faulty{
        {{exe}, "--name"},
        {{name}, "--exe"},
        {{name, u"--exe=no.exe"_s}, "no.exe"},
        {{name, u"--exe=."_s, u"--app=a"_s}, "does not exist"},
        {{u"--name=veltra"_s, exe}, "of that name"},
        {{name, exe, u"--queue=longest"_s}, "--queue"},
        {{name, exe, u"--env=A"_s}, "--env"},
        {{name, exe, u"--command-line=x"_s}, "@EXEFILE"},
        {{name, exe, u"--input-filter=a\nb"_s}, "line feed"}};
    for (const auto &[options, message] : faulty) {
        const CtlResult result = Run(QStringList{u"types"_s, u"add"_s, u"größe.mill"_s} + options);
        QCOMPARE(result.status, 2);
        QVERIFY2(result.err.contains(message), result.err.constData());
    }
    QCOMPARE(ReadTestFile(Path(u"größe.mill"_s)), before);
}

void TestCtlProjects::JobsAreListed()
{
    const QString file = u"größe.mill"_s;
    QVERIFY(Run({u"jobs"_s, file, u"--long"_s}).out.startsWith("Long Jobs Queue is Empty\n"));

    Taskmill_Database *database = Load(file);
    QVERIFY(database);
    Taskmill_JobRecord job;
    job.JobType = database->GetJobTypes().first();
    job.Name = u"Wasser"_s;
    job.Status = Taskmill_JobStatus::Pending;
    job.Submitted = QDateTime{{2024, 3, 9}, {17, 5, 6}};
    job.JobID = 4;
    QVERIFY(database->InsertLongJob(job, true));
    job.JobID = 5;
    QVERIFY(database->InsertQueuelessJob(job, true));
    job.JobID = 3;
    job.Status = Taskmill_JobStatus::Completed;
    job.QueueName = u"Short"_s;
    job.Finished = QDateTime{{2024, 3, 9}, {18, 0, 0}};
    QVERIFY(database->InsertFinishedJob(job, true));
    QVERIFY(database->SaveToFile(Path(file)));

    const QJsonArray all = Json(Run({u"jobs"_s, file, u"--json"_s}));
    QCOMPARE(Column(all, u"id"_s), (QStringList{u"3"_s, u"4"_s, u"5"_s}));
    QCOMPARE(Column(all, u"list"_s), (QStringList{u"finished"_s, u"long"_s, u"queueless"_s}));
    QCOMPARE(Column(all, u"status"_s), (QStringList{u"Completed"_s, u"Pending"_s, u"Pending"_s}));
    QCOMPARE(Column(all, u"finished"_s), (QStringList{u"2024-03-09T18:00:00"_s, u""_s, u""_s}));
    QCOMPARE(Column(Json(Run({u"jobs"_s, file, u"--json"_s, u"--long"_s})), u"id"_s), QStringList{u"4"_s});
    const QByteArray text = Run({u"jobs"_s, file}).out;
    QVERIFY2(text.contains("Wasser  Completed") && text.contains("03-09-2024 18:00:00") &&
                 text.contains("Short Jobs Queue is Empty"),
             text.constData());
}

void TestCtlProjects::OtherFilesAreNoProjects_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("empty") << ""_ba;
    QTest::newRow("text") << QByteArray(5000, 'x');
    QTest::newRow("header only") << "SQLite format 3\0"_ba;
}

void TestCtlProjects::OtherFilesAreNoProjects()
{
    QFETCH(const QByteArray, content);
    WriteTestFile(Path(u"other.mill"_s), content);
    const QString exe = u"--exe="_s + TestProgramPath();
    for (const QStringList &arguments :
         {QStringList{u"jobs"_s, u"other.mill"_s}, QStringList{u"types"_s, u"list"_s, u"other.mill"_s},
          QStringList{u"types"_s, u"add"_s, u"other.mill"_s, u"--name=A"_s, exe},
          QStringList{u"types"_s, u"list"_s, u"."_s}}) {
        const CtlResult result = Run(arguments);
        QCOMPARE(result.status, 5);
        QVERIFY2(result.err.contains("project file"), result.err.constData());
        QCOMPARE(result.out, QByteArray{});
    }
    QCOMPARE(ReadTestFile(Path(u"other.mill"_s)), content);
    QCOMPARE(Run({u"jobs"_s, u"missing.mill"_s}).status, 2);
}

QTEST_GUILESS_MAIN(TestCtlProjects)
#include "test_ctl_projects.moc"
