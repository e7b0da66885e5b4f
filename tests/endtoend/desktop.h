// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QProcess>
#include <QRect>
#include <QStringList>
#include <QTemporaryDir>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

struct ScreenControl;

/// A window as the X server has it.
struct DesktopWindow
{
    qint64 ID = 0;
    QString Title = {};
    QRect Geometry = {};  ///< on the screen, without the frame that the window manager has put around it
    bool IsPopup = false; ///< a menu or a tool tip, which the window manager leaves alone
};

/// A desktop of its own: an X server on a display that was free, a window manager, a message bus, and a panel
/// with a tray. What it does with mouse and keyboard are real events of the X server; controls are found as a
/// screen reader finds them. All of it is gone when this is destroyed, except for what the message bus has
/// started, which ends as an orphan.
class Desktop
{
public:
    /// Programs on it draw everything so many times as large.
    explicit Desktop(int scale = 1);
    ~Desktop();
    Q_DISABLE_COPY_MOVE(Desktop)

    /// False, with a warning, when some part of it does not come up.
    [[nodiscard]] bool Start();
    /// NAME=VALUE for programs that are to open their windows here.
    [[nodiscard]] QStringList Variables() const;

    /// Waits for a window of Taskmill whose title begins with the text.
    [[nodiscard]] std::optional<DesktopWindow> WaitForWindow(const QString &title) const;
    [[nodiscard]] bool WaitUntilGone(const QString &title) const;
    /// Waits for a menu.
    [[nodiscard]] std::optional<DesktopWindow> WaitForPopup() const;
    [[nodiscard]] std::optional<DesktopWindow> WaitForTrayIcon() const;
    /// Gives a window the focus, closes it with the window manager's key and waits until it is gone.
    [[nodiscard]] bool Close(const DesktopWindow &window) const;

    /// Waits for a control, such as a "push button", a "page tab" or a "cell", of that name.
    [[nodiscard]] bool WaitForControl(const QString &role, const QString &name) const;
    [[nodiscard]] bool WaitUntilControlIsGone(const QString &role, const QString &name) const;
    /// Waits until the control that holds text has these words.
    [[nodiscard]] bool WaitForText(const QString &name, const QString &words) const;
    /// Waits for a control and clicks it.
    [[nodiscard]] bool ClickControl(const QString &role, const QString &name, int button = 1) const;

    void Click(QPoint position, int button = 1) const;
    /// Presses keys or combinations with blanks between them, such as "Down Return" or "alt+F4", in the
    /// window that has the focus.
    void Press(const QString &keys) const;
    void Type(const QString &text) const;
    /// Runs a program of the desktop to its end; what it wrote.
    QByteArray Run(const QString &program, const QStringList &arguments) const;

private:
    using WindowTest = std::function<bool(const DesktopWindow &)>;

    void Launch(QProcess &process, const QString &program, const QStringList &arguments) const;
    QByteArray XDoTool(const QStringList &arguments) const
    {
        return Run(QStringLiteral("xdotool"), arguments);
    }
    QProcess &StartPart(const QString &program, const QStringList &arguments);
    [[nodiscard]] QRect Panel() const;
    [[nodiscard]] QList<DesktopWindow> Windows() const;
    [[nodiscard]] std::optional<DesktopWindow> Describe(const QByteArray &id) const;
    [[nodiscard]] std::optional<DesktopWindow> Find(const WindowTest &fits) const;
    [[nodiscard]] std::optional<DesktopWindow> WaitFor(const WindowTest &fits, const QString &what) const;
    [[nodiscard]] std::optional<ScreenControl> FindControl(const QString &role, const QString &name) const;
    /// Whether programs know where the window manager has put their windows.
    [[nodiscard]] bool AreWindowsSettled() const;

    const int m_scale;
    QTemporaryDir m_directory;
    std::vector<std::unique_ptr<QProcess>> m_parts;
    QString m_display;
    QString m_busAddress;
    std::optional<QDBusConnection> m_accessibilityBus;
};
