// SPDX-License-Identifier: MIT
#include "endtoend/desktop.h"

#include "endtoend/screenreader.h"
#include "support/testutil.h"

#include <QRegularExpression>
#include <QtTest>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int longestWaitMs = 60'000;
constexpr QSize screenSize{1920, 1200}; // pixels
constexpr int panelHeight = 32;

/// A number that follows a label in the output of xwininfo.
int NumberAfter(const QByteArray &text, const QByteArray &label)
{
    const qsizetype begin = text.indexOf(label);
    return begin < 0 ? 0 : text.mid(begin + label.size()).trimmed().split('\n').first().toInt();
}

/// Waits for the one line that a part of the desktop prints.
QString FirstLine(QProcess &part)
{
    (void)QTest::qWaitFor([&] { return part.canReadLine(); }, longestWaitMs);
    return QString::fromLatin1(part.readLine().trimmed());
}
} // namespace

Desktop::Desktop(int scale)
    : m_scale{scale}
{
    if (!m_directory.isValid())
        qFatal("no directory can be made");
}

Desktop::~Desktop()
{
    if (m_accessibilityBus)
        QDBusConnection::disconnectFromBus(m_accessibilityBus->name());
    // The X server comes last, so that the others do not complain about its end.
    for (; !m_parts.empty(); m_parts.pop_back()) {
        QProcess &part = *m_parts.back();
        part.terminate();
        if (!part.waitForFinished())
            part.kill();
        part.waitForFinished();
    }
}

bool Desktop::Start()
{
    const QString pixels = u"%1x%2x24"_s.arg(screenSize.width() * m_scale).arg(screenSize.height() * m_scale);
    m_display = u':' + FirstLine(StartPart(u"Xvfb"_s, {u"-displayfd"_s, u"1"_s, u"-screen"_s, u"0"_s, pixels,
                                                       u"-nolisten"_s, u"tcp"_s}));
    m_busAddress =
        FirstLine(StartPart(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--print-address"_s}));
    // It announces itself before it attends to new windows.
    const QString attends = m_directory.filePath(u"attends"_s);
    StartPart(u"openbox"_s, {u"--sm-disable"_s, u"--startup"_s, u"touch "_s + attends});
    if (QTest::qWaitFor([&] { return QFile::exists(attends); }, longestWaitMs)) {
        StartPart(u"trayer"_s, {u"--edge"_s, u"top"_s, u"--align"_s, u"right"_s, u"--widthtype"_s, u"pixel"_s,
                                u"--width"_s, u"200"_s, u"--heighttype"_s, u"pixel"_s, u"--height"_s,
                                QString::number(panelHeight * m_scale)});
        if (QTest::qWaitFor([this] { return !Panel().isEmpty(); }, longestWaitMs)) {
            m_accessibilityBus = ConnectToAccessibilityBus(m_busAddress);
            return true;
        }
    }
    for (const QString &part : {u"Xvfb"_s, u"dbus-daemon"_s, u"openbox"_s, u"trayer"_s})
        qWarning("%ls: %s", qUtf16Printable(part), ReadTestFile(m_directory.filePath(part)).constData());
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

void Desktop::Launch(QProcess &process, const QString &program, const QStringList &arguments) const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(u"WAYLAND_DISPLAY"_s);
    environment.insert(u"DISPLAY"_s, m_display);
    environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, u"disabled:"_s);
    environment.insert(u"NO_AT_BRIDGE"_s, u"1"_s);
    for (const QString &variable :
         {u"HOME"_s, u"XDG_CONFIG_HOME"_s, u"XDG_CACHE_HOME"_s, u"XDG_RUNTIME_DIR"_s})
        environment.insert(variable, m_directory.path());
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    if (!process.waitForStarted())
        qFatal("%ls is not installed", qUtf16Printable(program));
}

QProcess &Desktop::StartPart(const QString &program, const QStringList &arguments)
{
    auto &part = *m_parts.emplace_back(std::make_unique<QProcess>());
    part.setStandardErrorFile(m_directory.filePath(program));
    Launch(part, program, arguments);
    return part;
}

QByteArray Desktop::Run(const QString &program, const QStringList &arguments) const
{
    QProcess process;
    Launch(process, program, arguments);
    process.waitForFinished();
    return process.readAllStandardOutput();
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

std::optional<DesktopWindow> Desktop::WaitFor(const WindowTest &fits, const QString &what) const
{
    std::optional<DesktopWindow> found;
    if (!QTest::qWaitFor([&] { return (found = Find(fits)).has_value(); }, longestWaitMs))
        qWarning("The screen does not show %ls", qUtf16Printable(what));
    return found;
}

std::optional<DesktopWindow> Desktop::WaitForWindow(const QString &title) const
{
    return WaitFor([&](const DesktopWindow &window) { return window.Title.startsWith(title); }, title);
}

std::optional<DesktopWindow> Desktop::WaitForPopup() const
{
    return WaitFor([](const DesktopWindow &window) { return window.IsPopup; }, u"a menu"_s);
}

std::optional<DesktopWindow> Desktop::WaitForTrayIcon() const
{
    const QRect panel = Panel();
    return WaitFor([&](const DesktopWindow &window) { return panel.contains(window.Geometry); },
                   u"an icon in the tray"_s);
}

bool Desktop::WaitUntilGone(const QString &title) const
{
    const auto hasTitle = [&](const DesktopWindow &window) {
        return window.Title.startsWith(title);
    };
    return QTest::qWaitFor([&] { return !Find(hasTitle); }, longestWaitMs);
}

bool Desktop::Close(const DesktopWindow &window) const
{
    constexpr int patienceMs = 3000;
    const auto isGone = [&] {
        return !Find([&](const DesktopWindow &other) { return other.Title == window.Title; });
    };
    // The window manager may not react to the key yet when the window has only just come.
    return QTest::qWaitFor(
        [&] {
            if (isGone())
                return true;
            XDoTool({u"windowactivate"_s, QString::number(window.ID)});
            if (XDoTool({u"getactivewindow"_s}).trimmed().toLongLong() == window.ID)
                Press(u"alt+F4"_s);
            return QTest::qWaitFor(isGone, patienceMs);
        },
        longestWaitMs);
}

std::optional<ScreenControl> Desktop::FindControl(const QString &role, const QString &name) const
{
    const QList<ScreenControl> controls = ReadScreen(*m_accessibilityBus);
    const auto control = std::ranges::find_if(controls, [&](const ScreenControl &candidate) {
        return candidate.Role == role && candidate.Name == name;
    });
    return control == controls.end() ? std::nullopt : std::optional{*control};
}

bool Desktop::WaitForControl(const QString &role, const QString &name) const
{
    if (QTest::qWaitFor([&] { return FindControl(role, name).has_value(); }, longestWaitMs))
        return true;
    qWarning("There is no %ls \"%ls\" among:", qUtf16Printable(role), qUtf16Printable(name));
    for (const ScreenControl &control : ReadScreen(*m_accessibilityBus))
        qWarning("  %ls \"%ls\"", qUtf16Printable(control.Role), qUtf16Printable(control.Name));
    return false;
}

bool Desktop::WaitForText(const QString &name, const QString &words) const
{
    QString text;
    const auto hasWords = [&] {
        const auto control = FindControl(u"text"_s, name);
        text = control ? control->Text : QString{};
        return text.contains(words);
    };
    if (QTest::qWaitFor(hasWords, longestWaitMs))
        return true;
    qWarning("\"%ls\" is \"%ls\" among:", qUtf16Printable(name), qUtf16Printable(text));
    for (const ScreenControl &control : ReadScreen(*m_accessibilityBus))
        qWarning("  %ls \"%ls\"", qUtf16Printable(control.Role), qUtf16Printable(control.Name));
    return false;
}

bool Desktop::WaitUntilControlIsGone(const QString &role, const QString &name) const
{
    return QTest::qWaitFor([&] { return !FindControl(role, name); }, longestWaitMs);
}

bool Desktop::AreWindowsSettled() const
{
    const QList<ScreenControl> controls = ReadScreen(*m_accessibilityBus);
    const QList<DesktopWindow> windows = Windows();
    return std::ranges::all_of(windows, [&](const DesktopWindow &window) {
        const auto own = std::ranges::find(controls, window.Title, &ScreenControl::Name);
        // A program that draws larger knows its place only roughly.
        const QPoint place = own == controls.end() ? QPoint{} : own->Geometry.topLeft() * m_scale;
        return own == controls.end() || (place - window.Geometry.topLeft()).manhattanLength() < 2 * m_scale;
    });
}

bool Desktop::ClickControl(const QString &role, const QString &name, int button) const
{
    if (!WaitForControl(role, name) ||
        !QTest::qWaitFor([this] { return AreWindowsSettled(); }, longestWaitMs))
        return false;
    const auto control = FindControl(role, name);
    if (control)
        Click(control->Geometry.center() * m_scale, button);
    return control.has_value();
}

void Desktop::Click(QPoint position, int button) const
{
    XDoTool({u"mousemove"_s, QString::number(position.x()), QString::number(position.y()), u"click"_s,
             QString::number(button)});
}

void Desktop::Press(const QString &keys) const
{
    XDoTool(QStringList{u"key"_s, u"--clearmodifiers"_s} + keys.split(u' '));
}

void Desktop::Type(const QString &text) const
{
    XDoTool({u"type"_s, u"--clearmodifiers"_s, u"--delay"_s, u"4"_s, text});
}
