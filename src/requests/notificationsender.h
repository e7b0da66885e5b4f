// SPDX-License-Identifier: MIT
#pragma once

#include "manager/notifier.h"
#include "wire/peeruser.h"

#include <functional>
#include <memory>
#include <vector>

class QTcpSocket;

/// Takes the messages about ended jobs to the programs that submitted them, without waiting for any of them.
/// On this computer only a program of this user is sent one.
class Taskmill_NotificationSender final : public Taskmill_Notifier
{
public:
    /// What it asks the system, and how long it waits; tests have others.
    struct Environment
    {
        /// For the connection, and then for the bytes to be written.
        std::chrono::milliseconds Wait = std::chrono::seconds{30};
        std::function<Taskmill_PeerUser(Taskmill_Socket::Handle)> UserOf = Taskmill_UserOfServer;
        /// Whether a program on this computer is sent a message although its user cannot be known.
        std::function<bool()> AdmitsUnknown = [] {
            return true;
        };
    };

    Taskmill_NotificationSender();
    explicit Taskmill_NotificationSender(Environment environment);
    ~Taskmill_NotificationSender() override;

    void Send(const Taskmill_Notification &notification, std::chrono::milliseconds connectWithin,
              Done done) override;
    void Abort() override;

private:
    class Sending;
    /// Why nothing is to be written to that connection; empty when there is no reason.
    [[nodiscard]] QString RefusalOf(const QTcpSocket &connection) const;

    const Environment m_environment;
    std::vector<std::unique_ptr<Sending>> m_sendings; ///< those that are reported go with the next one
};
