#pragma once

#include <QStringList>

#include <functional>

/// What differs between systems in starting and ending the program.
namespace Taskmill_Platform {
/// Whether windows can be shown; `arguments` may name a platform of their own.
[[nodiscard]] bool HasDisplay(const QStringList &arguments);

/// Attaches the program to its parent's console. False when there is none.
[[nodiscard]] bool AttachToParentConsole();
/// Opens a console window of the program's own; off Windows the inherited streams serve. False when there is
/// none.
[[nodiscard]] bool OpenConsole();
/// Reconnects the standard streams to the console, without buffering.
void ReconnectStreams();
void ReleaseConsole();

/// Calls `quit` from the event loop at the first signal that asks the program to end (or when its console
/// window is closed). The second one ends the program at once, and the jobs with it. Signals that are ignored
/// stay ignored.
void CallOnTermination(const std::function<void()> &quit);
void StopCallingOnTermination();
} // namespace Taskmill_Platform
