// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

/// The content of a file of the process, such as "status", or the target of a link, such as "exe". Empty when
/// it cannot be read, as when the process has just ended.
[[nodiscard]] QByteArray Taskmill_ReadProcFile(int processID, const char *name);
[[nodiscard]] QByteArray Taskmill_ReadProcLink(int processID, const char *name);
