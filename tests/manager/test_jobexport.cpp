// SPDX-License-Identifier: MIT
#include "manager/jobexport.h"

#include "db/databasetestutil.h"
#include "manager/exportdialogue.h"
#include "manager/finishedselection.h"
#include "support/testmanager.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::Literals::StringLiterals;

namespace {
/// A line as spreadsheets take it apart.
QStringList CellsOf(const QString &line)
{
    QStringList cells{QString{}};
    bool isQuoted = false;
    for (qsizetype place = 0; place < line.size(); ++place) {
        const bool isDoubled = isQuoted && line.mid(place, 2) == "\"\""_L1;
        if (line[place] == u'"' && !isDoubled)
            isQuoted = !isQuoted;
        else if (line[place] == u',' && !isQuoted)
            cells.append(QString{});
        else
            cells.last() += line[place];
        place += isDoubled ? 1 : 0;
    }
    return cells;
}

QString Cell(const Taskmill_JobRecord &job, const QString &key)
{
    const QStringList cells = CellsOf(Taskmill_JobExport::CsvLine(job));
    const QStringList keys = CellsOf(Taskmill_JobExport::CsvHeader());
    return cells.size() == keys.size() ? cells.value(keys.indexOf(key)) : u"so many cells"_s;
}
} // namespace

/// Jobs that are written into a file for other programs.
class TestJobExport : public ManagerTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void CellsCanBeReadBack_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("cell");
        for (const QString &same : {u"plain"_s, u"two, with a comma"_s, u"a \"quoted\" word"_s, u" blanks "_s,
                                    u"two\r\nlines"_s, u"水 ü"_s, u"2-propanol"_s})
            QTest::newRow(qPrintable(same)) << same << same;
        // A spreadsheet would carry it out.
        for (const QString &formula : {u"=1+1"_s, u"+1"_s, u"-2"_s, u"@SUM(A1)"_s, u"=\"a\",b"_s})
            QTest::newRow(qPrintable(formula)) << formula << u'\'' + formula;
    }

    void CellsCanBeReadBack()
    {
        QFETCH(const QString, name);
        Taskmill_JobRecord job = SampleJob(SampleJobType(u"Type"_s), 7);
        job.Name = name;
        QTEST(Cell(job, u"name"_s), "cell");
    }

    void ValuesAreThoseOfJson()
    {
        Taskmill_JobRecord job = SampleJob(SampleJobType(u"Type"_s), 7);
        job.Status = Taskmill_JobStatus::Failed;
        job.ExitCode = -11;
        job.ProcessorMs = 1500;
        job.PeakMemoryKB = 2000;
        job.Result.Verdict = Taskmill_Verdict::NotConverged;
        job.Result.Message = u"-- NOT"_s;
        job.Result.Program = u"MOPAC"_s;
        job.Result.Steps = 12;
        job.Result.Energies = {-1, -76.123456789};
        const QList<QStringList> expected{{u"id"_s, u"7"_s},
                                          {u"status"_s, u"Failed"_s},
                                          {u"submitted"_s, u"2024-02-29T01:02:03"_s},
                                          {u"exitcode"_s, u"-11"_s},
                                          {u"elapsed"_s, u"82676"_s},
                                          {u"processortime"_s, u"1.5"_s},
                                          {u"peakmemory"_s, u"2048000"_s},
                                          {u"folder"_s, QDir::toNativeSeparators(u"/tmp"_s)},
                                          {u"result"_s, u"not-converged"_s},
                                          {u"message"_s, u"'-- NOT"_s},
                                          {u"steps"_s, u"12"_s},
                                          {u"energy"_s, u"-76.123456789"_s}};
        for (const QStringList &pair : expected)
            QCOMPARE(Cell(job, pair[0]), pair[1]);
    }

    void JobsThatAreThereAreWritten_data()
    {
        QTest::addColumn<QString>("ending");
        QTest::newRow("for spreadsheets") << u"csv"_s;
        QTest::newRow("for programs") << u"json"_s;
    }

    void JobsThatAreThereAreWritten()
    {
        QFETCH(const QString, ending);
        m_manager->NewProject();
        Taskmill_FinishedJobs &jobs = m_manager->FinishedJobs();
        const Taskmill_JobType type = m_manager->AddGatedJobType();
        for (int number = 1; number <= 4; ++number)
            jobs.AddJob(TestManager::JobOf(type, number));
        const auto selection = std::make_shared<Taskmill_FinishedSelection>(jobs, QList{3, 1, 0});
        const QString file = WriteTestFile(Path(u"jobs."_s + ending), "before");
        const auto jobAt = [selection](qsizetype place) {
            return selection->At(place);
        };
        Taskmill_JobExport *exporting = Taskmill_JobExport::Begin(file, selection->Count(), jobAt, this);
        // One goes before it is written, and others have other places then.
        jobs.Remove({1});
        QCOMPARE(ReadTestFile(file), "before");
        QSignalSpy finished{exporting, &Taskmill_JobExport::FinishedSignal};
        QVERIFY(finished.wait());
        const QByteArray content = ReadTestFile(file);
        QStringList names;
        if (ending == "json"_L1) {
            for (const QJsonValue job : QJsonDocument::fromJson(content).array())
                names += job.toObject().value("name"_L1).toString();
        } else {
            const QStringList lines = QString::fromUtf8(content).split(u"\r\n"_s);
            for (const QString &line : lines.sliced(1, lines.size() - 2))
                names += CellsOf(line).value(1);
        }
        QCOMPARE(names, (QStringList{u"job 4"_s, u"job 1"_s}));

        // A folder takes no file, and what is there stays.
        const QString nowhere = Path(u"none/jobs."_s + ending);
        Taskmill_JobExport *failing = Taskmill_JobExport::Begin(nowhere, 2, jobAt, this);
        QSignalSpy failed{failing, &Taskmill_JobExport::FinishedSignal};
        QVERIFY(failed.wait());
        QCOMPARE(failed.first().first().toBool(), false);
        QVERIFY(m_manager->prompt.asked.last().text.contains(QDir::toNativeSeparators(nowhere)));
    }

    void AnEndingIsAdded()
    {
        WriteTestFile(Path(u"jobs.csv"_s), "before");
        m_manager->prompt.texts = {Path(u"jobs"_s), Path(u"other"_s)};
        m_manager->prompt.answers = {KilnUtil_UserPrompt::WarnAnswer::No};
        Taskmill_ExportDialogue dialogue{3};
        Taskmill_AskThroughPrompt(dialogue);
        QCOMPARE(m_manager->prompt.asked.size(), 3);
        QCOMPARE(dialogue.File(), Path(u"other.csv"_s));
    }
};

QTEST_GUILESS_MAIN(TestJobExport)
#include "test_jobexport.moc"
