// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

/// Reports to the event loop that something has come at a handle of the system: a descriptor that is
/// readable, on Windows an event that is set.
class KilnUtil_HandleNotifier : public QObject
{
    Q_OBJECT

public:
    explicit KilnUtil_HandleNotifier(qintptr handle);

    /// Before the handle is closed, when this object is deleted later.
    void Disable();

Q_SIGNALS:
    /// Again and again until it is taken.
    void ReadySignal();
};
