// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

/// The path of a file that an argument names, in UTF-8.
[[nodiscard]] std::filesystem::path Taskmill_PathOf(const std::string &utf8);

/// The same as the manager, which has another directory, is to read it: absolute, with plain slashes.
[[nodiscard]] std::string Taskmill_AbsolutePath(const std::string &given);

/// Whether it would be more than one line of a request.
[[nodiscard]] bool Taskmill_HasLineBreak(std::string_view text);

/// Why the file that was given and has that path cannot be named in a request; empty when it can.
[[nodiscard]] std::string Taskmill_ProblemOfFileName(const std::string &given, const std::string &path);
