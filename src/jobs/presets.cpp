// SPDX-License-Identifier: MIT
#include "jobs/presets.h"

#include <QFileInfo>
#include <QStandardPaths>

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {
struct Preset
{
    QLatin1StringView name;
    QLatin1StringView program;
    QLatin1StringView companion; ///< a program that stands beside it; empty for none
    bool isTried;
    Taskmill_Destination queue;
    QLatin1StringView commandLine;
    QLatin1StringView inputFilter;
    QLatin1StringView outputFilter;
    QLatin1StringView directoryVariable{}; ///< set to the directory of the program
};

using Queue = Taskmill_Destination;

// What a program writes to its standard output is the job's own output. xtb gives its files the same names
// for every molecule, unless it is told what they begin with.
constexpr std::array presets{
    Preset{"MOPAC"_L1,
           "mopac"_L1,
           {},
           true,
           Queue::Short,
           "@EXEFILE @INFILE"_L1,
           "MOPAC Input Files (*.mop)"_L1,
           "MOPAC Output Files (*.out)"_L1},
    Preset{"xtb Optimisation"_L1,
           "xtb"_L1,
           {},
           true,
           Queue::Long,
           "@EXEFILE @INFILE --opt --namespace @OUTFILE"_L1,
           "Coordinate Files (*.xyz)"_L1,
           "Files of xtb (*.xtb)"_L1},
    Preset{"Open Babel 3D Structure"_L1,
           "obabel"_L1,
           {},
           true,
           Queue::Short,
           "@EXEFILE @INFILE -O @OUTFILE --gen3d"_L1,
           "SMILES Files (*.smi)"_L1,
           "Coordinate Files (*.xyz)"_L1},
    Preset{"Psi4"_L1,
           "psi4"_L1,
           {},
           true,
           Queue::Long,
           "@EXEFILE -i @INFILE -o @OUTFILE"_L1,
           "Psi4 Input Files (*.in *.psi4)"_L1,
           "Psi4 Output Files (*.out)"_L1},
    Preset{"NWChem"_L1,
           "nwchem"_L1,
           {},
           true,
           Queue::Long,
           "@EXEFILE @INFILE"_L1,
           "NWChem Input Files (*.nw)"_L1,
           {}},
    // The screen reader of a desktop is called so, too.
    Preset{"ORCA"_L1,
           "orca"_L1,
           "orca_scf"_L1,
           false,
           Queue::Long,
           "@EXEFILE @INFILE"_L1,
           "ORCA Input Files (*.inp)"_L1,
           {}},
    Preset{"Gaussian"_L1,
           "g16"_L1,
           {},
           false,
           Queue::Long,
           "@EXEFILE @INFILE @OUTFILE"_L1,
           "Gaussian Input Files (*.gjf *.com)"_L1,
           "Gaussian Log Files (*.log)"_L1,
           "GAUSS_EXEDIR"_L1},
};

/// The path of the installed program; empty when it is not, or is another one of that name.
QString Find(const Preset &preset)
{
    QString program = QStandardPaths::findExecutable(preset.program);
    if (preset.companion.isEmpty() || program.isEmpty())
        return program;
    // It starts its other programs from the directory in whose name it was called. One that comes later in
    // the search path is meant when its companion is there, too.
    const QString companion = QStandardPaths::findExecutable(preset.companion);
    for (const QString &directory :
         {QFileInfo{QFileInfo{program}.canonicalFilePath()}.path(), QFileInfo{companion}.path()}) {
        if (!QStandardPaths::findExecutable(preset.companion, {directory}).isEmpty())
            return QStandardPaths::findExecutable(preset.program, {directory});
    }
    return {};
}
} // namespace

QList<Taskmill_FoundPreset> Taskmill_FindPresets(const QList<Taskmill_JobType> &present)
{
    QList<Taskmill_FoundPreset> found;
    for (const Preset &preset : presets) {
        const bool isPresent = std::ranges::any_of(
            present, [&preset](const Taskmill_JobType &jobType) { return jobType.IsNamed(preset.name); });
        const QString program = isPresent ? QString{} : Find(preset);
        if (program.isEmpty())
            continue;
        const QString directory = QFileInfo{QFileInfo{program}.canonicalFilePath()}.path();
        found.append({.JobType = {.Name = preset.name,
                                  .ApplicationName = QFileInfo{program}.fileName(),
                                  .ExecutablePath = program,
                                  .DefaultQueue = Taskmill_NamesOf(preset.queue).Stored,
                                  .GenericCommandLine = preset.commandLine,
                                  .InputFileFilter = preset.inputFilter,
                                  .OutputFileFilter = preset.outputFilter,
                                  .EnvironmentVariables = preset.directoryVariable.isEmpty()
                                                              ? QString{}
                                                              : preset.directoryVariable + u'=' + directory},
                      .IsTried = preset.isTried});
    }
    return found;
}
