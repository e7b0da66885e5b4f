// SPDX-License-Identifier: MIT
#include "engines/inputtext.h"
#include "engines/linetext.h"
#include "engines/outputinterpreter.h"
#include "engines/program.h"

#include <algorithm>
#include <array>

// GAMESS (US) and its relative Firefly. Both end normally after an SCF or a geometry search that did not
// converge. A "1" before a line asks a line printer for a new page.

namespace {
class Interpreter final : public Taskmill_OutputInterpreter
{
public:
    Interpreter()
        : Taskmill_OutputInterpreter{"GAMESS"}
    {
    }

    void ReadLine(std::string_view, std::string_view text) override
    {
        if (text.size() > 1 && text[0] == '1' && (text[1] == ' ' || (text[1] >= 'A' && text[1] <= 'Z')))
            text = Taskmill_Unframed(text.substr(1));
        Rules().Apply(*this, text);
    }

private:
    static const Taskmill_LineRules<Interpreter> &Rules()
    {
        static const Taskmill_LineRules<Interpreter> rules{{
            {"GAMESS VERSION =", &Interpreter::ReadRunBegin},
            {"Firefly version", &Interpreter::ReadRunBegin},
            {"PC GAMESS version", &Interpreter::ReadRunBegin},
            {"EXECUTION OF", &Interpreter::ReadExecution},
            {"FINAL ", &Interpreter::ReadEnergy},
            {"SCF IS UNCONVERGED", &Interpreter::ReadScfFailure},
            {"SCF DID NOT CONVERGE", &Interpreter::ReadScfFailure},
            {"BEGINNING GEOMETRY SEARCH POINT", &Interpreter::ReadStep},
            {"EQUILIBRIUM GEOMETRY LOCATED", &Interpreter::ReadOptimised},
            {"SADDLE POINT LOCATED", &Interpreter::ReadOptimised},
            {"THE GEOMETRY SEARCH IS NOT CONVERGED", &Interpreter::ReadOptimisationFailure},
            {"GEOMETRY SEARCH IS NOT CONVERGED", &Interpreter::ReadOptimisationFailure},
            {"FAILURE TO LOCATE STATIONARY POINT", &Interpreter::ReadOptimisationFailure},
            {"ERROR", &Interpreter::ReadCause},
            {"ddikick.x: Fatal error", &Interpreter::ReadError},
            {"ddikick.x: application process", &Interpreter::ReadError},
        }};
        return rules;
    }

    /// "GAMESS VERSION = 30 SEP 2018 (R3)" or "Firefly version 8.2.0"
    void ReadRunBegin(std::string_view text)
    {
        BeginRun();
        m_cause.clear();
        const std::size_t equals = text.find("= ");
        const std::string_view version = equals == std::string_view::npos ? text : text.substr(equals + 2);
        SetVersion(Taskmill_Trimmed(version.substr(0, version.find('*'))));
    }

    void ReadExecution(std::string_view text)
    {
        if (Taskmill_Contains(text, "TERMINATED NORMALLY"))
            EndNormally(text);
        else if (Taskmill_Contains(text, "ABNORMALLY"))
            ReadError(text);
    }

    /// "FINAL RHF ENERGY IS      -74.9643287920 AFTER  13 ITERATIONS"
    void ReadEnergy(std::string_view text)
    {
        if (!Taskmill_Contains(text, " ENERGY IS "))
            return;
        AddEnergy(text);
        if (Scf() != false)
            SetScf(true);
    }

    void ReadScfFailure(std::string_view text)
    {
        SetScf(false);
        FailToConverge(text);
    }

    void ReadStep(std::string_view) { BeginStep(); }
    void ReadOptimised(std::string_view) { SetGeometry(true); }

    void ReadOptimisationFailure(std::string_view text)
    {
        SetGeometry(false);
        FailToConverge(text);
    }

    void ReadCause(std::string_view text)
    {
        if (m_cause.empty())
            m_cause = text;
    }

    void ReadError(std::string_view text) { Fail(m_cause.empty() ? text : std::string_view{m_cause}); }

    std::string m_cause;
};

bool IsInput(const Taskmill_InputText &input)
{
    return input.HasLine("$contrl") || input.HasLine("$system");
}

/// The number of a setting of a group; 0 when it is not there.
double Setting(const std::string &group, std::string_view key)
{
    const std::size_t at = group.find(key);
    if (at == std::string::npos)
        return 0;
    const std::string_view rest = std::string_view{group}.substr(at + key.size());
    return Taskmill_Number(rest.substr(0, rest.find_first_of(" \t,$\n"))).value_or(0);
}

void ReadNeeds(const Taskmill_InputText &input, Taskmill_ProgramNeeds &needs)
{
    std::string group;
    bool isSystem = false;
    for (const std::string &line : input.LowerLines()) {
        const std::string code = line.substr(0, line.find('!'));
        const std::size_t begin = code.find("$system");
        isSystem = isSystem || begin != std::string::npos;
        if (!isSystem)
            continue;
        const std::size_t first = begin == std::string::npos ? 0 : begin;
        const std::size_t end = code.find("$end", first);
        group.append(" ").append(code, first, end == std::string::npos ? end : end - first);
        isSystem = end == std::string::npos;
    }
    // Millions of words of 8 bytes: "mwords" for each process, "memddi" for all together. Taken for 2^20
    // words, since a little too much does less harm than too little. "memory" counts single words.
    constexpr double bytesOfMegaword = Taskmill_BytesOfWord * Taskmill_BytesOfMegabyte;
    const double bytes = (Setting(group, " mwords=") + Setting(group, " memddi=")) * bytesOfMegaword +
                         Setting(group, " memory=") * Taskmill_BytesOfWord;
    if (bytes > 0)
        needs.RaiseMemory(bytes / Taskmill_BytesOfMegabyte);
}

constexpr std::array<std::string_view, 5> banners{"GAMESS VERSION =", "PC GAMESS version",
                                                  "EXECUTION OF GAMESS", "Firefly version",
                                                  "EXECUTION OF FIREFLY"};

std::unique_ptr<Taskmill_OutputInterpreter> MakeInterpreter()
{
    return std::make_unique<Interpreter>();
}
} // namespace

extern const Taskmill_Program Taskmill_GamessProgram;
constinit const Taskmill_Program Taskmill_GamessProgram{"GAMESS", banners, MakeInterpreter, IsInput,
                                                        ReadNeeds};
