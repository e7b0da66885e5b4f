// SPDX-License-Identifier: MIT
#pragma once

/// Whether the desktop starts this program, put away, when the user logs in. It may change that itself.
[[nodiscard]] bool Taskmill_IsStartedAtLogin();

/// Has the desktop do so or not; the user is shown why that cannot be stored.
void Taskmill_SetStartedAtLogin(bool isStarted);
