// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

/// From UTF-8 to what the system takes, and back.
[[nodiscard]] std::wstring Taskmill_WideText(std::string_view utf8);
[[nodiscard]] std::string Taskmill_Utf8Text(std::wstring_view text);

/// What the system says about an error of that number, without a line end.
[[nodiscard]] std::string Taskmill_SystemErrorText(int error);
