#include "endtoend/desktop.h"

#include "support/testutil.h"

#include <QRegularExpression>
#include <QStandardPaths>
#include <QtTest>

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int longestWaitMs = 30'000;
constexpr QSize screenSize{1920, 1200}; // pixels
constexpr int panelHeight = 32;

/// A number that follows a label in the output of xwininfo.
int NumberAfter(const QByteArray &text, const QByteArray &label)
{
    const qsizetype begin = text.indexOf(label);
    return begin < 0 ? 0 : text.mid(begin + label.size()).trimmed().split('\n').first().toInt();
}
} // namespace

Desktop::Desktop(Tray tray, int scale)
    : m_tray{tray}
    , m_scale{scale}
{
    if (!m_directory.isValid())
        qFatal("no directory can be made");
}

Desktop::~Desktop()
{
    // The X server comes last, so that the others do not complain about its end.
    for (; !m_parts.empty(); m_parts.pop_back()) {
        QProcess &part = *m_parts.back();
        part.terminate();
        if (!part.waitForFinished())
            part.kill();
        part.waitForFinished();
    }
}

QStringList Desktop::MissingPrograms()
{
    QStringList missing{u"Xvfb"_s,     u"openbox"_s, u"trayer"_s,     u"xdotool"_s,
                        u"xwininfo"_s, u"xprop"_s,   u"dbus-daemon"_s};
    missing.removeIf([](const QString &name) { return !QStandardPaths::findExecutable(name).isEmpty(); });
    return missing;
}

bool Desktop::Start()
{
    if (StartServer() && StartBus() && StartWindowManager() && (m_tray == Tray::None || ShowTray()))
        return true;
    const QStringList names{u"Xvfb"_s, u"dbus-daemon"_s, u"openbox"_s, u"trayer"_s};
    for (const QString &name : names)
        qWarning("%ls: %s", qUtf16Printable(name),
                 ReadTestFile(m_directory.filePath(name + u".log"_s)).constData());
    return false;
}

QStringList Desktop::Variables() const
{
    return {u"DISPLAY="_s + m_display,
            u"QT_QPA_PLATFORM=xcb"_s,
            u"DBUS_SESSION_BUS_ADDRESS="_s + m_busAddress,
            u"XDG_RUNTIME_DIR="_s + m_directory.path(),
            u"QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1"_s,
            u"QT_SCALE_FACTOR="_s + QString::number(m_scale)};
}

QProcess &Desktop::StartPart(const QString &program, const QStringList &arguments)
{
    auto &part = *m_parts.emplace_back(std::make_unique<QProcess>());
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(u"WAYLAND_DISPLAY"_s);
    environment.insert(u"DISPLAY"_s, m_display);
    environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, u"disabled:"_s);
    environment.insert(u"NO_AT_BRIDGE"_s, u"1"_s);
    for (const QString &variable :
         {u"HOME"_s, u"XDG_CONFIG_HOME"_s, u"XDG_CACHE_HOME"_s, u"XDG_RUNTIME_DIR"_s})
        environment.insert(variable, m_directory.path());
    part.setProcessEnvironment(environment);
    part.setWorkingDirectory(m_directory.path());
    part.setStandardErrorFile(m_directory.filePath(program + u".log"_s));
    part.start(program, arguments);
    return part;
}

bool Desktop::StartServer()
{
    QProcess &server = StartPart(
        u"Xvfb"_s, {u"-displayfd"_s, u"1"_s, u"-screen"_s, u"0"_s,
                    u"%1x%2x24"_s.arg(screenSize.width() * m_scale).arg(screenSize.height() * m_scale),
                    u"-nolisten"_s, u"tcp"_s});
    const bool started = QTest::qWaitFor([&] { return server.canReadLine(); }, longestWaitMs);
    m_display = u':' + QString::fromLatin1(server.readLine().trimmed());
    return started;
}

bool Desktop::StartBus()
{
    QProcess &bus = StartPart(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--print-address"_s});
    const bool started = QTest::qWaitFor([&] { return bus.canReadLine(); }, longestWaitMs);
    m_busAddress = QString::fromLatin1(bus.readLine().trimmed());
    return started;
}

bool Desktop::StartWindowManager()
{
    // It announces itself before it attends to new windows.
    const QString attends = m_directory.filePath(u"attends"_s);
    StartPart(u"openbox"_s, {u"--sm-disable"_s, u"--startup"_s, u"touch "_s + attends});
    return QTest::qWaitFor([&] { return QFile::exists(attends); }, longestWaitMs);
}

bool Desktop::ShowTray()
{
    StartPart(u"trayer"_s, {u"--edge"_s, u"top"_s, u"--align"_s, u"right"_s, u"--widthtype"_s, u"pixel"_s,
                            u"--width"_s, u"200"_s, u"--heighttype"_s, u"pixel"_s, u"--height"_s,
                            QString::number(panelHeight * m_scale)});
    return QTest::qWaitFor([this] { return !Panel().isEmpty(); }, longestWaitMs);
}

QByteArray Desktop::Run(const QString &program, const QStringList &arguments) const
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"DISPLAY"_s, m_display);
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    process.waitForFinished();
    return process.readAllStandardOutput();
}

QByteArray Desktop::XDoTool(const QStringList &arguments) const
{
    return Run(u"xdotool"_s, arguments);
}

std::optional<DesktopWindow> Desktop::Describe(const QByteArray &id) const
{
    // It may be gone by now.
    const QByteArray text = Run(u"xwininfo"_s, {u"-id"_s, QString::fromLatin1(id)});
    if (!text.contains("Map State: IsViewable"))
        return {};
    static const QRegularExpression title{u"Window id: \\S+ \"(.*)\"\\n"_s};
    return DesktopWindow{.ID = id.toLongLong(),
                         .Title = title.match(QString::fromUtf8(text)).captured(1),
                         .Geometry = {NumberAfter(text, "Absolute upper-left X:"),
                                      NumberAfter(text, "Absolute upper-left Y:"),
                                      NumberAfter(text, "Width:"), NumberAfter(text, "Height:")},
                         .IsPopup = text.contains("Override Redirect State: yes")};
}

QRect Desktop::Panel() const
{
    const QByteArray id = XDoTool({u"search"_s, u"--onlyvisible"_s, u"--name"_s, u"^panel$"_s}).trimmed();
    const auto panel = id.isEmpty() ? std::nullopt : Describe(id);
    return panel ? panel->Geometry : QRect{};
}

QList<DesktopWindow> Desktop::Windows() const
{
    QList<DesktopWindow> windows;
    const QByteArray ids = XDoTool({u"search"_s, u"--onlyvisible"_s, u"--class"_s, u"^taskmill$"_s});
    for (const QByteArray &id : ids.simplified().split(' ')) {
        if (const auto window = id.isEmpty() ? std::nullopt : Describe(id))
            windows.append(*window);
    }
    return windows;
}

std::optional<DesktopWindow> Desktop::Find(const WindowTest &fits) const
{
    const QList<DesktopWindow> windows = Windows();
    const auto window = std::ranges::find_if(windows, fits);
    return window == windows.end() ? std::nullopt : std::optional{*window};
}

std::optional<DesktopWindow> Desktop::WaitFor(const WindowTest &fits, const char *what) const
{
    std::optional<DesktopWindow> found;
    if (!QTest::qWaitFor([&] { return (found = Find(fits)).has_value(); }, longestWaitMs))
        qWarning("The screen does not show %s", what);
    return found;
}

std::optional<DesktopWindow> Desktop::WaitForWindow(const QString &title) const
{
    return WaitFor([&](const DesktopWindow &window) { return window.Title.startsWith(title); },
                   qPrintable(title));
}

std::optional<DesktopWindow> Desktop::WaitForPopup() const
{
    return WaitFor([](const DesktopWindow &window) { return window.IsPopup; }, "a menu");
}

std::optional<DesktopWindow> Desktop::WaitForTrayIcon() const
{
    const QRect panel = Panel();
    return WaitFor([&](const DesktopWindow &window) { return panel.contains(window.Geometry); },
                   "an icon in the tray");
}

bool Desktop::WaitUntilTrayIsEmpty() const
{
    const QRect panel = Panel();
    const auto isInTray = [&](const DesktopWindow &window) {
        return panel.contains(window.Geometry);
    };
    return QTest::qWaitFor([&] { return !Find(isInTray); }, longestWaitMs);
}

bool Desktop::WaitUntilGone(const QString &title) const
{
    const auto hasTitle = [&](const DesktopWindow &window) {
        return window.Title.startsWith(title);
    };
    return QTest::qWaitFor([&] { return !Find(hasTitle); }, longestWaitMs);
}

void Desktop::Click(QPoint position, int button) const
{
    XDoTool({u"mousemove"_s, QString::number(position.x()), QString::number(position.y()), u"click"_s,
             QString::number(button)});
}

void Desktop::ClickEntry(const DesktopWindow &menu, int line, int lines) const
{
    const int y = menu.Geometry.top() + menu.Geometry.height() * (2 * line + 1) / (2 * lines);
    Click({menu.Geometry.center().x(), y});
}

void Desktop::Press(const QString &keys) const
{
    XDoTool({u"key"_s, u"--clearmodifiers"_s, keys});
}

void Desktop::Type(const QString &text) const
{
    XDoTool({u"type"_s, u"--clearmodifiers"_s, u"--delay"_s, u"4"_s, text});
}

void Desktop::MoveTo(QPoint position) const
{
    XDoTool({u"mousemove"_s, QString::number(position.x()), QString::number(position.y())});
}

void Desktop::HoldButton() const
{
    XDoTool({u"mousedown"_s, u"1"_s});
}

void Desktop::ReleaseButton() const
{
    XDoTool({u"mouseup"_s, u"1"_s});
}

void Desktop::StartProgram(const QString &program, const QStringList &arguments)
{
    StartPart(u"env"_s, Variables() + QStringList{program} + arguments);
}

void Desktop::MovePointerAway() const
{
    XDoTool({u"mousemove"_s, u"2"_s, QString::number(screenSize.height() * m_scale - 2)});
}

bool Desktop::Photograph(const QRect &part, const QString &file) const
{
    const QString crop = u"%1x%2+%3+%4"_s.arg(part.width()).arg(part.height()).arg(part.x()).arg(part.y());
    Run(u"import"_s, {u"-window"_s, u"root"_s, u"-crop"_s, crop, u"+repage"_s, u"-strip"_s, file});
    return QFile::exists(file);
}

void Desktop::Activate(const DesktopWindow &window) const
{
    XDoTool({u"windowactivate"_s, QString::number(window.ID)});
}

bool Desktop::Close(const DesktopWindow &window) const
{
    constexpr int patienceMs = 3000;
    const auto isGone = [&] {
        return !Find([&](const DesktopWindow &other) { return other.Title == window.Title; });
    };
    // The window manager may not heed the key yet when the window has only just come.
    return QTest::qWaitFor(
        [&] {
            if (isGone())
                return true;
            Activate(window);
            if (HasFocus(window))
                Press(u"alt+F4"_s);
            return QTest::qWaitFor(isGone, patienceMs);
        },
        longestWaitMs);
}

bool Desktop::IsInTaskList(const DesktopWindow &window) const
{
    const QByteArray list = Run(u"xprop"_s, {u"-root"_s, u"_NET_CLIENT_LIST"_s});
    return (list.trimmed() + ',').contains("0x" + QByteArray::number(window.ID, 16) + ',');
}

bool Desktop::HasFocus(const DesktopWindow &window) const
{
    return XDoTool({u"getactivewindow"_s}).trimmed().toLongLong() == window.ID;
}
