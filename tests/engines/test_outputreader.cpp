// SPDX-License-Identifier: MIT
#include "engines/outputreader.h"

#include <QtTest>

#include <random>

using namespace std::literals;

namespace {
using Verdict = Taskmill_Verdict;

struct Output
{
    const char *name;
    std::string text;
    Verdict verdict;
    std::string message = {};
    std::optional<bool> converged = {};
    int steps = 0;
    std::vector<double> energies = {};
    std::string program = {};
};

// Short tails, as the programs print them.
const std::string gaussian =
    " Entering Gaussian System, Link 0=g16\n Gaussian 16:  ES64L-G16RevA.03 25-Dec-2016\n";
const std::string gaussianEnd = " Normal termination of Gaussian 16 at Mon Jan  1 10:00:00 2024.\n";
const std::string gaussianTable = "         Item               Value     Threshold  Converged?\n";
const std::string orca = "      * O   R   C   A *\n    Program Version 5.0.4 -  RELEASE  -\n";
const std::string orcaEnd = "                ****ORCA TERMINATED NORMALLY****\n";
const std::string mopac = " **                 MOPAC v22.0.6                 **\n";
const std::string mopacEnd = " * JOB ENDED NORMALLY *\n == MOPAC DONE ==\n";
const std::string mopacBox =
    " *     Error and normal termination messages reported in this calculation     *\n"
    " *                                     *\n";
const std::string xtb = " |          x T B          |\n   * xtb version 6.5.1 (unknown) compiled by 'me'\n";
const std::string xtbEnd = " * finished run on 2024/01/01 at 10:00:00.000\n";
const std::string nwchem = "    Northwest Computational Chemistry Package (NWChem) 7.0.2\n";
const std::string rule(80, '-');

std::string Route(const std::string &route)
{
    return ' ' + rule.substr(0, 70) + "\n " + route + "\n " + rule.substr(0, 70) + '\n';
}

std::vector<Output> GaussianOutputs()
{
    const std::string step = " SCF Done:  E(RHF) =  -76.5     A.U. after    9 cycles\n" + gaussianTable;
    const std::string optimised = step + " Optimization completed.\n    -- Stationary point found.\n";
    const std::string second =
        " Link1:  Proceeding to internal job step number  2.\n" + Route("#N Geom=AllCheck RHF Freq");
    return {
        {"gaussian: the quotation behind the results has the word error",
         gaussian + optimised + " TO ERR IS HUMAN, AN ERROR TERMINATION DIVINE\n" + gaussianEnd,
         Verdict::Normal,
         "Normal termination of Gaussian 16",
         true,
         1,
         {-76.5},
         "Gaussian"},
        {"gaussian: an end of the first step is none of the second",
         gaussian + Route("#p hf/sto-3g opt freq") + optimised + gaussianEnd + second,
         Verdict::None,
         "",
         true,
         1,
         {-76.5}},
        {"gaussian: killed between the steps",
         gaussian + Route("#p hf/sto-3g opt=(ts,noeigentest) freq=noraman") + optimised + gaussianEnd,
         Verdict::None,
         "",
         true,
         1,
         {-76.5}},
        {"gaussian: both steps ended, and the table of the second is no step",
         gaussian + Route("#p hf/sto-3g opt freq") + optimised + gaussianEnd + second + step + gaussianEnd,
         Verdict::Normal,
         "Normal",
         true,
         1,
         {-76.5, -76.5}},
        {"gaussian: the step of the frequencies known by them alone",
         gaussian + Route("#p hf/sto-3g opt freq") + optimised + " Frequencies --  1.0\n" + step +
             gaussianEnd,
         Verdict::Normal,
         "Normal",
         true,
         1,
         {-76.5, -76.5}},
        {"gaussian: a keyword of the route cut in two",
         gaussian + ' ' + rule.substr(0, 20) + "\n #p hf/sto-3g pop opt\n  fre\n " + rule.substr(0, 20) +
             '\n' + step + gaussianEnd,
         Verdict::Normal,
         "Normal",
         false,
         1,
         {-76.5}},
        {"gaussian: an option is no keyword",
         gaussian + Route("#p external=(freq) opt=calcfc") + step + gaussianEnd,
         Verdict::Normal,
         "Normal",
         false,
         1,
         {-76.5}},
        {"gaussian: a link begins behind the end", gaussian + gaussianEnd + " (Enter /g16/l101.exe)\n",
         Verdict::None},
        {"gaussian: cause before the end",
         gaussian + " The combination of multiplicity 2 and 10 electrons is impossible.\n Error termination "
                    "via Lnk1e in "
                    "/g16/l301.exe at Mon.\n",
         Verdict::Error, "The combination of multiplicity"},
        {"gaussian: no cause",
         gaussian + " (Enter /g16/l502.exe)\n Error termination via Lnk1e in /g16/l502.exe\n", Verdict::Error,
         "Error termination via"},
        {"gaussian: steps exceeded, then an error",
         gaussian + step + " Optimization stopped.\n    -- Number of steps exceeded,  NStep=   2\n" +
             " Error termination request processed by link 9999.\n",
         Verdict::NotConverged,
         "Number of steps exceeded,  NStep=   2",
         false,
         1,
         {-76.5}},
        {"gaussian: criterion not met, taken by the second method",
         gaussian +
             " >>>>>>>>>> Convergence criterion not met.\n SCF Done:  E(RHF) =  -76.4     A.U. after  129 "
             "cycles\n"
             " SCF Done:  E(RHF) =  -76.5     a.u. after    3 cycles\n" +
             gaussianEnd,
         Verdict::Normal,
         "Normal",
         true,
         0,
         {-76.4, -76.5}},
        {"gaussian: no memory", gaussian + "galloc:  could not allocate memory.\n", Verdict::Error, "galloc"},
        {"gaussian: a second run behind a failed one",
         gaussian + " Error termination via Lnk1e in l1.exe\n" + gaussian + gaussianEnd, Verdict::Normal,
         "Normal"},
        {"gaussian: a failed run behind a good one",
         gaussian + gaussianEnd + gaussian +
             " Convergence failure -- run terminated.\n Error termination via Lnk1e\n",
         Verdict::NotConverged, "Convergence failure", false},
    };
}

std::vector<Output> OrcaOutputs()
{
    const std::string cycle = "   *      GEOMETRY OPTIMIZATION CYCLE   1      *\n";
    const std::string energy = "FINAL SINGLE POINT ENERGY       -74.967638760929\n";
    const std::string failed = "     *   SCF NOT CONVERGED AFTER 125 CYCLES   *\n";
    const std::string converged = "     *   SCF CONVERGED AFTER   7 CYCLES   *\n";
    return {
        {"orca: an SCF of an optimisation that recovers",
         orca + cycle + failed + cycle + converged + energy + "***  THE OPTIMIZATION HAS CONVERGED  ***\n" +
             orcaEnd,
         Verdict::Normal,
         "ORCA TERMINATED NORMALLY",
         true,
         2,
         {-74.967638760929},
         "ORCA"},
        {"orca: an SCF that does not, and a normal end",
         orca + failed + "FINAL SINGLE POINT ENERGY  -74.9 (Wavefunction not fully converged!)\n" + orcaEnd,
         Verdict::NotConverged,
         "SCF NOT CONVERGED AFTER 125 CYCLES",
         false,
         0,
         {-74.9}},
        {"orca: an SCF that failed, and nothing else was to be done", orca + failed, Verdict::NotConverged,
         "SCF NOT", false},
        {"orca: an SCF that failed in an optimisation that goes on", orca + cycle + failed, Verdict::None, "",
         false, 1},
        {"orca: the first of two jobs did not converge",
         orca + failed + "$$$$$$$$$$$$$$$$  JOB NUMBER  2 $$$$$$$$$$$$$$\n" + converged + orcaEnd,
         Verdict::NotConverged, "SCF NOT CONVERGED", true},
        {"orca: an optimisation out of cycles, and a normal end",
         orca + cycle + converged + energy +
             "       ERROR !!!\n   The optimization did not converge but reached the maximum\n" + orcaEnd,
         Verdict::NotConverged,
         "The optimization did not converge",
         false,
         1,
         {-74.967638760929}},
        {"orca: a warning of the message passing library",
         orca + "WARNING: There was an error initializing an OpenFabrics device.\n" + converged + orcaEnd,
         Verdict::Normal, "ORCA TERMINATED", true},
        {"orca: input error",
         orca + "   INPUT ERROR\n   UNRECOGNIZED OR DUPLICATED KEYWORD(S)\n    FOO\n[file "
                "orca_main/maininp4.cpp, line 1]: \n",
         Verdict::Error, "UNRECOGNIZED OR DUPLICATED KEYWORD(S)"},
        {"orca: the line of the source names the error",
         orca + "[file orca_main/mainfcts.cpp, line 671]: Error : multiplicity (2) is even\n", Verdict::Error,
         "Error : multiplicity (2) is even"},
        {"orca: a module fell", orca + "ORCA finished by error termination in MDCI\n", Verdict::Error,
         "ORCA finished by error termination in MDCI"},
        {"orca: a program that it runs prints a banner and an end",
         orca + xtb + xtbEnd,
         Verdict::None,
         "",
         {},
         0,
         {},
         "ORCA"},
        {"orca: another program behind it",
         orca + orcaEnd + xtb + xtbEnd,
         Verdict::Normal,
         "finished run",
         {},
         0,
         {},
         "xtb"},
    };
}

std::vector<Output> SemiempiricalOutputs()
{
    const std::string cycle =
        " CYCLE:     1 TIME:   0.016 TIME LEFT:  2.00D  GRAD.:     4.612 HEAT:  62.75095\n";
    const std::string box = mopacBox + " * UNRECOGNIZED KEY-WORDS: (FOO)       *\n" + mopacEnd;
    const std::string xtbCycle = ".............................. CYCLE    1 ..............................\n"
                                 " * total energy  :   -26.5 Eh     change       -0.6016592E-09 Eh\n";
    return {
        {"mopac: heats of formation in hartree, the final one being the last",
         mopac + cycle + " GEOMETRY OPTIMISED USING EIGENVECTOR FOLLOWING (EF).\n" +
             "          FINAL HEAT OF FORMATION =         62.75095 KCAL/MOL =     262.6 KJ/MOL\n" + mopacEnd,
         Verdict::Normal,
         "MOPAC DONE",
         true,
         1,
         {0.1000000041},
         "MOPAC"},
        {"mopac: the results repeat the title",
         mopac + cycle + "         MOPAC v22.0.6 Linux\n",
         Verdict::None,
         "",
         false,
         1,
         {0.1000000041}},
        {"mopac: ended normally, with a message", mopac + box, Verdict::Error,
         "UNRECOGNIZED KEY-WORDS: (FOO)"},
        {"mopac: without its last line", mopac + " * JOB ENDED NORMALLY *\n", Verdict::None},
        {"mopac: out of cycles",
         mopac + cycle + "          EXCESS NUMBER OF OPTIMIZATION CYCLES\n" + mopacEnd,
         Verdict::NotConverged,
         "EXCESS NUMBER",
         false,
         1,
         {0.1000000041}},
        {"mopac: killed, then run again",
         mopac + "          EXCESS NUMBER OF OPTIMIZATION CYCLES\n" + mopac + mopacEnd, Verdict::Normal,
         "MOPAC DONE"},
        {"xtb: standard error before the last block",
         xtb + xtbCycle + "   *** GEOMETRY OPTIMIZATION CONVERGED AFTER 1 ITERATIONS ***\n" +
             "normal termination of xtb\n" + xtbEnd,
         Verdict::Normal,
         "finished run",
         true,
         1,
         {-26.5},
         "xtb"},
        {"xtb: standard error alone is no end",
         xtb + xtbCycle + "normal termination of xtb\n",
         Verdict::None,
         "",
         false,
         1,
         {-26.5}},
        {"xtb: out of cycles, and a normal end",
         xtb + xtbCycle + "   *** FAILED TO CONVERGE GEOMETRY OPTIMIZATION IN 1 ITERATIONS ***\n" + xtbEnd,
         Verdict::NotConverged,
         "*** FAILED TO CONVERGE",
         false,
         1,
         {-26.5}},
        {"xtb: the innermost error",
         xtb + "[ERROR] Program stopped due to fatal error\n-2- Some call failed\n-1- solvent 'x' is "
               "not parametrized\n",
         Verdict::Error, "-1- solvent 'x'"},
        {"xtb: the innermost error is the SCF's",
         xtb + "[ERROR] Program stopped\n-1- scf: iterator did not converge\n", Verdict::NotConverged,
         "-1- scf"},
        {"xtb: fallen", xtb + "Program received signal SIGSEGV: Segmentation fault\n", Verdict::Error,
         "Program received"},
        {"xtb: ended by somebody", xtb + "Program received signal SIGTERM: Termination\n", Verdict::None},
    };
}

std::vector<Output> OtherOutputs()
{
    const std::string qchem =
        "         Welcome to Q-Chem\n Q-Chem 5.4, Q-Chem, Inc., Pleasanton, CA (2021)\n";
    const std::string thanks = "        *  Thank you very much for using Q-Chem.  Have a nice day.  *\n";
    const std::string gamess = "          *         GAMESS VERSION = 30 SEP 2022 (R2)         *\n";
    const std::string gamessEnd = " EXECUTION OF GAMESS TERMINATED NORMALLY Mon\n";
    const std::string psi4 =
        "    Psi4: An Open-Source Ab Initio Electronic Structure Package\n  Psi4 1.3.2 release\n";
    const std::string molpro = " ***  PROGRAM SYSTEM MOLPRO  ***\n Version 2019.2 linked 29 Jul 2019\n";
    return {
        {"nwchem",
         nwchem + "         Total DFT energy =       -7.5\n Total times  cpu:   0.1s\n",
         Verdict::Normal,
         "Total times",
         true,
         0,
         {-7.5},
         "NWChem"},
        {"nwchem: between two rules stands what failed",
         nwchem + "      Calculation failed to converge\n         Total DFT energy =       -7.5\n" + rule +
             "\n dft energy failed   0\n" + rule + '\n' + rule + "\n  current input line : \n",
         Verdict::NotConverged,
         "dft energy failed   0",
         false,
         0,
         {-7.5}},
        {"nwchem: bad input",
         nwchem + rule + "\n input: unknown directive 0\n" + rule + "\n" + rule +
             "\n There is an error in the input file\n",
         Verdict::Error, "input: unknown directive 0"},
        {"psi4: out of cycles, and a successful end",
         psi4 + "    @DF-RHF Final Energy:   -76.5\n\tOptimizer: Did not converge!\n*** Psi4 exiting "
                "successfully. Buy a developer a beer!\n",
         Verdict::NotConverged,
         "Optimizer: Did not converge!",
         false,
         0,
         {-76.5},
         "Psi4"},
        {"psi4: error",
         psi4 + "RuntimeError: no basis\n*** Psi4 encountered an error. Buy a developer more coffee!\n",
         Verdict::Error, "RuntimeError: no basis"},
        {"qchem: first of two jobs ended",
         " Running Job 1 of 2 a.in\n" + qchem + thanks,
         Verdict::None,
         "",
         {},
         0,
         {},
         "Q-Chem"},
        {"qchem: first of two jobs failed, second ended",
         " Running Job 1 of 2 a.in\n" + qchem +
             " Q-Chem fatal error occurred in module x, line 1:\n\n SCF failed to converge\n" +
             " Running Job 2 of 2 a.in\n" + qchem + thanks,
         Verdict::NotConverged, "SCF failed to converge", false},
        {"qchem: both ended",
         " Running Job 1 of 2 a.in\n" + qchem + thanks + " Running Job 2 of 2 a.in\n" + qchem + thanks,
         Verdict::Normal, "Thank you"},
        {"gamess: unconverged, and a normal end",
         gamess + " SCF IS UNCONVERGED, TOO MANY ITERATIONS\n" + gamessEnd,
         Verdict::NotConverged,
         "SCF IS UNCONVERGED",
         false,
         0,
         {},
         "GAMESS"},
        {"gamess: a page begins with a digit",
         gamess +
             "1     ***** EQUILIBRIUM GEOMETRY LOCATED *****\n FINAL RHF ENERGY IS      -74.5 AFTER  13 "
             "ITERATIONS\n" +
             gamessEnd,
         Verdict::Normal,
         "EXECUTION",
         true,
         0,
         {-74.5}},
        {"gamess: error",
         gamess + " **** ERROR, NO BASIS\n EXECUTION OF GAMESS TERMINATED -ABNORMALLY- AT Mon\n",
         Verdict::Error, "ERROR, NO BASIS"},
        {"molpro",
         molpro + " !RHF STATE 1.1 Energy    -76.5\n Variable memory released\n",
         Verdict::Normal,
         "Variable",
         true,
         0,
         {-76.5},
         "Molpro"},
        {"molpro: error", molpro + " ? Error\n ? Basis library exhausted\n", Verdict::Error,
         "Basis library exhausted"},
    };
}

std::vector<Output> Outputs()
{
    std::vector<Output> all = GaussianOutputs();
    for (const auto &more : {OrcaOutputs(), SemiempiricalOutputs(), OtherOutputs()})
        all.insert(all.end(), more.begin(), more.end());
    return all;
}

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
    QByteArray text =
        QByteArray::fromStdString(result.Program + '|' + result.Version + '|' + result.Message + '|');
    text +=
        QByteArray::number(static_cast<int>(result.Verdict)) + '|' + QByteArray::number(result.Steps) + '|';
    text += !result.Converged() ? "unknown" : *result.Converged() ? "yes" : "no";
    for (const double energy : result.Energies)
        text += ' ' + QByteArray::number(energy, 'g', 17);
    return text;
}
} // namespace

/// What outputs say, whatever the pieces in which they come.
class TestOutputReader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void OutputsSayWhatTheyCameTo_data()
    {
        QTest::addColumn<int>("number");
        const auto outputs = Outputs();
        for (std::size_t number = 0; number < outputs.size(); ++number)
            QTest::newRow(outputs[number].name) << static_cast<int>(number);
    }

    void OutputsSayWhatTheyCameTo()
    {
        QFETCH(const int, number);
        const Output output = Outputs()[static_cast<std::size_t>(number)];
        const Taskmill_ProgramResult result = Read(output.text);
        QCOMPARE(Taskmill_VerdictText(result.Verdict).data(), Taskmill_VerdictText(output.verdict).data());
        QVERIFY2(result.Message.find(output.message) != std::string::npos, result.Message.c_str());
        QCOMPARE(result.Message.empty(), output.verdict == Verdict::None);
        QVERIFY2(result.Converged() == output.converged, Text(result));
        QCOMPARE(result.Steps, output.steps);
        QCOMPARE(result.Energies, output.energies);
        if (!output.program.empty())
            QCOMPARE(result.Program, output.program);
        QVERIFY(!result.Version.empty());

        for (const std::size_t pieceSize : {1, 2, 7})
            QCOMPARE(Text(Read(output.text, pieceSize)), Text(result));
        std::string windows;
        for (const char character : output.text)
            windows += character == '\n' ? "\r\n"s : std::string{character};
        QCOMPARE(Text(Read(windows)), Text(result));
        QCOMPARE(Text(Read(windows, 1)), Text(result));
        // The last line feed may be missing.
        QCOMPARE(Text(Read(std::string_view{output.text}.substr(0, output.text.size() - 1))), Text(result));
    }

    void LinesOfAnyLengthTakeNoRoom()
    {
        const std::string piece(1'000'000, 'x');
        Taskmill_OutputReader reader;
        reader.Feed(orca);
        for (int count = 0; count < 300; ++count)
            reader.Feed(piece);
        reader.Feed("\n" + orcaEnd);
        QCOMPARE(reader.State().Verdict, Verdict::Normal);
        // What stands behind a full line does not become a line of its own.
        QCOMPARE(Read(orca + piece + orcaEnd).Verdict, Verdict::None);
        QCOMPARE(Read(orca + std::string(5000, '\0') + '\n' + orcaEnd).Verdict, Verdict::Normal);
    }

    void OfManyEnergiesTheNewestStay()
    {
        std::string text = orca;
        for (int number = 1; number <= 100'000; ++number)
            text += "FINAL SINGLE POINT ENERGY  -" + std::to_string(number) + ".5\n";
        const auto energies = Read(text).Energies;
        QVERIFY(energies.size() >= 20'000 && energies.size() <= 40'000);
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
    }

    void BrokenOutputsAreReadToTheirEnds()
    {
        std::mt19937 random{7}; // NOLINT: the same ones each time
        for (const Output &output : Outputs()) {
            for (int round = 0; round < 40; ++round) {
                std::string text = output.text;
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
                QCOMPARE(Text(Read(text, 1)), Text(result));
            }
        }
    }
};

QTEST_GUILESS_MAIN(TestOutputReader)
#include "test_outputreader.moc"
