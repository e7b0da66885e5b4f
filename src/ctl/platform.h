// SPDX-License-Identifier: MIT
#pragma once

#include <cstdio>
#include <string>
#include <vector>

/// What the client needs of the system. All texts are UTF-8.
namespace Taskmill_CtlPlatform {
/// The arguments of the program, its name left out.
[[nodiscard]] std::vector<std::string> Arguments(int argc, char **argv);
/// Writes the text to a standard stream at once, as a console or a file of this system wants it.
void Write(std::FILE *stream, const std::string &text);
/// Whether this user may read the file.
[[nodiscard]] bool IsReadable(const std::string &path);
/// Columns of the terminal that standard output goes to; 0 when it goes elsewhere.
[[nodiscard]] int TerminalWidth();
[[nodiscard]] long long ProcessID();
/// Ids of the user; 0 on systems without such numbers.
[[nodiscard]] long long UserID();
[[nodiscard]] long long GroupID();
/// Runs a program that stands beside this one with the arguments of this one, and returns its exit status;
/// -1 when it cannot be run.
[[nodiscard]] int RunSibling(const std::string &name, char **argv);
} // namespace Taskmill_CtlPlatform
