// SPDX-License-Identifier: MIT
#pragma once

#include "engines/programresult.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Understands the lines that one program prints. A class for each program derives from it.
class Taskmill_OutputInterpreter
{
public:
    explicit Taskmill_OutputInterpreter(std::string_view program);
    virtual ~Taskmill_OutputInterpreter() = default;
    Taskmill_OutputInterpreter(const Taskmill_OutputInterpreter &) = delete;
    Taskmill_OutputInterpreter &operator=(const Taskmill_OutputInterpreter &) = delete;

    /// `text` is the line without the frame before it; see Taskmill_Unframed().
    virtual void ReadLine(std::string_view line, std::string_view text) = 0;

    [[nodiscard]] Taskmill_ProgramResult Result() const;
    /// What follows in the file is another run, maybe of another program.
    [[nodiscard]] bool HasEnded() const { return m_hasEnded || !m_error.empty(); }
    [[nodiscard]] std::string_view Program() const { return m_result.Program; }
    /// The system ended the program: an error unless the program says how it ended.
    void Crash(std::string_view line);

protected:
    /// Runs can stand one behind the other in a file; the last one decides. Steps and energies are of all.
    void BeginRun();
    /// The run goes on although its end was announced: that end was one of a part of it.
    void Resume() { m_hasEnded = false; }
    void EndNormally(std::string_view line);
    /// Of several errors in a run the first one counts: the others follow from it.
    void Fail(std::string_view line);
    /// A later line says that this error was none.
    void TakeBackError(std::string_view error);
    /// A later line says better what the error is.
    void ReplaceError(std::string_view line);
    /// As an error, and stronger than one.
    void FailToConverge(std::string_view line);
    [[nodiscard]] bool HasFailed() const { return !m_error.empty() || !m_notConverged.empty(); }

    void BeginStep();
    void AddEnergy(std::string_view text);
    void AddEnergy(double hartree);
    void BeginScf() { m_result.CycleEnergies.clear(); }
    void AddCycle(double hartree);
    void SetVersion(std::string_view version) { m_result.Version = version; }
    /// An SCF has ended. Where one fails during an optimisation, a later one may succeed: the failure counts
    /// when the run ends without that, and at once where nothing is optimised.
    void SetScf(std::optional<bool> isConverged, std::string_view failure = {});
    /// The failure of the last SCF stays one whatever follows.
    void KeepScfFailure();
    void SetGeometry(bool isConverged) { m_result.GeometryConverged = isConverged; }
    [[nodiscard]] std::optional<bool> Scf() const { return m_result.ScfConverged; }
    [[nodiscard]] const Taskmill_ProgramResult &SoFar() const { return m_result; }

private:
    Taskmill_ProgramResult m_result;
    bool m_hasEnded = false;
    std::string m_endLine;
    std::string m_error;
    std::string m_notConverged;
    std::string m_scfFailure; ///< line of the last SCF; empty when it converged
    std::string m_crash;
};

/// Beginnings of lines, and what a program's class does with such a line. A file has millions of lines that
/// begin like none of them, so the first character already sorts most of them out.
template <class Interpreter>
class Taskmill_LineRules
{
public:
    struct Rule
    {
        std::string_view Beginning;
        void (Interpreter::*Act)(std::string_view text);
    };

    explicit Taskmill_LineRules(std::vector<Rule> rules)
        : m_rules{std::move(rules)}
    {
        for (std::size_t position = m_rules.size(); position-- > 0;) {
            const auto first = static_cast<unsigned char>(m_rules[position].Beginning.front());
            m_next.insert(m_next.begin(), m_first[first]);
            m_first[first] = static_cast<std::uint16_t>(position + 1);
        }
    }

    /// Calls the rule whose beginning the text has; of several the first one.
    bool Apply(Interpreter &interpreter, std::string_view text) const
    {
        if (text.empty())
            return false;
        std::size_t number = m_first[static_cast<unsigned char>(text.front())];
        for (; number != 0; number = m_next[number - 1]) {
            const Rule &rule = m_rules[number - 1];
            if (!text.starts_with(rule.Beginning))
                continue;
            (interpreter.*rule.Act)(text);
            return true;
        }
        return false;
    }

private:
    std::vector<Rule> m_rules;
    std::array<std::uint16_t, 256> m_first{}; ///< number of the first rule of a character; 0 is none
    std::vector<std::uint16_t> m_next;        ///< of each rule, that of the next one with its character
};
