// SPDX-License-Identifier: MIT
#include "jobs/defaultjobtypes.h"

#include "jobs/jobtypelist.h"
#include "kilnutil/filesys.h"

#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace {
/// A default job type without its executable.
struct Definition
{
    QString Name;
    Taskmill_Destination DefaultQueue;
    QString GenericCommandLine;
    QString InputFileFilter;
    QString OutputFileFilter;
    QString EnvironmentVariables;
};

void AddIfInstalled(Taskmill_JobTypeList &list, const Definition &definition, const QString &executablePath)
{
    const QFileInfo executable{executablePath};
    if (!executable.isFile())
        return;
    Taskmill_JobType jobType{.Name = definition.Name,
                             .ApplicationName = executable.fileName(),
                             .ExecutablePath = executablePath,
                             .DefaultQueue = Taskmill_NamesOf(definition.DefaultQueue).Stored,
                             .GenericCommandLine = definition.GenericCommandLine,
                             .InputFileFilter = definition.InputFileFilter,
                             .OutputFileFilter = definition.OutputFileFilter,
                             .EnvironmentVariables = definition.EnvironmentVariables};
    list.Add(jobType);
}

QString GaussUtilityPath(QLatin1StringView name)
{
    return KilnUtil_FileSys::ExistingExecutable(KilnUtil_FileSys::GaussExeDirPath() + u'/' + name +
                                                ".exe"_L1);
}

QString GaussEnvironment()
{
    return "GAUSS_EXEDIR="_L1 + KilnUtil_FileSys::GaussExeDirPath();
}

// The utilities take their memory from the submitting client, else they use their own default.
const QString utilityEnvironment = u"GAUSS_MEMDEF=@MEMORY"_s;
const QString formattedCheckpointFilter = u"Gaussian Formatted Checkpoint Files (*.fch *.fchk)"_s;
const QString cubeFilter = u"Cube Files (*.cub *.cube)"_s;
} // namespace

void Taskmill_AddDefaultVeltra(Taskmill_JobTypeList &list)
{
    AddIfInstalled(list,
                   {.Name = u"Veltra"_s,
                    .DefaultQueue = Taskmill_Destination::Short,
                    .GenericCommandLine = u"@EXEFILE -nproc=0 -b @INFILE"_s,
                    .InputFileFilter = u"Veltra Input Files (*.dat *.vdat)"_s,
                    .OutputFileFilter = u"Veltra Output Files (*.out *.vout)"_s,
                    .EnvironmentVariables = {}},
                   KilnUtil_FileSys::VeltraExePath());
}

void Taskmill_AddDefaultGaussian(Taskmill_JobTypeList &list)
{
    Definition definition{.Name = u"Gaussian"_s,
                          .DefaultQueue = Taskmill_Destination::Long,
                          .GenericCommandLine = u"@EXEFILE @INFILE @OUTFILE"_s,
                          .InputFileFilter = u"Gaussian Input Files (*.gjf)"_s,
                          .OutputFileFilter = u"Gaussian Log Files (*.log)"_s,
                          .EnvironmentVariables = GaussEnvironment()};
    AddIfInstalled(list, definition, KilnUtil_FileSys::GaussExePath());
    definition.Name = u"GaussianW"_s;
    definition.GenericCommandLine = u"@EXEFILE -run -inp=@INFILE -out=@OUTFILE"_s;
    AddIfInstalled(list, definition, KilnUtil_FileSys::GaussWExePath());
}

void Taskmill_AddDefaultGMMX(Taskmill_JobTypeList &list)
{
    AddIfInstalled(list,
                   {.Name = u"GMMX"_s,
                    .DefaultQueue = Taskmill_Destination::Short,
                    .GenericCommandLine = u"@EXEFILE @INFILE @OUTFILE"_s,
                    .InputFileFilter = u"GMMX Input Files (*.gmmx)"_s,
                    .OutputFileFilter = u"GMMX Output Files (*.sdf)"_s,
                    .EnvironmentVariables = {}},
                   KilnUtil_FileSys::ExistingExecutable(KilnUtil_FileSys::m_appDirPath + "/gmmx.exe"_L1));
}

void Taskmill_AddDefaultCubegen(Taskmill_JobTypeList &list)
{
    AddIfInstalled(list,
                   {.Name = u"Cubegen"_s,
                    .DefaultQueue = Taskmill_Destination::Short,
                    .GenericCommandLine = u"@EXEFILE @NPROCS @KIND @INFILE @OUTFILE @NPTS @HEADER"_s,
                    .InputFileFilter = formattedCheckpointFilter,
                    .OutputFileFilter = cubeFilter,
                    .EnvironmentVariables = utilityEnvironment},
                   GaussUtilityPath("cubegen"_L1));
}

void Taskmill_AddDefaultFormchk(Taskmill_JobTypeList &list)
{
    AddIfInstalled(list,
                   {.Name = u"Formchk"_s,
                    .DefaultQueue = Taskmill_Destination::Short,
                    .GenericCommandLine = u"@EXEFILE /3 @INFILE @OUTFILE"_s,
                    .InputFileFilter = u"Gaussian Checkpoint Files (*.chk)"_s,
                    .OutputFileFilter = formattedCheckpointFilter,
                    .EnvironmentVariables = utilityEnvironment},
                   GaussUtilityPath("formchk"_L1));
}

// The templates of the last two answer the prompts of the programs: "n" and "y" are fixed answers.

void Taskmill_AddDefaultFreqchk(Taskmill_JobTypeList &list)
{
    AddIfInstalled(list,
                   {.Name = u"Freqchk"_s,
                    .DefaultQueue = Taskmill_Destination::Short,
                    .GenericCommandLine = u"@EXEFILE @INFILE @SAVE @NFD @SEL\n"
                                          "n\n@TEMP\n@PRESS\n@SCALE\n@ISO\n@PROJ\n@SELINPUT\n"_s,
                    .InputFileFilter = u"Gaussian Checkpoint Files (*.chk *.fch *.fchk)"_s,
                    .OutputFileFilter = u"Gaussian Frequency Files (*.gfrq)"_s,
                    .EnvironmentVariables = utilityEnvironment},
                   GaussUtilityPath("freqchk"_L1));
}

void Taskmill_AddDefaultCubman(Taskmill_JobTypeList &list)
{
    AddIfInstalled(
        list,
        {.Name = u"Cubman"_s,
         .DefaultQueue = Taskmill_Destination::Short,
         .GenericCommandLine = u"@EXEFILE\n@KIND\n@INFILE1\ny\n@INFILE2\ny\n@OUTFILE\ny\n@SCALE\n"_s,
         .InputFileFilter = cubeFilter,
         .OutputFileFilter = cubeFilter,
         .EnvironmentVariables = utilityEnvironment},
        GaussUtilityPath("cubman"_L1));
}

void Taskmill_AddDefaultJobTypes(Taskmill_JobTypeList &list)
{
    Taskmill_AddDefaultVeltra(list);
    Taskmill_AddDefaultGaussian(list);
    Taskmill_AddDefaultGMMX(list);
    Taskmill_AddDefaultCubegen(list);
    Taskmill_AddDefaultFormchk(list);
    Taskmill_AddDefaultFreqchk(list);
    Taskmill_AddDefaultCubman(list);
}
