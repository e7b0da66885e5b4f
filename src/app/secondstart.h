// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <cstdint>

/// What a start does that finds a manager running on its port: the window of that one comes to the front, and
/// asks whether to open `file`, unless it is empty. Where it cannot be asked, standard error says that the
/// file was not opened, and why.
void Taskmill_TurnToRunningManager(bool gui, std::uint16_t port, const QString &file);
