// SPDX-License-Identifier: MIT
#include "engines/program.h"

#include <QtTest>

#include <random>

namespace {
struct Row
{
    const char *name;
    const char *fileName;
    std::string text;
    const char *program;
    int cores = 0;       ///< 0 when the input says nothing
    double memoryMB = 0; ///< likewise
    const char *checkpoint = "";
    const char *scratch = "";
};

std::vector<Row> Rows()
{
    const std::string molecule = "#p hf/3-21g\n\ntitle\n\n0 1\nHe\n\n";
    return {
        {"gaussian: any case, blanks, abbreviation", "a.com",
         "%NPROCS = 4\n%Mem= 2GB ! half\n%Chk=a b.chk\n" + molecule, "Gaussian", 4, 2048, "a b.chk"},
        {"gaussian: words without a unit", "a.gjf", "%mem=131072\n%nproc=2\n" + molecule, "Gaussian", 2, 1},
        {"gaussian: words with one", "a.gjf", "%mem=92MW\n" + molecule, "Gaussian", 0, 736},
        {"gaussian: list of cores", "a.gjf", "%cpu=0-3,8,10-14/2\n%rwf=/s/a,2GB,/s/b,2GB\n" + molecule,
         "Gaussian", 8, 0, "", "/s/a"},
        {"gaussian: bad list of cores", "a.gjf", "%cpu=3-1\n" + molecule, "Gaussian"},
        {"gaussian: largest of the sections", "a.gjf",
         "%nprocshared=2\n%mem=1GB\n%chk=a.chk\n" + molecule +
             "--Link1--\n%NProcShared=6\n%mem=500MB\n%oldchk=b.chk\n" + molecule,
         "Gaussian", 6, 1024, "a.chk"},
        {"gaussian: only the header counts", "a.gjf", "%nproc=2\n#p\n\n%nproc=8 in the title\n", "Gaussian",
         2},
        {"gaussian: nothing said", "a.com", molecule, "Gaussian"},
        {"orca: block over lines, per-process memory", "a.inp",
         "! HF def2-SVP\n%pal\n nprocs 6\nend\n%maxcore 1500\n* xyz 0 1\n*\n", "ORCA", 6, 9000},
        {"orca: keyword", "a.inp", "!HF PAL8(4x2) Opt\n% maxcore\n1000\n*xyz 0 1\n*\n", "ORCA", 8, 8000},
        {"orca: keyword right behind the mark", "a.inp", "!PAL4\n*xyz 0 1\n*\n", "ORCA", 4},
        {"orca: comments", "a.inp", "# %pal nprocs 32 end\n%pal #all# nproc 3 # not 16\nend\n*xyz 0 1\n*\n",
         "ORCA", 3},
        {"orca: the last one holds, and one of a block is another", "a.inp",
         "! HF\n%maxcore 500\n%maxcore 700\n%rocis\n maxcore 9000\nend\n*xyz 0 1\n*\n", "ORCA", 0, 700},
        {"orca: largest of the jobs", "a.inp",
         "! HF\n%pal nprocs 2 end\n%maxcore 100\n*xyz 0 1\n*\n$new_job\n! HF\n%maxcore 50\n", "ORCA", 2, 200},
        {"mopac: keywords go on", "a.mop", "* comment THREADS=9\nPM7 +\nthreads=2\nt\n\n", "MOPAC", 2},
        {"mopac: known by its method", "a.dat", "PM6-D3H4 1SCF\nt\n\n", "MOPAC"},
        {"xtb: command line", "run", "xtb mol.xyz --opt -P 4", "xtb", 4},
        {"xtb: script", "run.sh", "#!/bin/sh\nexport OMP_NUM_THREADS=8,1\n/opt/bin/xtb a.xyz --gfn 2\n",
         "xtb", 8},
        {"xtb: option before environment", "run.sh", "OMP_NUM_THREADS=8 xtb a.xyz --parallel=2\n", "xtb", 2},
        {"nwchem: parts", "a.nw", "memory stack 100 heap 50 mb global 200 mb\nscratch_dir /S\ntask scf\n",
         "NWChem", 0, 350, "", "/S"},
        {"nwchem: total", "a.nw", "memory total 2 gb global 1 gb\ntask dft energy\n", "NWChem", 0, 2048},
        {"psi4", "a.dat", "memory 2 gb\nmolecule w {\n}\nset_num_threads(4)\nenergy('scf')\n", "Psi4", 4,
         2048},
        {"psi4: as a library", "a.py",
         "import psi4\npsi4.set_memory('500 MB')\npsi4.set_num_threads(nthread=2)\n", "Psi4", 2, 500},
        {"qchem: largest of the jobs", "a.in",
         "$rem\n MEM_TOTAL = 4000 ! MB\n$end\n@@@\n$rem\nmem_total 2000\n$end\n", "Q-Chem", 0, 4000},
        {"gamess", "a.inp", " $CONTRL SCFTYP=RHF $END\n $SYSTEM TIMLIM=9\n MWORDS=50 $END\n", "GAMESS", 0,
         400},
        {"molpro", "a.inp", "***,t\nmemory,100,m;\nfile,2,A.wfu\ngeometry={\n}\n", "Molpro", 0, 800, "A.wfu"},
        {"coordinates say nothing", "a.xyz", "1\n\nHe 0 0 0\n", ""},
        {"nothing", "a.inp", "", ""},
    };
}

QByteArray Text(const Taskmill_ProgramNeeds &needs)
{
    return QByteArray::fromStdString(needs.Program) + ' ' + QByteArray::number(needs.Cores.value_or(0)) +
           ' ' + QByteArray::number(needs.MemoryMB.value_or(0)) + ' ' +
           QByteArray::fromStdString(needs.Checkpoint) + ' ' + QByteArray::fromStdString(needs.Scratch);
}
} // namespace

/// What inputs ask for.
class TestProgramNeeds : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void InputsSayWhatTheyNeed()
    {
        for (const Row &row : Rows()) {
            std::string windows;
            for (const char character : row.text)
                windows += character == '\n' ? std::string{"\r\n"} : std::string{character};
            const QByteArray expected = QByteArray{row.program} + ' ' + QByteArray::number(row.cores) + ' ' +
                                        QByteArray::number(row.memoryMB) + ' ' + row.checkpoint + ' ' +
                                        row.scratch;
            for (const std::string &text : {row.text, windows}) {
                const QByteArray actual = Text(Taskmill_ReadNeeds(text, row.fileName));
                QVERIFY2(actual == expected,
                         QByteArray{row.name} + ": " + actual + " instead of " + expected);
            }
        }
    }

    void BrokenInputsAreRead()
    {
        std::mt19937 random{7}; // NOLINT: the same ones each time
        for (const Row &row : Rows()) {
            for (int round = 0; round < 100 && !row.text.empty(); ++round) {
                std::string text = row.text;
                text[random() % text.size()] = static_cast<char>(random());
                text.erase(random() % text.size(), random() % 6);
                text += std::string(round, '9');
                const auto needs = Taskmill_ReadNeeds(text, row.fileName);
                QVERIFY(needs.Cores.value_or(1) >= 1 && needs.MemoryMB.value_or(1) > 0);
            }
        }
    }
};

QTEST_GUILESS_MAIN(TestProgramNeeds)
#include "test_programneeds.moc"
