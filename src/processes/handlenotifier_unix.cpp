// SPDX-License-Identifier: MIT
#include "processes/handlenotifier.h"

#include <QSocketNotifier>

KilnUtil_HandleNotifier::KilnUtil_HandleNotifier(qintptr handle)
{
    auto *notifier = new QSocketNotifier{handle, QSocketNotifier::Read, this};
    connect(notifier, &QSocketNotifier::activated, this, &KilnUtil_HandleNotifier::ReadySignal);
}

void KilnUtil_HandleNotifier::Disable()
{
    findChild<QSocketNotifier *>()->setEnabled(false);
}
