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

    /// Wine has none without a display.
    [[nodiscard]] bool IsOpen() const;
    /// Presses the keys for the text and Enter.
    void Type(const QString &line) const;
    /// Ctrl+Break or Ctrl+C for every program at this console but this one.
    void Break() const;
    void PressControlC() const;
    /// Leaves the console and closes its window, as the user does by its button. False when it has none.
    [[nodiscard]] static bool CloseWindow();
    [[nodiscard]] static bool IsMinimised();
    /// What stands on the screen, all lines without what is blank at their ends.
    [[nodiscard]] QString Screen() const;
    /// Waits until the text stands there.
    [[nodiscard]] bool Expect(const QString &text) const;

private:
    void *m_input = nullptr;
    void *m_output = nullptr;
};
