// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QRect>
#include <QString>

/// A control as the accessibility bus reports it.
struct ScreenControl
{
    QString Role = {};
    QString Name = {};   ///< without marks for keys and blanks around it
    QString Text = {};   ///< of a control that holds one
    QRect Geometry = {}; ///< on the screen
};

/// Has the accessibility bus started that belongs to the session bus of this address.
[[nodiscard]] QDBusConnection ConnectToAccessibilityBus(const QString &sessionBusAddress);
/// All controls of Taskmill's windows that are shown now, as a screen reader finds them; not those of menus.
[[nodiscard]] QList<ScreenControl> ReadScreen(const QDBusConnection &bus);
