// SPDX-License-Identifier: MIT
#include "engines/inputtext.h"
#include "engines/linetext.h"
#include "engines/outputinterpreter.h"
#include "engines/program.h"

#include <algorithm>
#include <array>

// Molpro. An error is announced by "? Error" and explained in the next line that begins with a question mark.

namespace {
class Interpreter final : public Taskmill_OutputInterpreter
{
public:
    Interpreter()
        : Taskmill_OutputInterpreter{"Molpro"}
    {
    }

    void ReadLine(std::string_view, std::string_view text) override
    {
        if (!text.empty() && text.front() == '?')
            ReadQuestionMark(text);
        else
            Rules().Apply(*this, text);
    }

private:
    static const Taskmill_LineRules<Interpreter> &Rules()
    {
        static const Taskmill_LineRules<Interpreter> rules{{
            {"PROGRAM SYSTEM MOLPRO", &Interpreter::ReadRunBegin},
            {"Version ", &Interpreter::ReadVersion},
            {"Molpro calculation terminated", &Interpreter::ReadEnd},
            {"Variable memory released", &Interpreter::ReadEnd},
            {"No convergence", &Interpreter::ReadFailureToConverge},
            {"GLOBAL ERROR", &Interpreter::ReadError},
            {"ERROR EXIT", &Interpreter::ReadError},
            {"RHF STATE", &Interpreter::ReadEnergy},
            {"UHF STATE", &Interpreter::ReadEnergy},
            {"RKS STATE", &Interpreter::ReadEnergy},
            {"UKS STATE", &Interpreter::ReadEnergy},
            {"Optimization point", &Interpreter::ReadStep},
            {"END OF GEOMETRY OPTIMIZATION", &Interpreter::ReadOptimised},
        }};
        return rules;
    }

    void ReadRunBegin(std::string_view)
    {
        BeginRun();
        m_isExplained = false;
    }

    /// "Version 2019.2 linked 29 Jul 2019"
    void ReadVersion(std::string_view text)
    {
        if (Taskmill_Contains(text, "linked"))
            SetVersion(Taskmill_WordBehind(text, "Version"));
    }

    void ReadQuestionMark(std::string_view text)
    {
        const std::string_view said = Taskmill_Trimmed(text.substr(1));
        if (said.starts_with("No convergence")) {
            ReadFailureToConverge(said);
        } else if (said.starts_with("Error")) {
            Fail(text);
            m_isExplained = false;
        } else if (HasFailed() && !m_isExplained) {
            ReplaceError(said);
            m_isExplained = true;
        }
    }

    void ReadFailureToConverge(std::string_view text)
    {
        // The optimisation reports it in these words; for an SCF the line names the program that failed.
        if (Taskmill_Contains(text, "max. number of iterations"))
            SetGeometry(false);
        else
            SetScf(false);
        FailToConverge(text);
    }

    void ReadError(std::string_view text) { Fail(text); }

    void ReadEnergy(std::string_view text)
    {
        const std::size_t at = text.find("nergy");
        if (at == std::string_view::npos)
            return;
        AddEnergy(text.substr(at));
        SetScf(true);
    }

    void ReadStep(std::string_view) { BeginStep(); }
    void ReadOptimised(std::string_view) { SetGeometry(true); }
    void ReadEnd(std::string_view text) { EndNormally(text); }

    bool m_isExplained = false;
};

bool IsInput(const Taskmill_InputText &input)
{
    return input.HasLine("***,") || input.HasLine("memory,") || input.HasLine("geometry={");
}

void ReadNeeds(const Taskmill_InputText &input, Taskmill_ProgramNeeds &needs)
{
    for (std::size_t number = 0; number < input.Lines().size(); ++number) {
        std::string line = input.LowerLines()[number];
        line.resize(std::min(line.find_first_of(";!"), line.size()));
        std::string_view original = input.Lines()[number].substr(0, line.size());
        std::ranges::replace(line, ',', ' ');
        const auto words = Taskmill_Words(line);
        if (words.size() > 1 && words[0] == "memory") {
            // Words of 8 bytes for each process; a thousand, a million or a thousand million of them.
            const std::string unit = words.size() > 2 ? std::string{words[2].substr(0, 1)} + 'w' : "";
            needs.RaiseMemory(Taskmill_Megabytes(std::string{words[1]} + unit, Taskmill_BytesOfWord));
        } else if (words.size() > 2 && words[0] == "file" && words[1] == "2") {
            original.remove_prefix(words[2].data() - line.data());
            needs.Checkpoint = original.substr(0, words[2].size());
            needs.AddWritten(needs.Checkpoint);
        }
    }
}

constexpr std::array<std::string_view, 2> banners{"PROGRAM SYSTEM MOLPRO", "Primary working directories"};

std::unique_ptr<Taskmill_OutputInterpreter> MakeInterpreter()
{
    return std::make_unique<Interpreter>();
}
} // namespace

extern const Taskmill_Program Taskmill_MolproProgram;
constinit const Taskmill_Program Taskmill_MolproProgram{"Molpro", banners, MakeInterpreter, IsInput,
                                                        ReadNeeds};
