// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <chrono>
#include <functional>

struct Taskmill_Notification;

/// Takes messages to the clients of jobs; implemented where the sockets are.
class Taskmill_Notifier
{
public:
    enum class Outcome
    {
        Delivered,
        Failed, ///< somebody may take it later
        Useless ///< the address is none
    };
    /// With the reason of a failure, for the debug log.
    using Done = std::function<void(Outcome outcome, const QString &reason)>;

    virtual ~Taskmill_Notifier() = default;
    /// Begins to send one message over a connection of its own, and reads no answer. `done` is called once,
    /// from the event loop. No byte is sent over a connection that is not made within that time.
    virtual void Send(const Taskmill_Notification &notification, std::chrono::milliseconds connectWithin,
                      Done done) = 0;
    /// Gives up everything that is being sent, without calling anybody.
    virtual void Abort() = 0;
};
