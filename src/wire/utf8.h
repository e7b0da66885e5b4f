// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

[[nodiscard]] bool Taskmill_IsUtf8(std::string_view bytes);
/// The bytes as they are when they are UTF-8, else each taken for a character of Latin-1.
[[nodiscard]] std::string Taskmill_Utf8FromAny(std::string_view bytes);
/// Whether the text ends with a blank of any script, which whoever receives it would cut off.
[[nodiscard]] bool Taskmill_EndsWithBlank(std::string_view utf8);
