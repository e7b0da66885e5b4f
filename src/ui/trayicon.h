// SPDX-License-Identifier: MIT
#pragma once

#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>

/// The icon in the system tray and its menu. A tray that appears later is used then.
class Taskmill_TrayIcon final : public QObject
{
    Q_OBJECT

public:
    Taskmill_TrayIcon(const QIcon &icon, const QString &toolTip);

    /// Whether the desktop has a tray at present, from where a hidden window can be brought back.
    [[nodiscard]] static bool IsInReach();

    /// For good. It is not destroyed then, as its menu may be what has led there.
    void Hide() { m_icon.hide(); }
    void SetToolTip(const QString &toolTip) { m_icon.setToolTip(toolTip); }

Q_SIGNALS:
    void ShowSignal();
    void HideSignal();
    void ExitSignal();

private:
    QMenu m_menu; ///< before the icon, which shows it
    QSystemTrayIcon m_icon;
};
