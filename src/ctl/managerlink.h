// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

struct Taskmill_ManagerAddress;

/// Sends the lines of a request to the manager, with its key, and returns all that it answers before it
/// closes the connection. Nothing, with a message, when it does not take the request or does not answer.
[[nodiscard]] std::optional<std::string> Taskmill_AnswerOf(const Taskmill_ManagerAddress &manager,
                                                           const std::string &lines);
