// SPDX-License-Identifier: MIT
#include "engines/inputtext.h"
#include "engines/linetext.h"
#include "engines/outputinterpreter.h"
#include "engines/program.h"

#include <algorithm>
#include <array>

// NWChem. Its tasks run one behind the other, and the first that fails ends the run: the reason stands
// between two rules, and what to do about it between the next ones.

namespace {
class Interpreter final : public Taskmill_OutputInterpreter
{
public:
    Interpreter()
        : Taskmill_OutputInterpreter{"NWChem"}
    {
    }

    void ReadLine(std::string_view, std::string_view text) override
    {
        if (text.empty())
            return;
        const bool isBehindRule = m_isRule;
        m_isRule = text.starts_with("------------------------------------------------------------");
        if (m_isRule)
            return;
        if (!Rules().Apply(*this, text))
            m_framed = isBehindRule ? std::string{text} : std::string{};
    }

private:
    static const Taskmill_LineRules<Interpreter> &Rules()
    {
        static const Taskmill_LineRules<Interpreter> rules{{
            {"Northwest Computational Chemistry Package", &Interpreter::ReadRunBegin},
            {"NWChem SCF Module", &Interpreter::ReadScfBegin},
            {"NWChem DFT Module", &Interpreter::ReadScfBegin},
            {"Calculation failed to converge", &Interpreter::ReadScfFailure},
            {"d= ", &Interpreter::ReadCycle},
            {"Total SCF energy", &Interpreter::ReadEnergy},
            {"Total DFT energy", &Interpreter::ReadEnergy},
            {"Step ", &Interpreter::ReadStep},
            {"Optimization converged", &Interpreter::ReadOptimised},
            {"Failed to converge in maximum number of", &Interpreter::ReadOptimisationFailure},
            {"Total times  cpu", &Interpreter::ReadEnd},
            {"This type of error is most commonly", &Interpreter::ReadError},
            {"There is an error in the input file", &Interpreter::ReadError},
            {"current input line", &Interpreter::ReadError},
            {"For more information see the NWChem", &Interpreter::ReadError},
            {"For further details see manual", &Interpreter::ReadError},
            {"[0] Received an Error in Communication", &Interpreter::ReadError},
            {"0:0:", &Interpreter::ReadError},
        }};
        return rules;
    }

    void ReadRunBegin(std::string_view text)
    {
        BeginRun();
        m_framed.clear();
        SetVersion(Taskmill_WordBehind(text, "(NWChem)"));
    }

    void ReadScfBegin(std::string_view)
    {
        BeginScf();
        SetScf(std::nullopt);
    }

    void ReadScfFailure(std::string_view text) { SetScf(false, text); }

    void ReadCycle(std::string_view text)
    {
        if (const auto energy = Taskmill_FirstDecimal(text.substr(std::min(text.find(' ', 3), text.size()))))
            AddCycle(*energy);
    }

    void ReadEnergy(std::string_view text)
    {
        AddEnergy(text);
        if (!Scf())
            SetScf(true);
    }

    void ReadStep(std::string_view text)
    {
        const auto words = Taskmill_Words(text, 3);
        const bool isNumber = words.size() == 2 && (words[1] == "0" || Taskmill_Count(words[1]));
        if (isNumber)
            BeginStep();
    }

    void ReadOptimised(std::string_view) { SetGeometry(true); }

    void ReadOptimisationFailure(std::string_view text)
    {
        SetGeometry(false);
        FailToConverge(text);
    }

    void ReadError(std::string_view text)
    {
        const std::string_view reason = m_framed.empty() ? text : std::string_view{m_framed};
        if (Scf() == false)
            FailToConverge(reason);
        Fail(reason);
    }

    void ReadEnd(std::string_view text) { EndNormally(text); }

    std::string m_framed; ///< last line, when it stood behind a rule
    bool m_isRule = false;
};

bool IsInput(const Taskmill_InputText &input)
{
    return input.HasExtension({"nw"}) || (input.HasLine("task ") && input.HasLine("geometry"));
}

/// "memory total 2000 mb", "memory 2000 mb" or "memory stack 500 heap 100 global 1400 mb". A unit is that of
/// all numbers before it; numbers without one are words of 8 bytes. Each process takes so much.
std::optional<double> MemoryOf(const std::vector<std::string_view> &words)
{
    double segments = 0;
    double total = 0;
    bool isTotal = false;
    double unit = Taskmill_BytesOfWord;
    for (const std::string_view word : words) {
        if (const auto number = Taskmill_Number(word)) {
            (isTotal ? total : segments) += *number;
            isTotal = false;
        } else if (const auto bytes = Taskmill_UnitBytes(word)) {
            unit = *bytes;
        } else if (word == "total") {
            isTotal = true;
        }
    }
    const double numbers = total > 0 ? total : segments;
    return numbers > 0 ? std::optional{numbers * unit / Taskmill_BytesOfMegabyte} : std::nullopt;
}

void ReadNeeds(const Taskmill_InputText &input, Taskmill_ProgramNeeds &needs)
{
    for (std::size_t number = 0; number < input.Lines().size(); ++number) {
        const auto words = Taskmill_Words(input.LowerLines()[number]);
        if (words.empty())
            continue;
        if (words[0] == "memory")
            needs.RaiseMemory(MemoryOf(words));
        else if (words[0] == "scratch_dir" && words.size() > 1)
            needs.Scratch = Taskmill_Words(input.Lines()[number], 2)[1];
    }
}

constexpr std::array<std::string_view, 1> banners{"Northwest Computational Chemistry Package"};

std::unique_ptr<Taskmill_OutputInterpreter> MakeInterpreter()
{
    return std::make_unique<Interpreter>();
}
} // namespace

extern const Taskmill_Program Taskmill_NWChemProgram;
constinit const Taskmill_Program Taskmill_NWChemProgram{"NWChem", banners, MakeInterpreter, IsInput,
                                                        ReadNeeds};
