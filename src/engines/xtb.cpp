// SPDX-License-Identifier: MIT
#include "engines/inputtext.h"
#include "engines/linetext.h"
#include "engines/outputinterpreter.h"
#include "engines/program.h"

#include <algorithm>
#include <array>

// xtb. "normal termination of xtb" goes to standard error and can stand anywhere in a file of both streams;
// "finished run on" ends standard output, also after an optimisation that did not converge.

namespace {
class Interpreter final : public Taskmill_OutputInterpreter
{
public:
    Interpreter()
        : Taskmill_OutputInterpreter{"xtb"}
    {
    }

    void ReadLine(std::string_view line, std::string_view text) override
    {
        if (text.empty())
            return;
        m_line = line;
        if (text.front() >= '0' && text.front() <= '9')
            ReadCycle(text);
        else if (text.front() == '-' && m_isInErrors)
            ReadErrorLine(line);
        else
            Rules().Apply(*this, text);
    }

private:
    static const Taskmill_LineRules<Interpreter> &Rules()
    {
        static const Taskmill_LineRules<Interpreter> rules{{
            {"CYCLE ", &Interpreter::ReadStep},
            {"total energy  :", &Interpreter::ReadEnergy},
            {"TOTAL ENERGY ", &Interpreter::ReadEnergy},
            {"convergence criteria satisfied", &Interpreter::ReadScf},
            {"convergence criteria cannot", &Interpreter::ReadScfFailure},
            {"GEOMETRY OPTIMIZATION CONVERGED", &Interpreter::ReadOptimised},
            {"FAILED TO CONVERGE GEOMETRY", &Interpreter::ReadOptimisationFailure},
            {"x T B", &Interpreter::ReadRunBegin},
            {"xtb version", &Interpreter::ReadVersion},
            {"finished run on", &Interpreter::ReadEnd},
            {"[ERROR]", &Interpreter::ReadErrorBegin},
            {"#ERROR", &Interpreter::ReadError},
            {"ERROR STOP", &Interpreter::ReadError},
            {"at ./signal/", &Interpreter::ReadSignal},
            {"abnormal termination of xtb", &Interpreter::ReadError},
            {"external code error", &Interpreter::ReadError},
            {"grad| > 500, something is totally wrong", &Interpreter::ReadError},
        }};
        return rules;
    }

    void ReadRunBegin(std::string_view)
    {
        BeginRun();
        m_isInErrors = false;
    }

    void ReadVersion(std::string_view text) { SetVersion(Taskmill_WordBehind(text, "xtb version")); }
    void ReadStep(std::string_view) { BeginStep(); }
    void ReadEnergy(std::string_view text) { AddEnergy(text); }
    void ReadOptimised(std::string_view) { SetGeometry(true); }

    void ReadOptimisationFailure(std::string_view)
    {
        SetGeometry(false);
        FailToConverge(m_line);
    }

    /// A line of the SCF: number, energy, change and more, and at last "T" or "F".
    void ReadCycle(std::string_view text)
    {
        std::string_view rest = Taskmill_Trimmed(text);
        if (!rest.ends_with(" T") && !rest.ends_with(" F"))
            return;
        const bool isFirst = Taskmill_NextWord(rest) == "1";
        const auto energy = Taskmill_Number(Taskmill_NextWord(rest));
        if (!energy)
            return;
        if (isFirst)
            BeginScf();
        AddCycle(*energy);
    }

    void ReadScf(std::string_view) { SetScf(true); }
    void ReadScfFailure(std::string_view) { SetScf(false, m_line); }
    void ReadError(std::string_view text) { Fail(text); }
    /// In the backtrace of an "ERROR STOP": somebody asked the program to end.
    void ReadSignal(std::string_view) { TakeBackError("ERROR STOP"); }

    void ReadErrorBegin(std::string_view text)
    {
        m_isInErrors = true;
        Fail(text);
    }

    /// "-3- ...", "-2- ...", "-1- ...": from what gave up to what the reason was.
    void ReadErrorLine(std::string_view line)
    {
        const std::string_view text = Taskmill_Trimmed(line);
        if (Taskmill_Contains(text, "did not converge") || Taskmill_Contains(text, "not converged"))
            FailToConverge(text);
        else if (text.starts_with("-1-"))
            ReplaceError(text);
    }

    void ReadEnd(std::string_view text) { EndNormally(text); }

    std::string_view m_line; ///< that is read now
    bool m_isInErrors = false;
};

/// Whether the words are a call of the program, and where its arguments begin.
std::optional<std::size_t> ArgumentsBegin(const std::vector<std::string_view> &words)
{
    for (std::size_t position = 0; position < words.size(); ++position) {
        const std::string_view word = words[position];
        const std::string_view name = word.substr(word.find_last_of("/\\") + 1);
        if (name == "xtb" || name == "xtb.exe")
            return position + 1;
        const bool mayPrecede = Taskmill_Contains(word, "=") || word == "time" || word == "nice" ||
                                word == "exec" || word == "env" || word == "srun" || word == "export";
        if (!mayPrecede)
            return std::nullopt;
    }
    return std::nullopt;
}

bool IsInput(const Taskmill_InputText &input)
{
    return std::ranges::any_of(input.Lines(), [](std::string_view line) {
        return ArgumentsBegin(Taskmill_Words(line)).has_value();
    });
}

/// "-P 4", "-P4", "--parallel 4" or "--parallel=4".
std::optional<int> ThreadsOf(const std::vector<std::string_view> &words, std::size_t position)
{
    constexpr std::string_view assigned = "--parallel=";
    const std::string_view word = words[position];
    if (word.starts_with(assigned))
        return Taskmill_Count(word.substr(assigned.size()));
    if ((word == "-P" || word == "--parallel") && position + 1 < words.size())
        return Taskmill_Count(words[position + 1]);
    return word.starts_with("-P") ? Taskmill_Count(word.substr(2)) : std::nullopt;
}

void ReadNeeds(const Taskmill_InputText &input, Taskmill_ProgramNeeds &needs)
{
    std::optional<int> environment;
    for (const std::string_view line : input.Lines()) {
        const auto words = Taskmill_Words(line);
        for (const std::string_view word : words) {
            constexpr std::string_view variable = "OMP_NUM_THREADS=";
            if (word.starts_with(variable))
                environment = Taskmill_Count(word.substr(variable.size(), word.find(',') - variable.size()));
        }
        for (std::size_t at = ArgumentsBegin(words).value_or(words.size()); at < words.size(); ++at)
            needs.RaiseCores(ThreadsOf(words, at));
    }
    if (!needs.Cores)
        needs.Cores = environment;
}

// An input that cannot be read gets no title, only its fault.
constexpr std::array<std::string_view, 4> banners{"x T B", "xtb version", "abnormal termination of xtb",
                                                  "[ERROR] Program stopped due to fatal error"};

std::unique_ptr<Taskmill_OutputInterpreter> MakeInterpreter()
{
    return std::make_unique<Interpreter>();
}
} // namespace

extern const Taskmill_Program Taskmill_XtbProgram;
constinit const Taskmill_Program Taskmill_XtbProgram{"xtb", banners, MakeInterpreter, IsInput, ReadNeeds};
