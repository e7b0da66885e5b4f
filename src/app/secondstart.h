// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <cstdint>

struct Taskmill_StartOptions;

/// What a start does that finds a manager running on its port: the window of that one comes to the front, and
/// asks whether to open `file`, unless it is empty, or opens its dialog that submits jobs. Where it cannot be
/// asked, standard error says that the file was not opened, and why. A start at a log-in does nothing.
void Taskmill_TurnToRunningManager(const Taskmill_StartOptions &options, std::uint16_t port,
                                   const QString &file);
