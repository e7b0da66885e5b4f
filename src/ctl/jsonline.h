// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

/// The text or number of that key in one JSON object, in UTF-8; what the objects in it have of that name does
/// not count. Empty when there is none.
[[nodiscard]] std::string Taskmill_JsonField(std::string_view object, std::string_view key);
