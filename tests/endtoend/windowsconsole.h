// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

class QProcess;

/// The console of this program: its keyboard and its screen, as a user has them before him.
class WindowsConsole
{
public:
    /// Opens a console, or joins that of the process.
    explicit WindowsConsole(int processID = 0);
    ~WindowsConsole();
    Q_DISABLE_COPY_MOVE(WindowsConsole)

    /// Wine has none without a display.
    [[nodiscard]] bool IsOpen() const;
    /// Presses the keys for the text and Enter.
    void Type(const QString &line) const;
    enum class Event
    {
        ControlC,
        Break,
        Close ///< by the button of its window
    };
    /// Makes the event happen to the process; whatever else is at the console, this program excepted, may be
    /// met by it too. False when that cannot be done.
    [[nodiscard]] static bool Make(Event event, qint64 processID);
    [[nodiscard]] static bool IsMinimised();
    /// Has the process start without any stream or console, as the desktop starts programs.
    static void KeepFrom(QProcess &process);
    /// What stands on the screen, all lines without what is blank at their ends.
    [[nodiscard]] QString Screen() const;
    /// Waits until the text stands there.
    [[nodiscard]] bool Expect(const QString &text) const;

private:
    void *m_input = nullptr;
    void *m_output = nullptr;
};
