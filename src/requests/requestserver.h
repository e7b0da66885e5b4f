#pragma once

#include "requests/requestconnection.h"
#include "requests/requestmessage.h"

#include <QList>
#include <QObject>
#include <QSet>
#include <QTcpServer>

#include <functional>
#include <optional>

/// What the server hands complete messages to.
class Taskmill_RequestHandler
{
public:
    virtual ~Taskmill_RequestHandler() = default;
    /// Whether the request can be handled now. Until it can, it and those behind it wait.
    [[nodiscard]] virtual bool CanHandleNow(const Taskmill_RequestMessage &) const { return true; }
    /// May open dialogs. Returns the answer for a client that asked for one: a line, with its line feed.
    virtual QByteArray HandleRequest(const Taskmill_RequestMessage &request) = 0;
};

/// Offers each connection that comes in to its owner before the toolkit makes a socket of it.
class Taskmill_RequestListener final : public QTcpServer
{
    Q_OBJECT

public:
    /// Takes a connection that can be dealt with at once, and tells so; else `bytes` are what was read of it.
    using TakeAtOnce = std::function<bool(qintptr handle, QByteArray &bytes)>;

    explicit Taskmill_RequestListener(TakeAtOnce takeAtOnce)
        : m_takeAtOnce{std::move(takeAtOnce)}
    {
    }

protected:
    void incomingConnection(qintptr handle) override;

private:
    const TakeAtOnce m_takeAtOnce;
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
    explicit Taskmill_RequestServer(Taskmill_RequestHandler &handler,
                                    const Taskmill_RequestLimits &limits = {}, QObject *parent = nullptr);

    /// Port 0 takes any free one. False, with a line in the debug log, when the port is taken: the manager
    /// works on without a server.
    bool Listen(quint16 port);
    [[nodiscard]] quint16 Port() const { return m_server.serverPort(); }
    void Close();

    /// Names of the clients that have asked for anything but a test.
    [[nodiscard]] const QSet<QString> &KnownClients() const { return m_knownClients; }

public Q_SLOTS:
    /// Handles one complete message; while one is being handled already, or the handler cannot take it, tries
    /// again after RetryMs.
    void NewConnectionToServerSlot();

private Q_SLOTS:
    void TakeConnectionsSlot();
    void AcceptErrorSlot();
    void MessageCompletedSlot(Taskmill_RequestConnection *connection);

private:
    void TakeConnectionsLater();
    bool TakeAtOnce(qintptr handle, QByteArray &bytes);
    void ReadEarlierOnes();
    void Take(QTcpSocket *socket);
    [[nodiscard]] bool MakeRoom();
    void Forget(Taskmill_RequestConnection *connection);
    bool DropLongestSilent();
    void CallLater();
    void RetryLater();
    void HandleMessage(Taskmill_RequestConnection &connection, const Taskmill_RequestMessage &request);

    Taskmill_RequestHandler &m_handler;
    const Taskmill_RequestLimits m_limits;
    Taskmill_RequestListener m_server;
    QList<Taskmill_RequestConnection *> m_collecting; ///< oldest first
    QList<Taskmill_RequestConnection *> m_complete;   ///< in the order in which they are handled
    qsizetype m_withoutSocket = 0;                    ///< of the complete ones
    std::optional<Taskmill_RequestMessage> m_next;    ///< of the first of these, once it has been read
    QSet<QString> m_knownClients;
    bool m_busy = false;
    bool m_retryPending = false;
    bool m_takePending = false;
    bool m_callPending = false;
};
