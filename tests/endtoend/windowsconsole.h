#pragma once

#include <QString>

/// The console of this program: its keyboard and its screen, as a user has them before him.
class WindowsConsole
{
public:
    /// Opens a console, or joins that of the process.
    explicit WindowsConsole(int processID = 0);
    ~WindowsConsole();
    Q_DISABLE_COPY_MOVE(WindowsConsole)

    [[nodiscard]] bool IsOpen() const { return m_input && m_output; }
    /// Presses the keys for the text and Enter.
    void Type(const QString &line) const;
    /// Ctrl+Break or Ctrl+C for every program at this console but this one.
    void Break() const;
    void PressControlC() const;
    /// What stands on the screen, all lines without what is blank at their ends.
    [[nodiscard]] QString Screen() const;
    /// Waits until the text stands there.
    [[nodiscard]] bool Expect(const QString &text) const;

private:
    void *m_input = nullptr;
    void *m_output = nullptr;
};
