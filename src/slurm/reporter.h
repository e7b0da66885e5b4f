// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

/// Prints the lines of this program among what the job's program prints.
class Taskmill_SlurmReporter
{
public:
    /// One line, begun with the name of this program. The same text twice in a row is printed once.
    void Say(const std::string &text);
    /// Bytes of the job's program, as they are.
    void Print(std::string_view bytes);

private:
    std::string m_last;
    bool m_isInLine = false;
};
