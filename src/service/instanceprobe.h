#pragma once

#include <QtGlobal>

/// Asks whether a manager listens on the port of this computer. It works before an application object exists,
/// and blocks for 1,000 ms at most while it connects. No answer is read: that somebody listens is the whole
/// answer.
[[nodiscard]] bool Taskmill_IsManagerRunning(bool gui, quint16 port);
