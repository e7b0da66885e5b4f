// SPDX-License-Identifier: MIT
#include "endtoend/screenreader.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusVariant>

using namespace Qt::Literals::StringLiterals;

namespace {
const QString rootPath = u"/org/a11y/atspi/accessible/root"_s;
const QString accessible = u"org.a11y.atspi.Accessible"_s;

struct Address
{
    QString service;
    QString path;
};

QDBusMessage Call(const QDBusConnection &bus, const Address &object, const QString &interface,
                  const QString &method, const QVariantList &arguments = {})
{
    QDBusMessage call = QDBusMessage::createMethodCall(object.service, object.path, interface, method);
    call.setArguments(arguments);
    return bus.call(call);
}

/// Whether the reply to GetState says that the control is showing, by the protocol's number of that state.
bool IsShowing(const QDBusMessage &reply)
{
    constexpr int showingState = 25;
    QList<quint32> words;
    if (!reply.arguments().isEmpty())
        reply.arguments().constFirst().value<QDBusArgument>() >> words;
    return (words.value(0) >> showingState & 1U) != 0;
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

QList<Address> Children(const QDBusConnection &bus, const Address &object)
{
    QList<Address> children;
    const QDBusMessage reply = Call(bus, object, accessible, u"GetChildren"_s);
    // The control may have gone since its parent was read, and a program that has ended answers with nothing.
    const auto argument = reply.arguments().value(0).value<QDBusArgument>();
    if (reply.type() != QDBusMessage::ReplyMessage || argument.currentType() != QDBusArgument::ArrayType)
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

void Collect(const QDBusConnection &bus, const Address &object, QList<ScreenControl> &controls)
{
    if (!IsShowing(Call(bus, object, accessible, u"GetState"_s)))
        return;
    const QString name =
        Text(Call(bus, object, u"org.freedesktop.DBus.Properties"_s, u"Get"_s, {accessible, u"Name"_s}));
    const QString role = Text(Call(bus, object, accessible, u"GetRoleName"_s));
    controls.append({.Role = role,
                     .Name = QString{name}.remove(u'&').trimmed(),
                     .Text = role == "text"_L1
                                 ? Text(Call(bus, object, u"org.a11y.atspi.Text"_s, u"GetText"_s, {0, -1}))
                                 : QString{},
                     .Geometry = Extents(Call(bus, object, u"org.a11y.atspi.Component"_s, u"GetExtents"_s,
                                              {QVariant::fromValue(0U)}))});
    for (const Address &child : Children(bus, object))
        Collect(bus, child, controls);
}
} // namespace

QDBusConnection ConnectToAccessibilityBus(const QString &sessionBusAddress)
{
    const QDBusConnection session = QDBusConnection::connectToBus(sessionBusAddress, sessionBusAddress);
    // The first one who asks has the bus started.
    const QDBusMessage reply =
        Call(session, {u"org.a11y.Bus"_s, u"/org/a11y/bus"_s}, u"org.a11y.Bus"_s, u"GetAddress"_s);
    QDBusConnection::disconnectFromBus(sessionBusAddress);
    QDBusConnection bus = QDBusConnection::connectToBus(Text(reply), Text(reply));
    if (!bus.isConnected())
        qFatal("no accessibility bus: %ls", qUtf16Printable(reply.errorMessage()));
    return bus;
}

QList<ScreenControl> ReadScreen(const QDBusConnection &bus)
{
    QList<ScreenControl> controls;
    for (const Address &program : Children(bus, {u"org.a11y.atspi.Registry"_s, rootPath})) {
        for (const Address &window : Children(bus, program))
            Collect(bus, window, controls);
    }
    return controls;
}
