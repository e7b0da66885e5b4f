// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Behind this word stand those of a command line that a shell is to complete, from the name of the program
/// to the one that is being typed, which may be empty.
constexpr std::string_view Taskmill_CompletionOption = "--complete";

/// What the last word can become, for the scripts that the shells load. The first line says which files are
/// offered besides: "files" for any, "projects" for those of projects, "words" for none. Each further line is
/// a word, and behind a tab what it is. That no
/// manager answers is printed to standard error.
[[nodiscard]] std::string Taskmill_Completions(const std::vector<std::string> &words);
