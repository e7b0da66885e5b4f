// SPDX-License-Identifier: MIT
#include "processes/handlenotifier.h"

#include <QWinEventNotifier>

#include <qt_windows.h>

KilnUtil_HandleNotifier::KilnUtil_HandleNotifier(qintptr handle)
{
    auto *notifier = new QWinEventNotifier{reinterpret_cast<HANDLE>(handle), this};
    connect(notifier, &QWinEventNotifier::activated, this, &KilnUtil_HandleNotifier::ReadySignal);
}

void KilnUtil_HandleNotifier::Disable()
{
    findChild<QWinEventNotifier *>()->setEnabled(false);
}
