// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

enum class Taskmill_Verdict
{
    None,         ///< the output does not say how it ended: it was killed, or is still being written
    Normal,       ///< the program said that it ended, and nothing failed
    NotConverged, ///< the SCF or the geometry ran out of cycles, whether or not the program then ended
    Error,        ///< the program named an error
};

/// "normal", "not-converged", "error" or "none".
[[nodiscard]] std::string_view Taskmill_VerdictText(Taskmill_Verdict verdict);

/// What a calculation came to, as far as its output says so.
struct Taskmill_ProgramResult
{
    std::string Program; ///< empty when the output is of no program that is known
    std::string Version;
    Taskmill_Verdict Verdict = Taskmill_Verdict::None;
    std::string Message;                   ///< the line that says it, blanks around it cut off
    std::optional<bool> ScfConverged;      ///< of the last SCF
    std::optional<bool> GeometryConverged; ///< no value without an optimisation
    std::int64_t Steps = 0;                ///< of the optimisations
    std::vector<double> Energies;          ///< hartree; of very long runs only the newest
    std::vector<double> CycleEnergies;     ///< hartree; of the SCF that ran last

    /// False when one of both failed, else of the geometry, else of the SCF.
    [[nodiscard]] std::optional<bool> Converged() const
    {
        if (ScfConverged == false || GeometryConverged == false)
            return false;
        return GeometryConverged ? GeometryConverged : ScfConverged;
    }
};
