// SPDX-License-Identifier: MIT
#include "engines/outputreader.h"
#include "support/testutil.h"

#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr auto water = "O 0.0 1 0.0 1 0.1 1\nH 0.0 1 0.8 1 -0.5 1\nH 0.0 1 -0.8 1 -0.5 1\n\n";
constexpr auto waterXyz = "3\n\nO 0.0 0.0 0.1\nH 0.0 0.8 -0.5\nH 0.0 -0.8 -0.5\n";

Taskmill_ProgramResult Read(QByteArrayView output)
{
    Taskmill_OutputReader reader;
    reader.Feed({output.data(), static_cast<std::size_t>(output.size())});
    reader.Finish();
    return reader.State();
}
} // namespace

/// Outputs that the programs mopac and xtb write during the test.
class TestRealOutputs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        if (isWindows)
            QSKIP("neither of the programs is there");
        for (const QString &program : {u"mopac"_s, u"xtb"_s})
            QVERIFY2(!QStandardPaths::findExecutable(program).isEmpty(), qPrintable(program));
    }

    void Mopac_data()
    {
        AddRows({{"PM7", "normal"},
                 {"PM7 1SCF", "normal"},
                 {"PM7 CYCLES=1", "not-converged"},
                 {"PM7 ITRY=1 1SCF", "not-converged"},
                 {"PM7 NONSENSE", "error"},
                 {"PM7 OLDGEO", "error"},
                 {"PM7 CHARGE=1 SINGLET", "error"}});
    }

    void Mopac()
    {
        QFETCH(const QByteArray, words);
        WriteTestFile(Path(u"job.mop"_s), words + "\n water\n\n" + water);
        Run(u"mopac"_s, {u"job.mop"_s});
        const QByteArray output = ReadTestFile(Path(u"job.out"_s));
        Check(output, "MOPAC");
        if (words == "PM7") {
            const auto result = Read(output);
            QVERIFY(result.Steps > 0 && result.GeometryConverged == true && !result.Version.empty());
            // -57.8 kcal/mol, the measured heat of formation of water, is -0.092 hartree.
            QVERIFY(result.Energies.back() > -0.094 && result.Energies.back() < -0.090);
        }
    }

    void Xtb_data()
    {
        AddRows({{"--opt", "normal"},
                 {"--sp", "normal"},
                 {"--opt --cycles 1", "not-converged"},
                 {"--iterations 1", "not-converged"},
                 {"--alpb nosuch", "error"}});
    }

    void Xtb()
    {
        QFETCH(const QByteArray, words);
        WriteTestFile(Path(u"job.xyz"_s), waterXyz);
        const QByteArray output =
            Run(u"xtb"_s, QStringList{u"job.xyz"_s} + QString::fromLatin1(words).split(u' '));
        Check(output, "xtb");
        if (words == "--opt") {
            const auto result = Read(output);
            QVERIFY(result.Steps > 0 && result.GeometryConverged == true && !result.Version.empty());
            QCOMPARE(result.Energies.size(), static_cast<std::size_t>(result.Steps) + 1);
            QVERIFY(!result.CycleEnergies.empty() && result.CycleEnergies.back() < -5);
        }
    }

private:
    static void AddRows(const QList<std::pair<QByteArray, QByteArray>> &rows)
    {
        QTest::addColumn<QByteArray>("words");
        QTest::addColumn<QByteArray>("verdict");
        for (const auto &[words, verdict] : rows)
            QTest::newRow(words.constData()) << words << verdict;
    }

    [[nodiscard]] QString Path(const QString &name) const { return m_directory.filePath(name); }

    /// What it printed, both streams in one.
    QByteArray Run(const QString &program, const QStringList &arguments) const
    {
        QProcess process;
        process.setWorkingDirectory(m_directory.path());
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(program, arguments);
        return process.waitForFinished() ? process.readAll() : QByteArray{"not finished"};
    }

    static void Check(const QByteArray &output, const char *program)
    {
        QFETCH(const QByteArray, verdict);
        const Taskmill_ProgramResult whole = Read(output);
        QCOMPARE(QByteArray(Taskmill_VerdictText(whole.Verdict).data()), verdict);
        QCOMPARE(whole.Program.c_str(), program);
        if (verdict != "normal")
            return;
        // Killed at any line: the last ones may be missing, but no more than those.
        for (qsizetype end = 0; end < output.size(); end = output.indexOf('\n', end) + 1) {
            const bool isNormal = Read(QByteArrayView{output}.first(end)).Verdict == Taskmill_Verdict::Normal;
            QVERIFY2(!isNormal || output.size() - end < 1000, QByteArray::number(end));
        }
    }

    QTemporaryDir m_directory;
};

QTEST_GUILESS_MAIN(TestRealOutputs)
#include "test_realoutputs.moc"
