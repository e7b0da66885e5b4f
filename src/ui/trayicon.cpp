// SPDX-License-Identifier: MIT
#include "ui/trayicon.h"

#include "kilnutil/logging.h"
#include "ui/badgedicon.h"
#include "ui/symbolicicon.h"

using namespace Qt::Literals::StringLiterals;

Taskmill_TrayIcon::Taskmill_TrayIcon(const QIcon &icon, const QString &toolTip)
    : m_plainIcon{icon}
    , m_icon{Taskmill_SymbolicInTray(icon)}
{
    connect(m_menu.addAction(u"&Show GUI"_s), &QAction::triggered, this, &Taskmill_TrayIcon::ShowSignal);
    connect(m_menu.addAction(u"&Hide GUI"_s), &QAction::triggered, this, &Taskmill_TrayIcon::HideSignal);
    connect(m_menu.addAction(u"&Exit"_s), &QAction::triggered, this, &Taskmill_TrayIcon::ExitSignal);
    connect(&m_icon, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick)
            Q_EMIT ShowSignal();
    });
    connect(&m_icon, &QSystemTrayIcon::messageClicked, this, &Taskmill_TrayIcon::MessageClickedSignal);
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

void Taskmill_TrayIcon::SetToolTip(const QString &toolTip)
{
    // The desktop would be asked each time.
    if (m_icon.toolTip() != toolTip)
        m_icon.setToolTip(toolTip);
}

void Taskmill_TrayIcon::SetBadge(int running, int failed)
{
    // Beyond 9 it looks the same.
    constexpr int mostShown = 10;
    const std::pair badge{qMin(running, mostShown), qMin(failed, mostShown)};
    if (std::exchange(m_badge, badge) == badge)
        return;
    // A badge is read by its colour.
    m_icon.setIcon(running > 0 || failed > 0 ? Taskmill_BadgedIcon(m_plainIcon, running, failed)
                                             : Taskmill_SymbolicInTray(m_plainIcon));
}

void Taskmill_TrayIcon::ShowMessage(const QString &title, const QString &text)
{
    m_icon.showMessage(title, text, m_plainIcon);
}
