// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class Taskmill_InputText;
class Taskmill_OutputInterpreter;

/// What a job needs, as its input says; no value where it says nothing.
struct Taskmill_ProgramNeeds
{
    std::string Program; ///< empty when the input is of no program that is known
    std::optional<int> Cores;
    std::optional<double> MemoryMB; ///< of the whole job, in units of 2^20 bytes
    std::string Checkpoint;         ///< file name as the input has it
    std::string Scratch;            ///< file or folder name as the input has it
    /// All files that it writes beside its output, as far as the input names them, and by the names that the
    /// program gives them.
    std::vector<std::string> Written;

    /// Of several jobs in one input the largest counts.
    void RaiseCores(std::optional<int> cores);
    void RaiseMemory(std::optional<double> megabytes);
    /// Each counts once; beyond some hundred, no more are taken.
    void AddWritten(const std::string &file);
};

/// A quantum-chemistry program: how its output and its input are recognised and read.
struct Taskmill_Program
{
    std::string_view Name;
    /// Beginnings of lines that only this program's output has, frames left out; see Taskmill_Unframed().
    std::span<const std::string_view> Banners;
    std::unique_ptr<Taskmill_OutputInterpreter> (*MakeInterpreter)();
    bool (*IsInput)(const Taskmill_InputText &input);
    void (*ReadNeeds)(const Taskmill_InputText &input, Taskmill_ProgramNeeds &needs);
};

/// All programs, in the order in which an input is compared with them.
[[nodiscard]] std::span<const Taskmill_Program *const> Taskmill_Programs();

/// What a call of a program asks for that is told so by its command line; the first word is the program.
/// Definitions NAME=VALUE may stand in lines before it.
[[nodiscard]] Taskmill_ProgramNeeds Taskmill_ReadCommandLineNeeds(std::string_view text);

/// What the input asks for. `fileName` may have a path; only its ending is looked at.
[[nodiscard]] Taskmill_ProgramNeeds Taskmill_ReadNeeds(std::string_view text, std::string_view fileName);
