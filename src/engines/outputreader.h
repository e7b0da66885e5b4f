// SPDX-License-Identifier: MIT
#pragma once

#include "engines/linesplitter.h"
#include "engines/programresult.h"

#include <memory>
#include <string_view>

class Taskmill_OutputInterpreter;

/// Reads the output of a quantum-chemistry program piece by piece, also while the program still writes it,
/// and knows at any time what it says. Takes no more than about a megabyte whatever the size of the file, and
/// any bytes. Not to be used by two threads at once; a copied state belongs to whoever has it.
class Taskmill_OutputReader
{
public:
    Taskmill_OutputReader();
    ~Taskmill_OutputReader();
    Taskmill_OutputReader(const Taskmill_OutputReader &) = delete;
    Taskmill_OutputReader &operator=(const Taskmill_OutputReader &) = delete;

    /// The next bytes of the file, each of them once.
    void Feed(std::string_view bytes);
    /// The file is complete: its last line counts without a line feed too.
    void Finish();
    [[nodiscard]] Taskmill_ProgramResult State() const;
    [[nodiscard]] bool IsOfKnownProgram() const { return m_interpreter != nullptr; }

private:
    void ReadLine(std::string_view line);
    void FindProgram(std::string_view text);

    Taskmill_LineSplitter m_lines;
    std::unique_ptr<Taskmill_OutputInterpreter> m_interpreter; ///< null until the program is known
};
