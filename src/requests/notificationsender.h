// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobservices.h"

/// Takes the messages about ended jobs to the programs that submitted them.
class Taskmill_NotificationSender final : public Taskmill_Notifier
{
public:
    /// How long the sender waits for the connection, and then for the bytes to be written, in ms.
    static constexpr int WaitMs = 30000;

    explicit Taskmill_NotificationSender(int waitMs = WaitMs)
        : m_waitMs{waitMs}
    {
    }

    /// Blocks for at most twice the wait.
    bool Send(const QString &address, int port, const QByteArray &message) override;

private:
    const int m_waitMs;
};
