// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

class KilnUtil_RunKeepers;
class Taskmill_FinishedJobsTaker;
class Taskmill_JobStore;
class Taskmill_ProcessInspector;

/// Takes messages to the clients of jobs; implemented where the sockets are.
class Taskmill_Notifier
{
public:
    virtual ~Taskmill_Notifier() = default;
    /// Sends one message over a connection of its own and reads no answer. False when the address is none or
    /// nobody took the message; nothing is tried again.
    virtual bool Send(const QString &address, int port, const QByteArray &message) = 0;
};

/// What queues and their jobs need of the rooms above and beside them; all of it outlives them.
struct Taskmill_JobServices
{
    Taskmill_JobStore &Store;
    Taskmill_FinishedJobsTaker &FinishedJobs;
    Taskmill_ProcessInspector &Inspector;
    Taskmill_Notifier &Notifier;
    /// Where jobs end with the manager, there is none.
    KilnUtil_RunKeepers *Keepers = nullptr;
};
