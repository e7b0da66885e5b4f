#pragma once

#include <QPoint>
#include <QProcess>
#include <QRect>
#include <QStringList>
#include <QTemporaryDir>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

/// A window as the X server has it.
struct DesktopWindow
{
    qint64 ID = 0;
    QString Title = {};
    QRect Geometry = {};  ///< on the screen, without the frame that the window manager has put around it
    bool IsPopup = false; ///< a menu or a tool tip, which the window manager leaves alone
};

/// A desktop of its own: an X server on a display that was free, a window manager, a message bus and, when it
/// is wanted, a panel with a tray. What it does with mouse and keyboard are real events of the X server. All
/// of it is gone when this is destroyed, except for what the message bus has started, which ends as an
/// orphan.
class Desktop
{
public:
    enum class Tray
    {
        Shown,
        None
    };

    /// Programs on it draw everything so many times as large.
    explicit Desktop(Tray tray = Tray::Shown, int scale = 1);
    ~Desktop();
    Q_DISABLE_COPY_MOVE(Desktop)

    /// Programs that are missing on this computer; nothing works without them.
    [[nodiscard]] static QStringList MissingPrograms();

    /// False, with a warning, when some part of it does not come up.
    [[nodiscard]] bool Start();
    /// Opens the tray of a desktop that was started without.
    [[nodiscard]] bool ShowTray();

    /// NAME=VALUE for programs that are to open their windows here.
    [[nodiscard]] QStringList Variables() const;
    [[nodiscard]] QString BusAddress() const { return m_busAddress; }

    /// All windows of Taskmill that can be seen.
    [[nodiscard]] QList<DesktopWindow> Windows() const;
    /// Waits for a window whose title begins with the text.
    [[nodiscard]] std::optional<DesktopWindow> WaitForWindow(const QString &title) const;
    /// Waits for a menu.
    [[nodiscard]] std::optional<DesktopWindow> WaitForPopup() const;
    /// Waits until no window of Taskmill has a title that begins with the text.
    [[nodiscard]] bool WaitUntilGone(const QString &title) const;
    /// Waits for the icon in the tray.
    [[nodiscard]] std::optional<DesktopWindow> WaitForTrayIcon() const;
    [[nodiscard]] bool WaitUntilTrayIsEmpty() const;

    void Click(QPoint position, int button = 1) const;
    /// Clicks an entry of a menu whose lines, so many, all have the same height; the first is 0.
    void ClickEntry(const DesktopWindow &menu, int line, int lines) const;
    /// Presses a key or a combination, such as "Return" or "alt+F4", in the window that has the focus.
    void Press(const QString &keys) const;
    /// Types a text into the window that has the focus.
    void Type(const QString &text) const;
    /// The left button, pressed and released by itself, for drags.
    void MoveTo(QPoint position) const;
    void HoldButton() const;
    void ReleaseButton() const;
    /// Starts another program on this desktop; it ends with the desktop.
    void StartProgram(const QString &program, const QStringList &arguments);
    /// Puts the pointer where it is over no window of Taskmill.
    void MovePointerAway() const;
    /// Saves what a part of the screen shows now as a PNG file.
    [[nodiscard]] bool Photograph(const QRect &part, const QString &file) const;
    /// Asks the window manager for a window, as a task list does.
    void Activate(const DesktopWindow &window) const;
    /// Gives a window the focus, closes it with the window manager's key and waits until it is gone.
    [[nodiscard]] bool Close(const DesktopWindow &window) const;
    /// Whether a task list names the window: one that is minimised yes, a hidden one not.
    [[nodiscard]] bool IsInTaskList(const DesktopWindow &window) const;
    [[nodiscard]] bool HasFocus(const DesktopWindow &window) const;

private:
    using WindowTest = std::function<bool(const DesktopWindow &)>;

    /// Runs a program of the desktop to its end; what it wrote.
    QByteArray Run(const QString &program, const QStringList &arguments) const;
    QByteArray XDoTool(const QStringList &arguments) const;
    QProcess &StartPart(const QString &program, const QStringList &arguments);
    [[nodiscard]] bool StartServer();
    [[nodiscard]] bool StartBus();
    [[nodiscard]] bool StartWindowManager();
    [[nodiscard]] QRect Panel() const;
    [[nodiscard]] std::optional<DesktopWindow> Describe(const QByteArray &id) const;
    [[nodiscard]] std::optional<DesktopWindow> Find(const WindowTest &fits) const;
    [[nodiscard]] std::optional<DesktopWindow> WaitFor(const WindowTest &fits, const char *what) const;

    const Tray m_tray;
    const int m_scale;
    QTemporaryDir m_directory;
    std::vector<std::unique_ptr<QProcess>> m_parts;
    QString m_display;
    QString m_busAddress;
};
