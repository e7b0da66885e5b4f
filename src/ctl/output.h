// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <string>
#include <string_view>

/// Writes the text and a line feed to standard output, at once.
void Taskmill_PrintLine(const std::string &text);
/// Writes "taskmillctl: ", the text and a line feed to standard error.
void Taskmill_PrintError(const std::string &text);

/// The text as JSON writes it.
[[nodiscard]] std::string Taskmill_JsonText(std::string_view utf8);
/// An object of the values, which are JSON already, in the order of their names.
[[nodiscard]] std::string Taskmill_JsonObject(const std::map<std::string, std::string> &values);
