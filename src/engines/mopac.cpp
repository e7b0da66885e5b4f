// SPDX-License-Identifier: MIT
#include "engines/inputtext.h"
#include "engines/linetext.h"
#include "engines/outputinterpreter.h"
#include "engines/program.h"

#include <algorithm>
#include <array>
#include <cmath>

// MOPAC 2016 to 22. It says "JOB ENDED NORMALLY" whatever happened: a box before the end repeats every
// message of the run, and without one the run was good. Older versions lack that text; "MOPAC DONE" stands in
// all.
//
// The energy is the heat of formation, which the program prints in kcal/mol for each cycle and at the end;
// that is not a total energy and can be compared within one method only.

namespace {
constexpr double kcalOfHartree = 627.509474; // CODATA, as the program's own conversion

double Hartree(double kcal)
{
    // The program prints five decimals; what is beyond comes from the division alone.
    constexpr double digits = 1e10;
    return std::round(kcal / kcalOfHartree * digits) / digits;
}

bool IsAboutConvergence(std::string_view text)
{
    constexpr std::array<std::string_view, 7> parts{"UNABLE TO ACHIEVE",
                                                    "EXCESS NUMBER OF",
                                                    "NOT ENOUGH TIME",
                                                    "SCF CALCULATION FAILED",
                                                    "NUMBER OF CYCLES EXCEEDED",
                                                    "FAILED TO ACHIEVE SCF",
                                                    "FAILED TO LOCATE TRANSITION STATE"};
    return std::ranges::any_of(parts,
                               [text](std::string_view part) { return Taskmill_Contains(text, part); });
}

class Interpreter final : public Taskmill_OutputInterpreter
{
public:
    Interpreter()
        : Taskmill_OutputInterpreter{"MOPAC"}
    {
    }

    void ReadLine(std::string_view line, std::string_view text) override
    {
        // The results repeat the name and version of the title, but not its frame.
        const bool isTitle =
            line.find("**") != std::string_view::npos && Taskmill_Trimmed(line).starts_with("**");
        if (m_isInBox)
            ReadBox(line, text);
        else if (isTitle || !text.starts_with("MOPAC") || text.starts_with("MOPAC DONE"))
            Rules().Apply(*this, text);
    }

private:
    static const Taskmill_LineRules<Interpreter> &Rules()
    {
        static const Taskmill_LineRules<Interpreter> rules{{
            {"CYCLE:", &Interpreter::ReadStep},
            {"CALCULATION DONE:", &Interpreter::ReadJobBegin},
            {"Cite this program as: MOPAC", &Interpreter::ReadVersion},
            {"MOPAC v", &Interpreter::ReadTitle},
            {"MOPAC20", &Interpreter::ReadTitle},
            {"MOPAC DONE", &Interpreter::ReadEnd},
            {"Error and normal termination messages", &Interpreter::ReadBoxBegin},
            {"EXCESS NUMBER OF", &Interpreter::ReadGeometryFailure},
            {"NUMBER OF CYCLES EXCEEDED", &Interpreter::ReadGeometryFailure},
            {"THERE IS NOT ENOUGH TIME FOR ANOTHER", &Interpreter::ReadGeometryFailure},
            {"NOT ENOUGH TIME FOR", &Interpreter::ReadGeometryFailure},
            {"UNABLE TO ACHIEVE SELF-CONSISTENCE", &Interpreter::ReadScfFailure},
            {"SCF FIELD WAS ACHIEVED", &Interpreter::ReadScf},
            {"BFGS FAILED DUE TO COUNTS EXCEEDED", &Interpreter::ReadGeometryFailure},
            {"CYCLES EXCEEDED, GRADIENT NOT", &Interpreter::ReadGeometryFailure},
            {"GRADIENT =", &Interpreter::ReadGradient},
            {"RMS GRADIENT =", &Interpreter::ReadGradient},
            {"GRADIENTS WERE INITIALLY ACCEPTABLY", &Interpreter::ReadOptimised},
            {"HERBERTS TEST WAS SATISFIED", &Interpreter::ReadOptimised},
            {"PETERS TEST WAS SATISFIED", &Interpreter::ReadOptimised},
            {"GEOMETRY OPTIMI", &Interpreter::ReadOptimised},
            {"FINAL HEAT OF FORMATION", &Interpreter::ReadEnergy},
            {"Job failed to run", &Interpreter::ReadError},
        }};
        return rules;
    }

    /// "MOPAC v22.0.6" or "MOPAC2016"
    void ReadTitle(std::string_view text)
    {
        BeginRun();
        m_hasCycles = false;
        if (text.starts_with("MOPAC v"))
            SetVersion(Taskmill_WordBehind(text, "MOPAC v"));
    }

    /// "Cite this program as: MOPAC2016, Version: 16.093M, James ..."
    void ReadVersion(std::string_view text)
    {
        const std::string_view version = Taskmill_WordBehind(text, "Version:");
        SetVersion(version.substr(0, version.find(',')));
    }

    /// Several calculations can stand in one input; what failed in one of them stays failed.
    void ReadJobBegin(std::string_view) { m_hasCycles = false; }

    void ReadStep(std::string_view text)
    {
        BeginStep();
        m_hasCycles = true;
        if (const auto kcal = Taskmill_Number(Taskmill_WordBehind(text, "HEAT:")))
            AddEnergy(Hartree(*kcal));
    }

    void ReadEnergy(std::string_view text)
    {
        const auto kcal = Taskmill_FirstDecimal(text);
        // Mostly that of the last cycle once more.
        constexpr double printed = 1e-4;
        const auto &energies = SoFar().Energies;
        const bool isKnown = kcal && m_hasCycles && !energies.empty() &&
                             std::abs(energies.back() * kcalOfHartree - *kcal) < printed;
        if (kcal && !isKnown)
            AddEnergy(Hartree(*kcal));
    }

    void ReadScf(std::string_view) { SetScf(true); }

    void ReadScfFailure(std::string_view text)
    {
        SetScf(false);
        FailToConverge(text);
    }

    void ReadGeometryFailure(std::string_view text)
    {
        SetGeometry(false);
        FailToConverge(text);
    }

    void ReadGradient(std::string_view text)
    {
        if (m_hasCycles && Taskmill_Contains(text, "LESS THAN CUTOFF"))
            SetGeometry(true);
    }

    void ReadOptimised(std::string_view) { SetGeometry(true); }

    void ReadError(std::string_view text) { Fail(text); }
    void ReadBoxBegin(std::string_view) { m_isInBox = true; }

    void ReadBox(std::string_view line, std::string_view text)
    {
        if (text.starts_with("JOB ENDED NORMALLY") || !Taskmill_Trimmed(line).starts_with('*')) {
            m_isInBox = false;
            return;
        }
        if (text.empty())
            return;
        if (!IsAboutConvergence(text)) {
            Fail(text);
            return;
        }
        if (Taskmill_Contains(text, "SCF") || Taskmill_Contains(text, "SELF-CONSISTENCE"))
            SetScf(false);
        FailToConverge(text);
    }

    void ReadEnd(std::string_view text) { EndNormally(text); }

    bool m_isInBox = false;
    bool m_hasCycles = false; ///< of the calculation that is read
};

bool HasMethod(const std::string &keywords)
{
    constexpr std::array<std::string_view, 11> methods{"pm7",  "pm6",   "pm3",  "pm5",    "am1",   "rm1",
                                                       "mndo", "mndod", "indo", "pm7-ts", "mozyme"};
    return std::ranges::any_of(Taskmill_Words(keywords), [&methods](std::string_view word) {
        return std::ranges::find(methods, word) != methods.end() || word.starts_with("pm6-");
    });
}

bool IsInput(const Taskmill_InputText &input)
{
    if (input.HasExtension({"mop", "mopac"}))
        return true;
    const auto &lines = input.LowerLines();
    const auto keywords = std::ranges::find_if(
        lines, [](const std::string &line) { return !line.empty() && !line.starts_with('*'); });
    return keywords != lines.end() && HasMethod(*keywords);
}

void ReadNeeds(const Taskmill_InputText &input, Taskmill_ProgramNeeds &needs)
{
    for (const std::string &line : input.LowerLines()) {
        if (line.starts_with('*'))
            continue;
        for (const std::string_view word : Taskmill_Words(line)) {
            constexpr std::string_view key = "threads=";
            if (word.starts_with(key))
                needs.RaiseCores(Taskmill_Count(word.substr(key.size())));
        }
    }
}

// An input that cannot even be begun with gets no title, only its fault.
constexpr std::array<std::string_view, 5> banners{"MOPAC v", "MOPAC20", "Cite this program as: MOPAC",
                                                  "Error and normal termination messages",
                                                  "Job failed to run because"};

std::unique_ptr<Taskmill_OutputInterpreter> MakeInterpreter()
{
    return std::make_unique<Interpreter>();
}
} // namespace

extern const Taskmill_Program Taskmill_MopacProgram;
constinit const Taskmill_Program Taskmill_MopacProgram{"MOPAC", banners, MakeInterpreter, IsInput, ReadNeeds};
