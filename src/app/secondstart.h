// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <cstdint>

/// What a start does that finds a manager running on its port: the window of that one comes to the front, and
/// standard error says that `file`, unless it is empty, was not opened.
void Taskmill_TurnToRunningManager(bool gui, std::uint16_t port, const QString &file);
