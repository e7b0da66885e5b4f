// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

struct Taskmill_ManagerAddress;

/// A job has up to a minute to end, and what survives is reported 5 s later.
constexpr int Taskmill_AnswerWaitMs = 90000;

/// Sends the lines of a request to the manager, with its key, and returns all that it answers before it
/// closes the connection. Nothing, with a message, when it does not take the request or does not answer
/// within that time, in milliseconds, which each further part of its answer has again.
[[nodiscard]] std::optional<std::string> Taskmill_AnswerOf(const Taskmill_ManagerAddress &manager,
                                                           const std::string &lines,
                                                           int waitMs = Taskmill_AnswerWaitMs);
