// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <memory>

/// Writes to standard output on a thread of its own, so that nobody else is stuck while the user selects text
/// in the console's window, or nobody reads a pipe.
class Taskmill_ConsoleWriter
{
public:
    Taskmill_ConsoleWriter();
    /// Grants the reader half a second to take what is left.
    ~Taskmill_ConsoleWriter();
    Q_DISABLE_COPY_MOVE(Taskmill_ConsoleWriter)

    /// From any thread, without waiting. More than some megabytes are not kept.
    void Post(const QString &text);
    /// Writes what was posted and then the text, and waits until that is done or Interrupt() was called.
    void Write(const QString &text);
    /// From any thread: Write() waits no longer.
    void Interrupt();

private:
    struct State;
    static void Run(State &state);

    const std::shared_ptr<State> m_state; ///< the thread's too: a write that never ends outlives this
};
