// SPDX-License-Identifier: MIT
#include "engines/inputtext.h"
#include "engines/linetext.h"
#include "engines/outputinterpreter.h"
#include "engines/program.h"

#include <algorithm>
#include <array>
#include <charconv>

// Gaussian 03 to 16. A file has one or more job steps, each of a chain of links. "Normal termination" ends a
// step, not the run: whatever link begins after it takes it back.

namespace {
class Interpreter final : public Taskmill_OutputInterpreter
{
public:
    Interpreter()
        : Taskmill_OutputInterpreter{"Gaussian"}
    {
    }

    void ReadLine(std::string_view line, std::string_view text) override
    {
        if (m_isInRoute) {
            ReadRoute(line);
            return;
        }
        if (text.empty())
            return;
        Rules().Apply(*this, text);
        // Such as "SCF Error SCF Error SCF Error" between the cause and the end.
        if (!text.starts_with("SCF Error"))
            m_previous.assign(text);
    }

private:
    static const Taskmill_LineRules<Interpreter> &Rules()
    {
        static const Taskmill_LineRules<Interpreter> rules{{
            {"E= ", &Interpreter::ReadCycle},
            {"Cycle   1 ", &Interpreter::ReadFirstCycle},
            {"(Enter ", &Interpreter::ReadLink},
            {"SCF Done", &Interpreter::ReadScf},
            {"SCF has not converged", &Interpreter::ReadScfFailure},
            {"Convergence criterion not met", &Interpreter::ReadCriterionNotMet},
            {"Convergence failure", &Interpreter::ReadScfFailure},
            {"Item               Value", &Interpreter::ReadStep},
            {"Optimization completed", &Interpreter::ReadOptimised},
            {"-- Stationary point found", &Interpreter::ReadOptimised},
            {"-- Number of steps exceeded", &Interpreter::ReadStepsExceeded},
            {"-- Wrong number of", &Interpreter::ReadCause},
            {"QPErr", &Interpreter::ReadCause},
            {"Out-of-memory error", &Interpreter::ReadCause},
            {"FileIO operation on non-existent file", &Interpreter::ReadCause},
            {"Frequencies --", &Interpreter::ReadFrequencies},
            {"Zero-point correction=", &Interpreter::ReadFrequencies},
            {"#", &Interpreter::ReadRouteBegin},
            {"Gaussian ", &Interpreter::ReadVersion},
            {"Entering Gaussian System", &Interpreter::ReadRunBegin},
            {"Entering Link 1", &Interpreter::ReadFirstLink},
            {"Initial command", &Interpreter::ReadFirstLink},
            {"Link1:  Proceeding", &Interpreter::ReadJobStep},
            {"Normal termination of Gaussian", &Interpreter::ReadEnd},
            {"Error termination", &Interpreter::ReadError},
            {"galloc:", &Interpreter::ReadFault},
            {"Erroneous write", &Interpreter::ReadFault},
            {"Erroneous read", &Interpreter::ReadFault},
            {"Error: segmentation violation", &Interpreter::ReadFault},
        }};
        return rules;
    }

    void ReadRunBegin(std::string_view)
    {
        BeginRun();
        m_cause.clear();
        m_isAborted = false;
        ForgetRoute();
    }

    void ReadJobStep(std::string_view)
    {
        Resume();
        ForgetRoute();
    }

    void ReadLink(std::string_view) { Resume(); }

    /// Of a step behind "--Link1--", or of another run: on Windows nothing stands before it.
    void ReadFirstLink(std::string_view text)
    {
        if (m_isAborted)
            ReadRunBegin(text);
        else
            ReadJobStep(text);
    }

    /// "Gaussian 16:  ES64L-G16RevA.03 25-Dec-2016"
    void ReadVersion(std::string_view text)
    {
        const auto words = Taskmill_Words(text, 3);
        if (words.size() < 3 || words[1].size() < 2 || !words[1].ends_with(':'))
            return;
        Resume();
        SetVersion(std::string{words[1].substr(0, words[1].size() - 1)}.append(" ").append(words[2]));
    }

    void ForgetRoute()
    {
        m_route.clear();
        m_isOptimisation = false;
        m_isFrequency = false;
        m_hasFrequencies = false;
    }

    /// The route stands between two rules, cut at a column whatever stands there.
    void ReadRouteBegin(std::string_view text)
    {
        if (!m_previous.starts_with("-----"))
            return;
        ForgetRoute();
        m_routeWidth = m_previous.size();
        AddToRoute(text);
        m_isInRoute = true;
    }

    void AddToRoute(std::string_view part)
    {
        m_route.append(part);
        if (part.size() < m_routeWidth)
            m_route += ' ';
    }

    void ReadRoute(std::string_view line)
    {
        constexpr std::size_t longestRoute = 8192;
        if (!Taskmill_Trimmed(line).starts_with("-----") && m_route.size() < longestRoute) {
            AddToRoute(line.substr(std::min<std::size_t>(line.size(), 1)));
            return;
        }
        m_isInRoute = false;
        ReadKeywords(Taskmill_LowerCase(m_route));
    }

    /// Options, which stand in parentheses or behind an equals sign, are no keywords.
    void ReadKeywords(const std::string &route)
    {
        int depth = 0;
        bool isKeyword = true;
        std::string word;
        for (const char character : route + ' ') {
            if (character == '(' || character == ')') {
                depth += character == '(' ? 1 : -1;
            } else if (depth > 0) {
                continue;
            } else if (character != ' ' && character != ',' && character != '/' && character != '=') {
                word += character;
                continue;
            }
            if (isKeyword)
                ReadKeyword(word);
            if (!word.empty() || character == ' ' || character == ',')
                isKeyword = character != '=';
            word.clear();
        }
    }

    void ReadKeyword(std::string_view word)
    {
        if (word.starts_with('#'))
            word.remove_prefix(1);
        m_isOptimisation = m_isOptimisation || word == "opt" || word == "popt" || word == "fopt" ||
                           word.starts_with("optimi");
        m_isFrequency = m_isFrequency || word.starts_with("freq");
    }

    void ReadFirstCycle(std::string_view) { BeginScf(); }

    void ReadCycle(std::string_view text)
    {
        if (const auto energy = Taskmill_FirstDecimal(text))
            AddCycle(*energy);
    }

    void ReadCriterionNotMet(std::string_view) { m_isCriterionMet = false; }

    void ReadScf(std::string_view text)
    {
        // After "SCF=XQC" a second SCF follows where the first one failed.
        SetScf(m_isCriterionMet);
        m_isCriterionMet = true;
        const std::size_t equals = text.find('=');
        if (equals != std::string_view::npos)
            AddEnergy(text.substr(equals + 1));
    }

    void ReadScfFailure(std::string_view text)
    {
        SetScf(false);
        FailToConverge(text);
    }

    /// A frequency calculation prints the table too, but moves no atom.
    [[nodiscard]] bool IsMoving() const
    {
        return m_isOptimisation ? !m_isFrequency || !m_hasFrequencies : !m_isFrequency;
    }

    void ReadFrequencies(std::string_view) { m_hasFrequencies = true; }

    void ReadStep(std::string_view text)
    {
        if (IsMoving() && Taskmill_Contains(text, "Converged?"))
            BeginStep();
    }

    void ReadOptimised(std::string_view)
    {
        if (IsMoving())
            SetGeometry(true);
    }

    void ReadStepsExceeded(std::string_view text)
    {
        if (!IsMoving())
            return;
        SetGeometry(false);
        FailToConverge(text.substr(3));
    }

    void ReadCause(std::string_view text) { m_cause = text.substr(text.starts_with("-- ") ? 3 : 0); }

    void ReadEnd(std::string_view text)
    {
        // "opt freq" is two steps, and the first one alone is not what was asked for.
        if (m_isOptimisation && m_isFrequency && !m_hasFrequencies)
            return;
        // The criterion was not met, but the input asks the program to accept it.
        if (Scf() == false)
            SetScf(std::nullopt);
        EndNormally(text);
    }

    void ReadError(std::string_view text)
    {
        m_isAborted = true;
        const bool isCauseBefore =
            !m_previous.empty() && !m_previous.starts_with("----") && !m_previous.starts_with("(Enter") &&
            !m_previous.starts_with("Leave Link") && !m_previous.starts_with("FileIO:");
        if (!m_cause.empty())
            Fail(m_cause);
        else
            Fail(isCauseBefore ? std::string_view{m_previous} : text);
    }

    void ReadFault(std::string_view text)
    {
        m_isAborted = true;
        Fail(text);
    }

    std::string m_previous; ///< line that was not empty
    std::string m_cause;
    std::string m_route;
    std::size_t m_routeWidth = 0; ///< a shorter line was not cut
    bool m_isAborted = false;
    bool m_isInRoute = false;
    bool m_isOptimisation = false;
    bool m_isFrequency = false;
    bool m_hasFrequencies = false;
    bool m_isCriterionMet = true;
};

/// The name of a Link 0 command, in lower case, and its value.
struct Link0
{
    std::string name;
    std::string value;
};

std::optional<Link0> ReadLink0(std::string_view line)
{
    line = Taskmill_Trimmed(line.substr(0, line.find('!')));
    const std::size_t equals = line.find('=');
    if (!line.starts_with('%') || equals == std::string_view::npos)
        return std::nullopt;
    return Link0{Taskmill_LowerCase(Taskmill_Trimmed(line.substr(1, equals - 1))),
                 std::string{Taskmill_Trimmed(line.substr(equals + 1))}};
}

bool IsProcessorCount(const std::string &name)
{
    return name.size() >= 5 && std::string_view{"nprocshared"}.starts_with(name);
}

bool IsLink0Name(const std::string &name)
{
    constexpr std::array<std::string_view, 14> names{"chk",  "oldchk", "mem",          "rwf",   "cpu",
                                                     "scr",  "int",    "d2e",          "kjob",  "nosave",
                                                     "save", "subst",  "lindaworkers", "gpucpu"};
    return IsProcessorCount(name) || std::ranges::find(names, name) != names.end();
}

/// "0-7,10,12-18/2" are 12 cores; no value when it is anything else.
std::optional<int> CountCores(std::string_view list)
{
    int count = 0;
    while (!list.empty()) {
        std::array<int, 3> numbers{0, -1, 1}; // first, last, step
        const std::size_t end = std::min(list.find(','), list.size());
        const std::string_view range = list.substr(0, end);
        const char *at = range.data();
        for (const std::size_t part : {0U, 1U, 2U}) {
            const auto [rest, error] = std::from_chars(at, range.data() + range.size(), numbers[part]);
            if (error != std::errc{})
                return std::nullopt;
            at = rest;
            if (at == range.data() + range.size())
                break;
            ++at;
        }
        const int last = numbers[1] < 0 ? numbers[0] : numbers[1];
        constexpr int mostCores = 1'000'000;
        if (numbers[2] < 1 || numbers[0] < 0 || last < numbers[0] || last > mostCores)
            return std::nullopt;
        count += (last - numbers[0]) / numbers[2] + 1;
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    return count > 0 ? std::optional{count} : std::nullopt;
}

bool IsInput(const Taskmill_InputText &input)
{
    for (const std::string_view line : input.Lines()) {
        if (line.empty() || line.starts_with('!'))
            continue;
        const auto link0 = ReadLink0(line);
        if (link0 && IsLink0Name(link0->name))
            return true;
        if (!line.starts_with('#'))
            return false;
        if (input.HasExtension({"gjf", "com", "gau", "gjc", "g03", "g09", "g16"}))
            return true;
        // Elsewhere a sharp mostly begins a comment.
        const std::string route = Taskmill_LowerCase(line.substr(0, 3));
        return (route.starts_with("# ") || route == "#p " || route == "#n " || route == "#t ") &&
               !input.HasLine("!") && !input.HasLine("%") && !input.HasLine("*") && !input.HasLine("import ");
    }
    return false;
}

/// A name with blanks may stand in quotes; one without an ending gets that of its kind. Empty for a folder,
/// in which each job has its own file.
std::string WrittenName(std::string_view name, const std::string &kind)
{
    name = Taskmill_Trimmed(name);
    if (name.size() > 1 && (name.front() == '"' || name.front() == '\'') && name.back() == name.front())
        name = name.substr(1, name.size() - 2);
    const std::string_view last = name.substr(name.find_last_of("/\\") + 1);
    if (last.empty())
        return {};
    return last.find('.') == last.npos ? std::string{name} + '.' + kind : std::string{name};
}

/// "a,2GB,b,2GB" are parts of one file.
void AddParts(std::string_view parts, const std::string &kind, Taskmill_ProgramNeeds &needs)
{
    for (bool isName = true; !parts.empty(); isName = !isName) {
        const std::size_t end = std::min(parts.find(','), parts.size());
        if (isName)
            needs.AddWritten(WrittenName(parts.substr(0, end), kind));
        parts.remove_prefix(std::min(end + 1, parts.size()));
    }
}

void ReadFileNames(const Link0 &link0, Taskmill_ProgramNeeds &needs)
{
    constexpr std::array<std::string_view, 4> kindsOfScratch{"rwf", "scr", "int", "d2e"};
    if (link0.name == "chk") {
        if (needs.Checkpoint.empty())
            needs.Checkpoint = link0.value;
        needs.AddWritten(WrittenName(link0.value, link0.name));
    } else if (std::ranges::find(kindsOfScratch, link0.name) != kindsOfScratch.end()) {
        if (needs.Scratch.empty() && (link0.name == "rwf" || link0.name == "scr"))
            needs.Scratch = link0.value.substr(0, link0.value.find(','));
        AddParts(link0.value, link0.name, needs);
    }
}

void ReadLink0Into(const Link0 &link0, Taskmill_ProgramNeeds &needs)
{
    if (IsProcessorCount(link0.name)) {
        needs.RaiseCores(Taskmill_Count(link0.value));
    } else if (link0.name == "cpu") {
        needs.RaiseCores(CountCores(link0.value));
    } else if (link0.name == "mem") {
        // A number without a unit counts words.
        needs.RaiseMemory(Taskmill_Megabytes(link0.value, Taskmill_BytesOfWord));
    } else {
        ReadFileNames(link0, needs);
    }
}

void ReadNeeds(const Taskmill_InputText &input, Taskmill_ProgramNeeds &needs)
{
    bool isHeader = true;
    for (std::size_t number = 0; number < input.Lines().size(); ++number) {
        const std::string &lower = input.LowerLines()[number];
        if (lower.starts_with("--link1--"))
            isHeader = true;
        else if (lower.starts_with('#'))
            isHeader = false;
        if (!isHeader)
            continue;
        if (const auto link0 = ReadLink0(input.Lines()[number]))
            ReadLink0Into(*link0, needs);
    }
}

constexpr std::array<std::string_view, 9> banners{"Entering Gaussian System",
                                                  "Entering Link 1 = ",
                                                  "Gaussian 16:",
                                                  "Gaussian 09:",
                                                  "Gaussian 03:",
                                                  "Gaussian DV:",
                                                  "Gaussian 98:",
                                                  "Gaussian 94:",
                                                  "Link1:  Proceeding to internal job step"};

std::unique_ptr<Taskmill_OutputInterpreter> MakeInterpreter()
{
    return std::make_unique<Interpreter>();
}
} // namespace

extern const Taskmill_Program Taskmill_GaussianProgram;
constinit const Taskmill_Program Taskmill_GaussianProgram{"Gaussian", banners, MakeInterpreter, IsInput,
                                                          ReadNeeds};
