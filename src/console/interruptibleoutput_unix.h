// SPDX-License-Identifier: MIT
#pragma once

#include "console/postedtext.h"
#include "console/wakepipe_unix.h"

#include <QByteArrayView>
#include <QDeadlineTimer>

#include <atomic>
#include <functional>

/// Writes the console's text to a descriptor that perhaps nobody reads. One thread writes; it can be made to
/// stop waiting for the reader.
class Taskmill_InterruptibleOutput
{
public:
    /// `onWake` is called on the writing thread now and then while it waits, and when a signal has come.
    Taskmill_InterruptibleOutput(int descriptor, std::function<void()> onWake);
    /// Writes what was posted last.
    ~Taskmill_InterruptibleOutput();
    Q_DISABLE_COPY_MOVE(Taskmill_InterruptibleOutput)

    /// From any thread, without waiting: the text is written with the next WritePosted().
    void Post(const QString &text) { m_posted.Add(text); }
    [[nodiscard]] bool HasPosted() const { return !m_posted.IsEmpty(); }

    void WritePosted();
    /// Waits until the bytes are taken, or nobody can take them any more.
    void Write(QByteArrayView bytes) { WriteWhile(bytes, false); }
    /// The same for what a command prints: BreakOff() ends it.
    void WriteOfCommand(QByteArrayView bytes) { WriteWhile(bytes, true); }

    /// From any thread and from a signal handler.
    void BreakOff();
    [[nodiscard]] bool IsBrokenOff() const { return m_isBrokenOff; }
    /// Returns whether it was broken off, which it is no longer.
    bool Resume() { return m_isBrokenOff.exchange(false); }
    /// From any thread: from now on the reader gets half a second altogether to take what is written.
    void Interrupt();

private:
    enum class Waited
    {
        Ready,
        Woken,
        TooLong
    };

    void WriteWhile(QByteArrayView bytes, bool isOfCommand);
    [[nodiscard]] Waited Wait(bool alsoDescriptor, int timeoutMs);

    const int m_ownDescriptor; ///< -1 when it has none
    const int m_descriptor;
    const std::function<void()> m_onWake;
    Taskmill_WakePipe m_wakePipe;
    Taskmill_PostedText m_posted;
    std::atomic<bool> m_isBrokenOff{false};
    std::atomic<bool> m_isInterrupted{false};
    QDeadlineTimer m_end{QDeadlineTimer::Forever};
};
