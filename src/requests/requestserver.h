// SPDX-License-Identifier: MIT
#pragma once

#include "requests/clientgate.h"
#include "requests/requestconnection.h"
#include "requests/requestmessage.h"

#include <QList>
#include <QObject>
#include <QSet>

#include <memory>
#include <optional>

class QSocketNotifier;

/// What the server hands complete messages to.
class Taskmill_RequestHandler
{
public:
    virtual ~Taskmill_RequestHandler() = default;
    /// Whether the request can be handled now. Until it can, it and those behind it wait.
    [[nodiscard]] virtual bool CanHandleNow(const Taskmill_RequestMessage &) const { return true; }
    /// May open dialogs. Returns the answer for a client that asked for one: a line, with its line feed. With
    /// nothing, it comes by `answerLater`, and other requests are handled until then.
    virtual std::optional<QByteArray> HandleRequest(const Taskmill_RequestMessage &request,
                                                    const Taskmill_LateAnswer &answerLater) = 0;
};

/// The local server: listens on the IPv4 loopback address and handles one message after another, in the order
/// in which they became complete.
class Taskmill_RequestServer : public QObject
{
    Q_OBJECT

public:
    /// Pause before a message that waits for an earlier one's dialog is tried again, in ms.
    static constexpr int RetryMs = 100;
    /// So many connections are taken between two looks at those that are open, so that a flood of new ones
    /// does not keep their messages from being read.
    static constexpr int ConnectionsTakenAtOnce = 64;

    /// The handler outlives the server.
    explicit Taskmill_RequestServer(
        Taskmill_RequestHandler &handler, const Taskmill_RequestLimits &limits = {},
        Taskmill_ClientGate::Environment environment = Taskmill_ClientGate::Environment::OfThisComputer());
    ~Taskmill_RequestServer() override;

    /// Port 0 takes any free one. False, with a line in the debug log, when the port is taken: the manager
    /// works on without a server.
    bool Listen(quint16 port);
    /// 0 while it does not listen.
    [[nodiscard]] quint16 Port() const { return m_server.IsOpen() ? m_server.LocalPort() : quint16{0}; }
    void Close();

    /// Names of the clients that have asked for anything but a test.
    [[nodiscard]] const QSet<QString> &KnownClients() const { return m_knownClients; }

    /// Whether a program counts for this user's although the system does not show whose it is.
    [[nodiscard]] bool AdmitsUnknown() { return m_gate.Admits({}); }

public Q_SLOTS:
    /// Handles one complete message; while one is being handled already, or the handler cannot take it, tries
    /// again after RetryMs.
    void NewConnectionToServerSlot();

Q_SIGNALS:
    /// A request was refused because nobody can see whose it is. Emitted for the first one only; the rest is
    /// in the debug log.
    void FirstRefusedSignal(const QString &reason);

private Q_SLOTS:
    void TakeConnectionsSlot();
    void MessageCompletedSlot(Taskmill_RequestConnection *connection);

private:
    /// A connection that was taken from the system, and what was read of it.
    struct Arrival
    {
        Taskmill_Socket socket;
        Taskmill_PeerUser user = Taskmill_PeerUser::Unknown;
        QByteArray bytes;
    };

    [[nodiscard]] bool TakeNext();
    [[nodiscard]] bool TakeAtOnce(Arrival &arrival);
    [[nodiscard]] bool MakeRoomFor(Taskmill_Socket &socket);
    void Collect(Arrival arrival);
    void PauseAccepting();
    void ResumeAccepting();
    void AcceptFailed();
    void ReadEarlierOnes();
    void Forget(Taskmill_RequestConnection *connection);
    bool DropLongestSilent();
    [[nodiscard]] bool Admits(Taskmill_PeerUser user, const QByteArray &message, QByteArray &answer);
    void AddComplete(Taskmill_RequestConnection *connection);
    void RefuseThoseThatCannotWait();
    void CallLater();
    void RetryLater();
    void HandleMessage(Taskmill_RequestConnection &connection, const Taskmill_RequestMessage &request);

    Taskmill_RequestHandler &m_handler;
    const Taskmill_RequestLimits m_limits;
    Taskmill_ClientGate m_gate;
    Taskmill_Socket m_server;
    std::unique_ptr<QSocketNotifier> m_notifier;      ///< of new connections
    std::optional<Arrival> m_held;                    ///< waits for room, and those behind it with the system
    QList<Taskmill_RequestConnection *> m_collecting; ///< oldest first
    QList<Taskmill_RequestConnection *> m_complete;   ///< in the order in which they are handled
    qsizetype m_withoutSocket = 0;                    ///< of the complete ones
    std::optional<Taskmill_RequestMessage> m_next;    ///< of the first of these, once it has been read
    QSet<QString> m_knownClients;
    bool m_busy = false;
    bool m_retryPending = false;
    bool m_isPaused = false; ///< no connection is taken
    bool m_acceptFails = false;
    bool m_callPending = false;
    bool m_hasRefused = false;
};
