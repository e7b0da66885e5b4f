// SPDX-License-Identifier: MIT
#pragma once

#include <QIcon>
#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>

#include <utility>

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
    void SetToolTip(const QString &toolTip);
    /// Shows the numbers as a badge.
    void SetBadge(int running, int failed);
    /// For some seconds, if the desktop shows such messages.
    void ShowMessage(const QString &title, const QString &text);

Q_SIGNALS:
    void ShowSignal();
    void HideSignal();
    void ExitSignal();
    /// The user has clicked the last message.
    void MessageClickedSignal();

private:
    const QIcon m_plainIcon;
    std::pair<int, int> m_badge; ///< as it is shown
    QMenu m_menu;                ///< before the icon, which shows it
    QSystemTrayIcon m_icon;
};
