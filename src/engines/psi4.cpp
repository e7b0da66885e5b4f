// SPDX-License-Identifier: MIT
#include "engines/inputtext.h"
#include "engines/linetext.h"
#include "engines/outputinterpreter.h"
#include "engines/program.h"

#include <algorithm>
#include <array>

// Psi4. Older versions end successfully after an optimisation that did not converge.

namespace {
class Interpreter final : public Taskmill_OutputInterpreter
{
public:
    Interpreter()
        : Taskmill_OutputInterpreter{"Psi4"}
    {
    }

    void ReadLine(std::string_view, std::string_view text) override
    {
        if (text.empty())
            return;
        if (text.front() == '@')
            ReadScfLine(text);
        else
            Rules().Apply(*this, text);
    }

private:
    static const Taskmill_LineRules<Interpreter> &Rules()
    {
        static const Taskmill_LineRules<Interpreter> rules{{
            {"Psi4: An Open-Source", &Interpreter::ReadRunBegin},
            {"PSI4: An Open-Source", &Interpreter::ReadRunBegin},
            {"Psi4 exiting successfully", &Interpreter::ReadEnd},
            {"PSI4 exiting successfully", &Interpreter::ReadEnd},
            {"Psi4 encountered an error", &Interpreter::ReadError},
            {"PSI4 encountered an error", &Interpreter::ReadError},
            {"Psi4 ", &Interpreter::ReadVersion},
            {"PSI4 ", &Interpreter::ReadVersion},
            {"Optimizer: Did not converge", &Interpreter::ReadOptimisationFailure},
            {"Could not converge geometry", &Interpreter::ReadOptimisationFailure},
            {"Optimizer: Optimization complete", &Interpreter::ReadOptimised},
            {"Optimization is complete", &Interpreter::ReadOptimised},
            {"Convergence Check", &Interpreter::ReadStep},
            {"Could not converge SCF", &Interpreter::ReadScfFailure},
            {"Energy did not converge", &Interpreter::ReadScfFailure},
            {"Failed to converge", &Interpreter::ReadScfStop},
            {"Energy converged", &Interpreter::ReadScf},
            {"Energy and wave function converged", &Interpreter::ReadScf},
            {"PsiException:", &Interpreter::ReadException},
            {"RuntimeError:", &Interpreter::ReadException},
            {"Fatal Error:", &Interpreter::ReadException},
            {"psi4.driver.p4util.exceptions.", &Interpreter::ReadException},
            {"qcdb.exceptions.", &Interpreter::ReadException},
        }};
        return rules;
    }

    void ReadRunBegin(std::string_view) { BeginRun(); }

    /// "Psi4 1.3.2 release", in whose line nothing else stands
    void ReadVersion(std::string_view text)
    {
        const auto words = Taskmill_Words(text, 3);
        if (words.size() > 1 && words[1].front() >= '0' && words[1].front() <= '9')
            SetVersion(words[1]);
    }

    /// "@DF-RHF iter   1:   -76.0 ..." and "@DF-RHF Final Energy:   -76.0"
    void ReadScfLine(std::string_view text)
    {
        const std::size_t colon = text.find(':');
        if (colon == std::string_view::npos)
            return;
        if (Taskmill_Contains(text, "Final Energy:")) {
            AddEnergy(text.substr(colon));
            SetScf(true);
        } else if (const auto energy = Taskmill_FirstDecimal(text.substr(colon + 1));
                   energy && Taskmill_Contains(text, " iter")) {
            if (Taskmill_Contains(text, " 1:") || Taskmill_Contains(text, " 0:"))
                BeginScf();
            AddCycle(*energy);
        }
    }

    void ReadStep(std::string_view) { BeginStep(); }
    void ReadOptimised(std::string_view) { SetGeometry(true); }

    void ReadOptimisationFailure(std::string_view text)
    {
        SetGeometry(false);
        FailToConverge(text);
    }

    void ReadScf(std::string_view) { SetScf(true); }
    void ReadScfStop(std::string_view) { SetScf(false); }

    void ReadScfFailure(std::string_view text)
    {
        SetScf(false);
        FailToConverge(text);
    }

    void ReadException(std::string_view text)
    {
        const bool isGeometry = Taskmill_Contains(text, "geometry");
        if (!Taskmill_Contains(text, "ould not converge"))
            Fail(text);
        else if (isGeometry)
            ReadOptimisationFailure(text);
        else
            ReadScfFailure(text);
    }

    void ReadError(std::string_view text) { Fail(text); }
    void ReadEnd(std::string_view text) { EndNormally(text); }
};

bool IsInput(const Taskmill_InputText &input)
{
    const auto isMolecule = [](const std::string &line) {
        return line.starts_with("molecule") && Taskmill_Contains(line, "{");
    };
    return std::ranges::any_of(input.LowerLines(), isMolecule) || input.HasLine("import psi4");
}

/// What stands between the parentheses of a call, its quotes and blanks left out.
std::string ArgumentOf(const std::string &line, std::string_view function)
{
    const std::size_t at = line.find(function);
    if (at == std::string::npos)
        return {};
    std::string argument = line.substr(at + function.size());
    argument.resize(std::min(argument.find(')'), argument.size()));
    std::erase_if(argument, [](char character) {
        return character == '(' || character == '"' || character == '\'' || character == ' ';
    });
    return argument;
}

void ReadNeeds(const Taskmill_InputText &input, Taskmill_ProgramNeeds &needs)
{
    for (const std::string &line : input.LowerLines()) {
        const auto words = Taskmill_Words(line, 3);
        if (words.empty() || words[0].starts_with('#'))
            continue;
        if (words[0] == "memory" && words.size() > 1) {
            const std::string amount = std::string{words[1]}.append(words.size() > 2 ? words[2] : "");
            needs.RaiseMemory(Taskmill_Megabytes(amount, 1));
        }
        const std::string memory = ArgumentOf(line, "set_memory(");
        if (!memory.empty())
            needs.RaiseMemory(Taskmill_Megabytes(memory, 1));
        const std::string threads = ArgumentOf(line, "set_num_threads(");
        const std::size_t equals = threads.find('=');
        needs.RaiseCores(Taskmill_Count(threads.substr(equals == std::string::npos ? 0 : equals + 1)));
    }
}

constexpr std::array<std::string_view, 2> banners{"Psi4: An Open-Source", "PSI4: An Open-Source"};

std::unique_ptr<Taskmill_OutputInterpreter> MakeInterpreter()
{
    return std::make_unique<Interpreter>();
}
} // namespace

extern const Taskmill_Program Taskmill_Psi4Program;
constinit const Taskmill_Program Taskmill_Psi4Program{"Psi4", banners, MakeInterpreter, IsInput, ReadNeeds};
