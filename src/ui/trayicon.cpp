// SPDX-License-Identifier: MIT
#include "ui/trayicon.h"

#include "kilnutil/logging.h"

using namespace Qt::Literals::StringLiterals;

Taskmill_TrayIcon::Taskmill_TrayIcon(const QIcon &icon, const QString &toolTip)
    : m_icon{icon}
{
    connect(m_menu.addAction(u"&Show GUI"_s), &QAction::triggered, this, &Taskmill_TrayIcon::ShowSignal);
    connect(m_menu.addAction(u"&Hide GUI"_s), &QAction::triggered, this, &Taskmill_TrayIcon::HideSignal);
    connect(m_menu.addAction(u"&Exit"_s), &QAction::triggered, this, &Taskmill_TrayIcon::ExitSignal);
    connect(&m_icon, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick)
            Q_EMIT ShowSignal();
    });
    m_icon.setToolTip(toolTip);
    m_icon.setContextMenu(&m_menu);
    m_icon.setVisible(true);
    if (!IsInReach())
        qCInfo(Taskmill_UILog, "This desktop has no system tray: closing the window minimises it");
}

bool Taskmill_TrayIcon::IsInReach()
{
    return QSystemTrayIcon::isSystemTrayAvailable();
}
