#include "endtoend/screenreader.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QtTest>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int longestWaitMs = 60'000;
const QString sessionBus = u"taskmill_test_session"_s;
const QString accessibilityBus = u"taskmill_test_accessibility"_s;
const QString rootPath = u"/org/a11y/atspi/accessible/root"_s;
const QString accessible = u"org.a11y.atspi.Accessible"_s;

// Numbers of states, as the protocol has them.
constexpr int enabledState = 8;
constexpr int focusedState = 12;
constexpr int selectedState = 23;
constexpr int showingState = 25;

bool HasState(quint32 states, int state)
{
    return (states >> state & 1U) != 0;
}

quint32 LowStates(const QDBusMessage &reply)
{
    QList<quint32> words;
    if (!reply.arguments().isEmpty())
        reply.arguments().constFirst().value<QDBusArgument>() >> words;
    return words.value(0);
}

QRect Extents(const QDBusMessage &reply)
{
    if (reply.arguments().isEmpty())
        return {};
    const auto argument = reply.arguments().constFirst().value<QDBusArgument>();
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    argument.beginStructure();
    argument >> x >> y >> width >> height;
    argument.endStructure();
    return {x, y, width, height};
}

QString Text(const QDBusMessage &reply)
{
    const QVariant value = reply.arguments().value(0);
    return value.canConvert<QDBusVariant>() ? value.value<QDBusVariant>().variant().toString()
                                            : value.toString();
}

bool Fits(const ScreenControl &control, const QString &role, const QString &name)
{
    return control.Role == role && QString{control.Name}.remove(u'&').startsWith(name);
}
} // namespace

ScreenReader::ScreenReader(const QString &busAddress)
    : m_bus{accessibilityBus}
{
    QDBusConnection session = QDBusConnection::connectToBus(busAddress, sessionBus);
    // The first one who asks has the bus started.
    const QDBusMessage reply = session.call(QDBusMessage::createMethodCall(
        u"org.a11y.Bus"_s, u"/org/a11y/bus"_s, u"org.a11y.Bus"_s, u"GetAddress"_s));
    m_bus = QDBusConnection::connectToBus(Text(reply), accessibilityBus);
    if (!m_bus.isConnected())
        qFatal("no accessibility bus: %ls", qUtf16Printable(reply.errorMessage()));
}

ScreenReader::~ScreenReader()
{
    QDBusConnection::disconnectFromBus(accessibilityBus);
    QDBusConnection::disconnectFromBus(sessionBus);
}

QDBusMessage ScreenReader::Call(const Address &object, const QString &interface, const QString &method,
                                const QVariantList &arguments) const
{
    QDBusMessage call = QDBusMessage::createMethodCall(object.service, object.path, interface, method);
    call.setArguments(arguments);
    return m_bus.call(call);
}

QList<ScreenReader::Address> ScreenReader::Children(const Address &object) const
{
    QList<Address> children;
    const QDBusMessage reply = Call(object, accessible, u"GetChildren"_s);
    // The control may have gone since its parent was read.
    if (reply.type() != QDBusMessage::ReplyMessage)
        return children;
    const auto argument = reply.arguments().constFirst().value<QDBusArgument>();
    // A program that has ended answers with nothing.
    if (argument.currentType() != QDBusArgument::ArrayType)
        return children;
    argument.beginArray();
    while (!argument.atEnd()) {
        QString service;
        QDBusObjectPath path;
        argument.beginStructure();
        argument >> service >> path;
        argument.endStructure();
        children.append({service, path.path()});
    }
    argument.endArray();
    return children;
}

void ScreenReader::Collect(const Address &object, QList<ScreenControl> &controls) const
{
    const quint32 states = LowStates(Call(object, accessible, u"GetState"_s));
    if (!HasState(states, showingState))
        return;
    controls.append(
        {.Role = Text(Call(object, accessible, u"GetRoleName"_s)),
         .Name = Text(Call(object, u"org.freedesktop.DBus.Properties"_s, u"Get"_s, {accessible, u"Name"_s})),
         .Geometry =
             Extents(Call(object, u"org.a11y.atspi.Component"_s, u"GetExtents"_s, {QVariant::fromValue(0U)})),
         .IsEnabled = HasState(states, enabledState),
         .IsFocused = HasState(states, focusedState),
         .IsSelected = HasState(states, selectedState)});
    for (const Address &child : Children(object))
        Collect(child, controls);
}

QList<ScreenControl> ScreenReader::Controls() const
{
    QList<ScreenControl> controls;
    for (const Address &program : Children({u"org.a11y.atspi.Registry"_s, rootPath})) {
        for (const Address &window : Children(program))
            Collect(window, controls);
    }
    return controls;
}

std::optional<ScreenControl> ScreenReader::WaitFor(const QString &role, const QString &name) const
{
    QList<ScreenControl> controls;
    std::optional<ScreenControl> found;
    const auto isThere = [&] {
        controls = Controls();
        const auto control = std::ranges::find_if(
            controls, [&](const ScreenControl &candidate) { return Fits(candidate, role, name); });
        if (control != controls.end())
            found = *control;
        return found.has_value();
    };
    if (QTest::qWaitFor(isThere, longestWaitMs))
        return found;
    qWarning("There is no %ls \"%ls\" among:", qUtf16Printable(role), qUtf16Printable(name));
    for (const ScreenControl &control : controls)
        qWarning("  %ls \"%ls\"", qUtf16Printable(control.Role), qUtf16Printable(control.Name));
    return {};
}

bool ScreenReader::WaitUntilGone(const QString &role, const QString &name) const
{
    return QTest::qWaitFor(
        [&] {
            const QList<ScreenControl> controls = Controls();
            return std::ranges::none_of(
                controls, [&](const ScreenControl &control) { return Fits(control, role, name); });
        },
        longestWaitMs);
}
