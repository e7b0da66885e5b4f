// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>

#include <functional>

/// What differs between systems in starting and ending the program.
namespace Taskmill_Platform {
/// To be called before anything else opens a file: a standard stream that was closed is the null device from
/// then on, so that no file of the program gets its number and receives what is printed. Writing to a pipe
/// that nobody reads any more, or beyond the largest size allowed for a file, becomes an error instead of an
/// end.
void PrepareStandardStreams();

/// Full path of the running program.
[[nodiscard]] QString ExecutablePath();

/// Whether windows may be shown; `arguments` may name a platform of their own.
[[nodiscard]] bool HasDisplay(const QStringList &arguments);
/// Qt's platforms to try one after another where a display is named, which may yet be out of reach;
/// an empty text when somebody has chosen one, or the system has only one.
[[nodiscard]] QByteArray PlatformsToTry(const QStringList &arguments);

/// Attaches the program to its parent's console. False when there is none.
[[nodiscard]] bool AttachToParentConsole();
/// Opens a console window of the program's own; off Windows the inherited streams serve. False when there is
/// none.
[[nodiscard]] bool OpenConsole();
/// Reconnects the standard streams to the console, without buffering.
void ReconnectStreams();
void ReleaseConsole();

/// Calls `quit` from the event loop at the first signal that asks the program to end (or when its console
/// window is closed); with true for Ctrl+C. The second one ends the program at once, and the jobs with it,
/// but for those of keepers unless it is Ctrl+C too. Signals that are ignored stay ignored.
void CallOnTermination(const std::function<void(bool interrupted)> &quit);
void StopCallingOnTermination();

/// The last thing that the program does: ends it at once where the clean-up of its libraries may wait for
/// ever for a thread that the system has ended; returns elsewhere.
void EndAtOnce(int status);
} // namespace Taskmill_Platform
