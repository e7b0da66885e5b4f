// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Blanks and tabs at both ends cut off.
[[nodiscard]] std::string_view Taskmill_Trimmed(std::string_view text);
/// From the first character that is neither a blank nor one of those that programs frame their messages with.
[[nodiscard]] std::string_view Taskmill_Unframed(std::string_view line);
/// Cuts the first word off; empty when there is none.
[[nodiscard]] std::string_view Taskmill_NextWord(std::string_view &text);
/// The words between blanks, at most `most` of them.
[[nodiscard]] std::vector<std::string_view> Taskmill_Words(std::string_view text, std::size_t most = 64);
/// The word behind the text; empty when the line has neither.
[[nodiscard]] std::string_view Taskmill_WordBehind(std::string_view line, std::string_view text);
/// In lower case, for ASCII letters only.
[[nodiscard]] std::string Taskmill_LowerCase(std::string_view text);
[[nodiscard]] bool Taskmill_Contains(std::string_view text, std::string_view part);

/// A number as C or Fortran (-1.5D+02) writes it; no value when the word is anything else or not finite.
[[nodiscard]] std::optional<double> Taskmill_Number(std::string_view word);
/// The first word that is a number with a decimal point.
[[nodiscard]] std::optional<double> Taskmill_FirstDecimal(std::string_view text);
/// A count of at least 1.
[[nodiscard]] std::optional<int> Taskmill_Count(std::string_view word);
