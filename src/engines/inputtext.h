// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The text of an input file, made ready for looking through. The text given must outlive it.
class Taskmill_InputText
{
public:
    Taskmill_InputText(std::string_view text, std::string_view fileName);

    /// Whether the file's name has one of them, which are given in lower case and without the point.
    [[nodiscard]] bool HasExtension(std::initializer_list<std::string_view> extensions) const;
    /// Blanks and line ends cut off.
    [[nodiscard]] const std::vector<std::string_view> &Lines() const { return m_lines; }
    /// The same lines in lower case.
    [[nodiscard]] const std::vector<std::string> &LowerLines() const { return m_lowerLines; }
    /// Whether a line, in lower case, begins so.
    [[nodiscard]] bool HasLine(std::string_view beginning) const;

private:
    std::string m_extension;
    std::vector<std::string_view> m_lines;
    std::vector<std::string> m_lowerLines;
};

/// A number with a unit of bytes (kb, mb, gb, tb) or of words of 8 bytes (kw, mw, gw, tw) at its end, in any
/// case, in units of 2^20 bytes; `plain` bytes a unit where it has none.
[[nodiscard]] std::optional<double> Taskmill_Megabytes(std::string_view number, double plain);
/// The unit alone, in bytes.
[[nodiscard]] std::optional<double> Taskmill_UnitBytes(std::string_view unit);

constexpr double Taskmill_BytesOfMegabyte = 1024.0 * 1024.0;
constexpr double Taskmill_BytesOfWord = 8.0;
