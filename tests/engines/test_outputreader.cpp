// SPDX-License-Identifier: MIT
#include "engines/outputreader.h"

#include "engines/samples.h"
#include "support/testcase.h"

#include <random>

using namespace Qt::Literals::StringLiterals;

namespace {
const std::string gaussian =
    " Entering Gaussian System, Link 0=g16\n Gaussian 16:  ES64L-G16RevA.03 25-Dec-2016\n";
const std::string orca = "      * O   R   C   A *\n    Program Version 5.0.4 -  RELEASE  -\n";
const std::string orcaEnd = "                ****ORCA TERMINATED NORMALLY****\n";

Taskmill_ProgramResult Read(std::string_view text, std::size_t pieceSize = std::string_view::npos)
{
    Taskmill_OutputReader reader;
    for (; !text.empty(); text.remove_prefix(std::min(pieceSize, text.size())))
        reader.Feed(text.substr(0, pieceSize));
    reader.Finish();
    return reader.State();
}

QByteArray Text(const Taskmill_ProgramResult &result)
{
    QByteArray text = Taskmill_VerdictText(result.Verdict).data();
    if (result.Converged() || result.Steps > 0)
        text += (!result.Converged()   ? " unknown "
                 : *result.Converged() ? " yes "
                                       : " no ") +
                QByteArray::number(result.Steps);
    for (const double energy : result.Energies)
        text += ' ' + QByteArray::number(energy, 'g', 14);
    return text;
}

QByteArray WholeText(const Taskmill_ProgramResult &result)
{
    return Text(result) +
           QByteArray::fromStdString('|' + result.Program + '|' + result.Version + '|' + result.Message);
}
} // namespace

/// What outputs say, whatever the pieces in which they come.
class TestOutputReader : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void OutputsSayWhatTheyCameTo_data()
    {
        QTest::addColumn<Sample>("sample");
        for (const Sample &sample : ReadSamples(u"outputs.txt"_s))
            QTest::newRow(sample.name) << sample;
    }

    void OutputsSayWhatTheyCameTo()
    {
        QFETCH(const Sample, sample);
        const Taskmill_ProgramResult result = Read(sample.text);
        QCOMPARE(Text(result), sample.values["says"]);
        QVERIFY2(QByteArray::fromStdString(result.Message).contains(sample.values["message"]),
                 result.Message.c_str());
        QCOMPARE(result.Message.empty(), result.Verdict == Taskmill_Verdict::None);
        QCOMPARE(QByteArray::fromStdString(result.Program).toLower().replace('-', ""),
                 sample.name.split(':').first());
        QVERIFY(!result.Version.empty());

        const QByteArray whole = WholeText(result);
        for (const std::size_t pieceSize : {1, 2, 7})
            QCOMPARE(WholeText(Read(sample.text, pieceSize)), whole);
        QCOMPARE(WholeText(Read(sample.WindowsText())), whole);
        QCOMPARE(WholeText(Read(sample.WindowsText(), 1)), whole);
        // Killed at any line: the last ones may be missing, but no more than those.
        for (std::size_t end = 0; end + 1000 < sample.text.size(); end = sample.text.find('\n', end) + 1)
            QVERIFY(Read(sample.text.substr(0, end)).Verdict != Taskmill_Verdict::Normal);
        // The last line feed may be missing.
        QCOMPARE(WholeText(Read(std::string_view{sample.text}.substr(0, sample.text.size() - 1))), whole);
    }

    void LinesOfAnyLengthTakeNoRoom()
    {
        const std::string piece(1'000'000, 'x');
        Taskmill_OutputReader reader;
        reader.Feed(orca);
        for (int count = 0; count < 300; ++count)
            reader.Feed(piece);
        reader.Feed("\n" + orcaEnd);
        QCOMPARE(reader.State().Verdict, Taskmill_Verdict::Normal);
        // What stands behind a full line does not become a line of its own.
        QCOMPARE(Read(orca + piece + orcaEnd).Verdict, Taskmill_Verdict::None);
        QCOMPARE(Read(orca + std::string(5000, '\0') + '\n' + orcaEnd).Verdict, Taskmill_Verdict::Normal);
    }

    void OfManyEnergiesTheNewestStay()
    {
        std::string text = orca;
        for (int number = 1; number <= 100'000; ++number)
            text += "FINAL SINGLE POINT ENERGY  -" + std::to_string(number) + ".5\n";
        const auto energies = Read(text).Energies;
        QVERIFY(energies.size() >= 20'000);
        QVERIFY(energies.size() <= 40'000);
        QCOMPARE(energies.back(), -100'000.5);
        QCOMPARE(energies[energies.size() - 20'000], -80'001.5);
    }

    void CyclesAreThoseOfTheLastScf()
    {
        const std::string heading = "ITER       Energy         Delta-E\n";
        QCOMPARE(Read(orca + heading + "  1  -1.5  0.0\n     * SCF CONVERGED AFTER 1 CYCLES *\n" + heading +
                      "  1  -2.5  0.0\n" + heading + "  2  -3.5  0.0\n")
                     .CycleEnergies,
                 (std::vector{-2.5, -3.5}));
        QCOMPARE(Read(gaussian +
                      " Cycle   1  Pass 1\n E= -1.5\n Cycle   1  Pass 1\n E= -76.123D+00   Delta-E=  0.1\n")
                     .CycleEnergies,
                 (std::vector{-76.123}));
        const QByteArray xtb = ReadTestFile(QStringLiteral(TASKMILL_SAMPLES "real/xtb-sp.out"));
        QVERIFY(Read(xtb.toStdString()).CycleEnergies.back() < -5);
    }

    void BrokenOutputsAreReadToTheirEnds()
    {
        std::mt19937 random{7}; // NOLINT: the same ones each time
        for (const Sample &sample : ReadSamples(u"outputs.txt"_s)) {
            for (int round = 0; round < 40; ++round) {
                std::string text = sample.text;
                for (int change = 0; change < 6; ++change) {
                    const std::size_t at = random() % text.size();
                    switch (random() % 4) {
                    case 0:
                        text[at] = static_cast<char>(random());
                        break;
                    case 1:
                        text.erase(at, random() % 40 + 1);
                        break;
                    case 2:
                        text.insert(at, text.substr(random() % text.size(), random() % 80));
                        break;
                    default:
                        text.resize(at + 1);
                        break;
                    }
                    text += ' ';
                }
                const Taskmill_ProgramResult result = Read(text);
                QCOMPARE(WholeText(Read(text, 1)), WholeText(result));
            }
        }
    }
};

QTEST_GUILESS_MAIN(TestOutputReader)
#include "test_outputreader.moc"
