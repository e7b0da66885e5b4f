// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <string_view>

/// Reads the file piece by piece and passes each on. When it cannot be read, prints why and returns false.
[[nodiscard]] bool Taskmill_ReadFile(const std::string &utf8Path,
                                     const std::function<void(std::string_view)> &take);
