// SPDX-License-Identifier: MIT
#include "engines/inputtext.h"
#include "engines/linetext.h"
#include "engines/outputinterpreter.h"
#include "engines/program.h"

#include <algorithm>
#include <array>

// ORCA 4 to 6. It ends normally after an optimisation that ran out of cycles and, at some settings, after an
// SCF that did; during an optimisation an SCF may fail and a later one succeed.

namespace {
class Interpreter final : public Taskmill_OutputInterpreter
{
public:
    Interpreter()
        : Taskmill_OutputInterpreter{"ORCA"}
    {
    }

    void ReadLine(std::string_view, std::string_view text) override
    {
        if (text.empty())
            return;
        if (m_isFaultNext) {
            m_isFaultNext = false;
            ReadError(text);
        }
        if (m_isInCycles && text.front() >= '0' && text.front() <= '9')
            ReadCycle(text);
        else
            Rules().Apply(*this, text);
    }

private:
    static const Taskmill_LineRules<Interpreter> &Rules()
    {
        static const Taskmill_LineRules<Interpreter> rules{{
            {"O   R   C   A", &Interpreter::ReadRunBegin},
            {"ORCA TERMINATED NORMALLY", &Interpreter::ReadEnd},
            {"ORCA finished by error", &Interpreter::ReadError},
            {"Program Version", &Interpreter::ReadVersion},
            {"Please increase MaxCore", &Interpreter::ReadCause},
            {"GEOMETRY OPTIMIZATION CYCLE", &Interpreter::ReadStep},
            {"THE OPTIMIZATION HAS CONVERGED", &Interpreter::ReadOptimised},
            {"The optimization did not converge", &Interpreter::ReadOptimisationFailure},
            {"The wavefunction IS NOT FULLY", &Interpreter::ReadNotFullyConverged},
            {"This wavefunction IS NOT", &Interpreter::ReadNotFullyConverged},
            {"The Coupled-Cluster iterations have NOT", &Interpreter::ReadCause},
            {"SCF CONVERGED AFTER", &Interpreter::ReadScf},
            {"SCF NOT CONVERGED AFTER", &Interpreter::ReadScfFailure},
            {"FINAL SINGLE POINT ENERGY", &Interpreter::ReadEnergy},
            {"ITER  ", &Interpreter::ReadScfBegin},
            {"Iteration    Energy (Eh)", &Interpreter::ReadScfBegin},
            {"INPUT ERROR", &Interpreter::ReadInputError},
            {"FATAL ERROR ENCOUNTERED", &Interpreter::ReadError},
            {"[file ", &Interpreter::ReadSourceLine},
            {"aborting the run", &Interpreter::ReadError},
            {"ABORTING THE RUN", &Interpreter::ReadError},
            {"Error  (ORCA_", &Interpreter::ReadCause},
            {"Error (ORCA_", &Interpreter::ReadCause},
            {"ERROR (ORCA_", &Interpreter::ReadCause},
            {"$$$$$$$$$$$$$$$$  JOB NUMBER", &Interpreter::ReadJobBegin},
        }};
        return rules;
    }

    void ReadRunBegin(std::string_view)
    {
        BeginRun();
        m_cause.clear();
        m_isInCycles = false;
        m_isFaultNext = false;
    }

    /// One more job of the same run, behind "$new_job".
    void ReadJobBegin(std::string_view) { KeepScfFailure(); }

    void ReadVersion(std::string_view text) { SetVersion(Taskmill_WordBehind(text, "Program Version")); }

    void ReadStep(std::string_view) { BeginStep(); }
    void ReadOptimised(std::string_view) { SetGeometry(true); }

    void ReadOptimisationFailure(std::string_view text)
    {
        SetGeometry(false);
        FailToConverge(text);
    }

    void ReadScfBegin(std::string_view)
    {
        // The heading is repeated where the method changes.
        if (!m_isInCycles)
            BeginScf();
        m_isInCycles = true;
    }

    void ReadCycle(std::string_view text)
    {
        const std::string_view number = Taskmill_NextWord(text);
        const std::string_view word = Taskmill_NextWord(text);
        const auto energy = Taskmill_Number(word);
        if (energy && Taskmill_Count(number) && Taskmill_Contains(word, "."))
            AddCycle(*energy);
    }

    void ReadScf(std::string_view)
    {
        m_isInCycles = false;
        SetScf(true);
    }

    void ReadScfFailure(std::string_view text)
    {
        m_isInCycles = false;
        SetScf(false, text);
    }

    void ReadNotFullyConverged(std::string_view text) { SetScf(false, text); }

    void ReadEnergy(std::string_view text)
    {
        m_isInCycles = false;
        AddEnergy(text);
    }

    void ReadCause(std::string_view text) { m_cause = text; }

    void ReadEnd(std::string_view text) { EndNormally(text); }

    void ReadError(std::string_view text) { Fail(m_cause.empty() ? text : std::string_view{m_cause}); }

    /// The box names the fault in its next line.
    void ReadInputError(std::string_view) { m_isFaultNext = true; }

    /// "[file orca_main/mainfcts.cpp, line 671]: Error : ..."
    void ReadSourceLine(std::string_view text)
    {
        const std::size_t bracket = text.find("]:");
        if (bracket == std::string_view::npos)
            return;
        const std::string_view said = Taskmill_Trimmed(text.substr(bracket + 2));
        if (Taskmill_LowerCase(said.substr(0, 4)) == "warn")
            return;
        // Every process says that it ends, the cause was said before.
        if (!said.empty() && !Taskmill_Contains(said, "aborting the run"))
            m_cause = said;
        m_isFaultNext = said.empty() && !HasFailed();
        if (!said.empty())
            ReadError(said);
    }

    std::string m_cause;
    bool m_isInCycles = false;
    bool m_isFaultNext = false;
};

/// Comments go to the end of the line or to the next sharp; blanks around each % and = as well as quotes go
/// too.
std::vector<std::string> Tokens(const Taskmill_InputText &input)
{
    std::vector<std::string> tokens;
    for (const std::string &line : input.LowerLines()) {
        std::string code;
        bool isComment = false;
        for (const char character : line) {
            if (character == '#')
                isComment = !isComment;
            else if (!isComment)
                code += character == '=' ? ' ' : character;
        }
        for (const std::string_view word : Taskmill_Words(code, code.size())) {
            if (!tokens.empty() && tokens.back() == "%")
                tokens.back() += word;
            else
                tokens.emplace_back(word);
        }
        tokens.emplace_back("\n");
    }
    return tokens;
}

bool IsInput(const Taskmill_InputText &input)
{
    constexpr std::array<std::string_view, 8> coordinates{"*xyz",  "* xyz",  "*int", "* int",
                                                          "*gzmt", "* gzmt", "%pal", "%maxcore"};
    const auto hasKeywords = [](std::string_view line) {
        const std::string_view words = line.starts_with('!') ? Taskmill_Trimmed(line.substr(1)) : "";
        return !words.empty() && words.front() != '!';
    };
    return std::ranges::any_of(coordinates,
                               [&input](std::string_view line) { return input.HasLine(line); }) ||
           (std::ranges::any_of(input.Lines(), hasKeywords) && input.HasExtension({"inp", "orca"}));
}

/// The number behind the token at `position`, over line ends.
std::string_view ValueBehind(const std::vector<std::string> &tokens, std::size_t position)
{
    do {
        ++position;
    } while (position < tokens.size() && tokens[position] == "\n");
    return position < tokens.size() ? std::string_view{tokens[position]} : std::string_view{};
}

/// What one job of the input says; what it leaves out is as in the one before it.
struct Job
{
    std::optional<int> cores;
    std::optional<double> memoryOfCore;

    void RaiseIn(Taskmill_ProgramNeeds &needs) const
    {
        needs.RaiseCores(cores);
        if (memoryOfCore)
            needs.RaiseMemory(*memoryOfCore * cores.value_or(1));
    }
};

void ReadNeeds(const Taskmill_InputText &input, Taskmill_ProgramNeeds &needs)
{
    const auto tokens = Tokens(input);
    Job job;
    bool isSimpleLine = false;
    bool isParallelBlock = false;
    for (std::size_t position = 0; position < tokens.size(); ++position) {
        const std::string &token = tokens[position];
        if (token == "\n" || token.starts_with('!'))
            isSimpleLine = token != "\n";
        if (token.starts_with('%'))
            isParallelBlock = token == "%pal";
        else if (token == "end")
            isParallelBlock = false;
        // Without the percent sign it is that of a block.
        if (token == "%maxcore") {
            if (const auto number = Taskmill_Number(ValueBehind(tokens, position)); number && *number > 0)
                job.memoryOfCore = number;
        } else if (isParallelBlock && (token == "nprocs" || token == "nproc")) {
            if (const auto count = Taskmill_Count(ValueBehind(tokens, position)))
                job.cores = count;
        } else if (const std::size_t word = token.starts_with('!') ? 1 : 0;
                   isSimpleLine && std::string_view{token}.substr(word).starts_with("pal")) {
            // "PAL8" or "PAL8(4x2)".
            const std::string digits = token.substr(word + 3, token.find('(') - word - 3);
            if (const auto count = Taskmill_Count(digits))
                job.cores = count;
        } else if (token == "$new_job") {
            job.RaiseIn(needs);
        }
    }
    job.RaiseIn(needs);
}

constexpr std::array<std::string_view, 1> banners{"O   R   C   A"};

std::unique_ptr<Taskmill_OutputInterpreter> MakeInterpreter()
{
    return std::make_unique<Interpreter>();
}
} // namespace

extern const Taskmill_Program Taskmill_OrcaProgram;
constinit const Taskmill_Program Taskmill_OrcaProgram{"ORCA", banners, MakeInterpreter, IsInput, ReadNeeds};
