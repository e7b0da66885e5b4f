// SPDX-License-Identifier: MIT
#pragma once

#include "wire/peeruser.h"

#include <QByteArray>
#include <QDeadlineTimer>
#include <QObject>
#include <QTimer>

#include <chrono>
#include <functional>
#include <string>

/// Decides whose requests are carried out. A client that has closed its connection already may be
/// another user's: its request counts only while nobody else uses the computer, or with the manager's key.
class Taskmill_ClientGate final : public QObject
{
    Q_OBJECT

public:
    /// What it asks the system, and how long an answer counts; tests have others.
    struct Environment
    {
        std::function<Taskmill_PeerUser(Taskmill_Socket::Handle)> UserOf;
        std::function<bool()> AreOthersAbout;
        /// Whether the client is another person: not a service of the system.
        std::function<bool(Taskmill_Socket::Handle)> IsOtherPerson;
        std::chrono::milliseconds LookEvery;   ///< for others; a coarse timer
        std::chrono::milliseconds RememberFor; ///< that others were about
        bool AcceptUnknown = false;

        /// This computer's. TASKMILL_ACCEPT_UNKNOWN=1 in the environment turns the refusal off.
        [[nodiscard]] static Environment OfThisComputer();
    };

    explicit Taskmill_ClientGate(Environment environment = Environment::OfThisComputer());
    ~Taskmill_ClientGate() override;

    /// Makes the key of a manager that listens on that port, and looks for other users from now on.
    void Open(quint16 port);
    /// The key is void and its file gone.
    void Close();

    [[nodiscard]] Taskmill_PeerUser UserOf(Taskmill_Socket::Handle connection) const;
    /// A client that is not this user: other people are about when it is one of them.
    void TakeOther(Taskmill_Socket::Handle connection);
    /// Whether a message counts whose sender cannot be known.
    [[nodiscard]] bool Admits(QByteArrayView message);
    /// Whether it shows the key of this manager.
    [[nodiscard]] bool IsKeyShown(QByteArrayView message) const;

private:
    [[nodiscard]] bool OthersWereAbout();
    /// Writes the key into its files where they do not hold it already.
    void WriteKey();

    const Environment m_environment;
    QTimer m_lookTimer;
    QDeadlineTimer m_othersAbout{0}; ///< expired: nobody else was seen
    QByteArray m_key;                ///< empty for none
    std::vector<std::string> m_keyFiles;
    quint16 m_port = 0;
};
