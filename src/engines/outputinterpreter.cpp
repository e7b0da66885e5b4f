// SPDX-License-Identifier: MIT
#include "engines/outputinterpreter.h"

#include "engines/linetext.h"

namespace {
constexpr std::size_t mostNumbers = 20000;

/// Twice as many at most, so that making room is rare.
void AddBounded(std::vector<double> &numbers, double number)
{
    if (numbers.size() >= 2 * mostNumbers)
        numbers.erase(numbers.begin(), numbers.begin() + mostNumbers);
    numbers.push_back(number);
}

/// The line as it stands, or without the end of a frame whose beginning is cut off already.
std::string_view Bare(std::string_view line)
{
    line = Taskmill_Trimmed(line);
    if (Taskmill_Unframed(line).size() < line.size())
        return line;
    const std::size_t last = line.find_last_not_of(" \t*|");
    return line.substr(0, last == std::string_view::npos ? 0 : last + 1);
}
} // namespace

std::string_view Taskmill_VerdictText(Taskmill_Verdict verdict)
{
    switch (verdict) {
    case Taskmill_Verdict::Normal:
        return "normal";
    case Taskmill_Verdict::NotConverged:
        return "not-converged";
    case Taskmill_Verdict::Error:
        return "error";
    case Taskmill_Verdict::None:
        break;
    }
    return "none";
}

Taskmill_OutputInterpreter::Taskmill_OutputInterpreter(std::string_view program)
{
    m_result.Program = program;
}

Taskmill_ProgramResult Taskmill_OutputInterpreter::Result() const
{
    Taskmill_ProgramResult result = m_result;
    const bool canScfRecover = !HasEnded() && m_result.GeometryConverged.has_value();
    if (!m_notConverged.empty()) {
        result.Verdict = Taskmill_Verdict::NotConverged;
        result.Message = m_notConverged;
    } else if (!m_scfFailure.empty() && !canScfRecover) {
        result.Verdict = Taskmill_Verdict::NotConverged;
        result.Message = m_scfFailure;
    } else if (!m_error.empty()) {
        result.Verdict = Taskmill_Verdict::Error;
        result.Message = m_error;
    } else if (m_hasEnded) {
        result.Verdict = Taskmill_Verdict::Normal;
        result.Message = m_endLine;
    } else if (!m_crash.empty()) {
        result.Verdict = Taskmill_Verdict::Error;
        result.Message = m_crash;
    }
    return result;
}

void Taskmill_OutputInterpreter::Crash(std::string_view line)
{
    if (m_crash.empty())
        m_crash = Taskmill_Trimmed(line);
}

void Taskmill_OutputInterpreter::BeginRun()
{
    m_hasEnded = false;
    m_error.clear();
    m_notConverged.clear();
    m_scfFailure.clear();
    m_crash.clear();
    m_result.ScfConverged.reset();
    m_result.GeometryConverged.reset();
    m_result.CycleEnergies.clear();
}

void Taskmill_OutputInterpreter::EndNormally(std::string_view line)
{
    m_hasEnded = true;
    m_endLine = Bare(line);
}

void Taskmill_OutputInterpreter::Fail(std::string_view line)
{
    if (m_error.empty())
        m_error = Bare(line);
    if (m_error.empty())
        m_error = "error";
}

void Taskmill_OutputInterpreter::TakeBackError(std::string_view error)
{
    if (m_error == error)
        m_error.clear();
}

void Taskmill_OutputInterpreter::ReplaceError(std::string_view line)
{
    m_error.clear();
    Fail(line);
}

void Taskmill_OutputInterpreter::FailToConverge(std::string_view line)
{
    if (m_notConverged.empty())
        m_notConverged = Bare(line);
}

void Taskmill_OutputInterpreter::SetScf(std::optional<bool> isConverged, std::string_view failure)
{
    m_result.ScfConverged = isConverged;
    m_scfFailure = Bare(failure);
}

void Taskmill_OutputInterpreter::KeepScfFailure()
{
    if (!m_scfFailure.empty())
        FailToConverge(m_scfFailure);
}

void Taskmill_OutputInterpreter::BeginStep()
{
    ++m_result.Steps;
    m_result.GeometryConverged = false;
}

void Taskmill_OutputInterpreter::AddEnergy(std::string_view text)
{
    if (const auto hartree = Taskmill_FirstDecimal(text))
        AddEnergy(*hartree);
}

void Taskmill_OutputInterpreter::AddEnergy(double hartree)
{
    AddBounded(m_result.Energies, hartree);
}

void Taskmill_OutputInterpreter::AddCycle(double hartree)
{
    AddBounded(m_result.CycleEnergies, hartree);
}
