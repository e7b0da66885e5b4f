// SPDX-License-Identifier: MIT
#include "engines/inputtext.h"
#include "engines/program.h"

#include <algorithm>
#include <array>

// A new program needs its own file, which defines Taskmill_<Name>Program, and a line here.
#define TASKMILL_PROGRAMS(ENTRY)                                                                             \
    ENTRY(Gaussian)                                                                                          \
    ENTRY(Orca)                                                                                              \
    ENTRY(QChem)                                                                                             \
    ENTRY(Gamess)                                                                                            \
    ENTRY(Psi4)                                                                                              \
    ENTRY(NWChem)                                                                                            \
    ENTRY(Molpro)                                                                                            \
    ENTRY(Xtb)                                                                                               \
    ENTRY(Mopac)

#define TASKMILL_DECLARE(name) extern const Taskmill_Program Taskmill_##name##Program;
#define TASKMILL_ADDRESS(name) &Taskmill_##name##Program,

TASKMILL_PROGRAMS(TASKMILL_DECLARE)

namespace {
constexpr std::array programs{TASKMILL_PROGRAMS(TASKMILL_ADDRESS)};
} // namespace

std::span<const Taskmill_Program *const> Taskmill_Programs()
{
    return programs;
}

void Taskmill_ProgramNeeds::RaiseCores(std::optional<int> cores)
{
    Cores = std::max(Cores, cores);
}

void Taskmill_ProgramNeeds::RaiseMemory(std::optional<double> megabytes)
{
    MemoryMB = std::max(MemoryMB, megabytes);
}

void Taskmill_ProgramNeeds::AddWritten(const std::string &file)
{
    // Each is looked for before every start.
    constexpr std::size_t mostFiles = 256;
    if (!file.empty() && Written.size() < mostFiles && std::ranges::find(Written, file) == Written.end())
        Written.push_back(file);
}

Taskmill_ProgramNeeds Taskmill_ReadCommandLineNeeds(std::string_view text)
{
    const Taskmill_InputText input{text, {}};
    Taskmill_ProgramNeeds needs;
    if (!Taskmill_XtbProgram.IsInput(input))
        return needs;
    needs.Program = Taskmill_XtbProgram.Name;
    Taskmill_XtbProgram.ReadNeeds(input, needs);
    return needs;
}

Taskmill_ProgramNeeds Taskmill_ReadNeeds(std::string_view text, std::string_view fileName)
{
    const Taskmill_InputText input{text, fileName};
    Taskmill_ProgramNeeds needs;
    const auto program = std::ranges::find_if(
        programs, [&input](const Taskmill_Program *candidate) { return candidate->IsInput(input); });
    if (program == programs.end())
        return needs;
    needs.Program = (*program)->Name;
    (*program)->ReadNeeds(input, needs);
    return needs;
}
