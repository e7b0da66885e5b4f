// SPDX-License-Identifier: MIT
#include "engines/inputtext.h"
#include "engines/linetext.h"
#include "engines/outputinterpreter.h"
#include "engines/program.h"

#include <algorithm>
#include <array>

// Q-Chem. An input can have several jobs; each prints its own banner and its own "Thank you", and the next
// one runs even when one has failed.

namespace {
class Interpreter final : public Taskmill_OutputInterpreter
{
public:
    Interpreter()
        : Taskmill_OutputInterpreter{"Q-Chem"}
    {
    }

    void ReadLine(std::string_view, std::string_view text) override
    {
        if (text.empty())
            return;
        if (m_isFatal) {
            m_isFatal = false;
            ReadFault(text);
        }
        Rules().Apply(*this, text);
    }

private:
    static const Taskmill_LineRules<Interpreter> &Rules()
    {
        static const Taskmill_LineRules<Interpreter> rules{{
            {"Running Job", &Interpreter::ReadJobBegin},
            {"Welcome to Q-Chem", &Interpreter::ReadWelcome},
            {"Thank you very much for using Q-Chem", &Interpreter::ReadEnd},
            {"Q-Chem fatal error", &Interpreter::ReadFatal},
            {"Q-Chem ", &Interpreter::ReadVersion},
            {"gen_scfman_exception", &Interpreter::ReadFault},
            {"SCF failed to converge", &Interpreter::ReadFault},
            {"MAXIMUM OPTIMIZATION CYCLES REACHED", &Interpreter::ReadFault},
            {"Optimization Cycle:", &Interpreter::ReadStep},
            {"OPTIMIZATION CONVERGED", &Interpreter::ReadOptimised},
            {"Total energy in the final basis set", &Interpreter::ReadEnergy},
            {"Total energy =", &Interpreter::ReadEnergy},
        }};
        return rules;
    }

    /// "Running Job 2 of 3 water.in"
    void ReadJobBegin(std::string_view text)
    {
        const auto words = Taskmill_Words(text, 5);
        if (words.size() < 5 || words[3] != "of")
            return;
        if (words[2] == "1")
            BeginRun();
        Resume();
        m_isLastJob = words[2] == words[4];
        m_isCounted = true;
    }

    void ReadWelcome(std::string_view)
    {
        if (!m_isCounted)
            BeginRun();
    }

    void ReadVersion(std::string_view text)
    {
        const std::string_view version = Taskmill_WordBehind(text, "Q-Chem");
        if (!version.empty() && version.front() >= '0' && version.front() <= '9')
            SetVersion(version.substr(0, version.find(',')));
    }

    void ReadFatal(std::string_view) { m_isFatal = true; }

    void ReadFault(std::string_view text)
    {
        const std::string lower = Taskmill_LowerCase(text);
        if (Taskmill_Contains(lower, "optimization cycles")) {
            SetGeometry(false);
            FailToConverge(text);
        } else if (Taskmill_Contains(lower, "failed to converge")) {
            SetScf(false);
            FailToConverge(text);
        } else {
            Fail(text);
        }
    }

    void ReadStep(std::string_view) { BeginStep(); }
    void ReadOptimised(std::string_view) { SetGeometry(true); }

    void ReadEnergy(std::string_view text)
    {
        AddEnergy(text);
        SetScf(true);
    }

    void ReadEnd(std::string_view text)
    {
        if (m_isLastJob)
            EndNormally(text);
    }

    bool m_isFatal = false;
    bool m_isLastJob = true;
    bool m_isCounted = false; ///< the output says which of how many jobs runs
};

bool IsInput(const Taskmill_InputText &input)
{
    return input.HasLine("$rem") || input.HasLine("$molecule");
}

void ReadNeeds(const Taskmill_InputText &input, Taskmill_ProgramNeeds &needs)
{
    bool isSettings = false;
    for (const std::string &line : input.LowerLines()) {
        if (line.starts_with('$'))
            isSettings = line.starts_with("$rem");
        std::string setting = line.substr(0, line.find('!'));
        std::ranges::replace(setting, '=', ' ');
        const auto words = Taskmill_Words(setting, 2);
        // Megabytes of the whole job; the number of threads stands in the command line.
        if (isSettings && words.size() == 2 && words[0] == "mem_total")
            needs.RaiseMemory(Taskmill_Megabytes(words[1], Taskmill_BytesOfMegabyte));
    }
}

constexpr std::array<std::string_view, 2> banners{"Welcome to Q-Chem", "Running Job 1 of"};

std::unique_ptr<Taskmill_OutputInterpreter> MakeInterpreter()
{
    return std::make_unique<Interpreter>();
}
} // namespace

extern const Taskmill_Program Taskmill_QChemProgram;
constinit const Taskmill_Program Taskmill_QChemProgram{"Q-Chem", banners, MakeInterpreter, IsInput,
                                                       ReadNeeds};
