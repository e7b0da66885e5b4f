#include "service/requestserver.h"

#include "service/peeruser.h"

#include <QScopedValueRollback>
#include <QTcpSocket>

#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

Taskmill_RequestServer::Taskmill_RequestServer(Taskmill_RequestHandler &handler,
                                               const Taskmill_RequestLimits &limits, QObject *parent)
    : QObject{parent}
    , m_handler{handler}
    , m_limits{limits}
{
    m_server.setMaxPendingConnections(ConnectionsTakenAtOnce);
    connect(&m_server, &QTcpServer::newConnection, this, &Taskmill_RequestServer::TakeConnectionsLater);
    connect(&m_server, &QTcpServer::acceptError, this, &Taskmill_RequestServer::AcceptErrorSlot);
}

bool Taskmill_RequestServer::Listen(quint16 port)
{
    // A client whose connection does not fit tries again after a whole second.
    m_server.setListenBacklogSize(4096);
    if (m_server.listen(QHostAddress::LocalHost, port))
        return true;
    qWarning("Cannot listen on port %d: %ls", port, qUtf16Printable(m_server.errorString()));
    return false;
}

void Taskmill_RequestServer::Close()
{
    m_server.close();
    qDeleteAll(std::exchange(m_collecting, {}));
    qDeleteAll(std::exchange(m_complete, {}));
    m_next.reset();
}

void Taskmill_RequestServer::TakeConnectionsLater()
{
    if (!std::exchange(m_takePending, true))
        QMetaObject::invokeMethod(this, &Taskmill_RequestServer::TakeConnectionsSlot, Qt::QueuedConnection);
}

void Taskmill_RequestServer::TakeConnectionsSlot()
{
    m_takePending = false;
    for (int taken = 0; taken < ConnectionsTakenAtOnce && m_server.hasPendingConnections(); ++taken) {
        // What is not taken waits with the toolkit and the system until an open connection ends.
        if (!MakeRoom())
            return;
        Take(m_server.nextPendingConnection());
    }
    if (m_server.hasPendingConnections())
        TakeConnectionsLater();
}

void Taskmill_RequestServer::Take(QTcpSocket *socket)
{
    if (Taskmill_IsOtherUser(*socket)) {
        qWarning("A connection of another user is dropped");
        socket->abort();
        socket->deleteLater();
        return;
    }
    auto *connection = new Taskmill_RequestConnection{socket, m_limits, this};
    m_collecting.append(connection);
    connect(connection, &Taskmill_RequestConnection::CompletedSignal, this,
            &Taskmill_RequestServer::MessageCompletedSlot);
    connect(connection, &Taskmill_RequestConnection::DroppedSignal, this, &Taskmill_RequestServer::Forget);
}

bool Taskmill_RequestServer::MakeRoom()
{
    return m_collecting.size() + m_complete.size() < m_limits.MaxConnections || DropLongestSilent();
}

void Taskmill_RequestServer::Forget(Taskmill_RequestConnection *connection)
{
    m_collecting.removeOne(connection);
    if (m_server.hasPendingConnections())
        TakeConnectionsLater();
}

void Taskmill_RequestServer::AcceptErrorSlot()
{
    qWarning("Cannot accept a connection: %ls", qUtf16Printable(m_server.errorString()));
    DropLongestSilent();
    // Most likely there are too many open files, which passes.
    QTimer::singleShot(RetryMs, &m_server, &QTcpServer::resumeAccepting);
}

bool Taskmill_RequestServer::DropLongestSilent()
{
    const auto isSilent = [](const Taskmill_RequestConnection *connection) {
        return connection->IsSilent();
    };
    const auto silent = std::ranges::find_if(m_collecting, isSilent);
    if (silent == m_collecting.end())
        return false;
    qWarning("Too many open connections: a silent one is dropped");
    delete *silent;
    m_collecting.erase(silent);
    return true;
}

void Taskmill_RequestServer::MessageCompletedSlot(Taskmill_RequestConnection *connection)
{
    Forget(connection);
    m_complete.append(connection);
    // Not from here: the socket that called is still at work, and a handler's event loop could delete it.
    CallLater();
}

void Taskmill_RequestServer::NewConnectionToServerSlot()
{
    if (m_busy) {
        RetryLater();
        return;
    }
    if (m_complete.isEmpty())
        return;
    if (!m_next)
        m_next = Taskmill_RequestMessage::Parse(m_complete.first()->Bytes());
    if (!m_handler.CanHandleNow(*m_next)) {
        RetryLater();
        return;
    }
    const Taskmill_RequestMessage request = *std::exchange(m_next, std::nullopt);
    HandleMessage(*m_complete.takeFirst(), request);
    if (!m_complete.isEmpty())
        CallLater();
    if (m_server.hasPendingConnections())
        TakeConnectionsLater();
}

void Taskmill_RequestServer::RetryLater()
{
    if (std::exchange(m_retryPending, true))
        return;
    QTimer::singleShot(RetryMs, this, [this] {
        m_retryPending = false;
        NewConnectionToServerSlot();
    });
}

void Taskmill_RequestServer::CallLater()
{
    QMetaObject::invokeMethod(this, &Taskmill_RequestServer::NewConnectionToServerSlot, Qt::QueuedConnection);
}

void Taskmill_RequestServer::HandleMessage(Taskmill_RequestConnection &connection,
                                           const Taskmill_RequestMessage &request)
{
    const QScopedValueRollback busy{m_busy, true};
    QByteArray answer = Taskmill_AcceptedReply.toByteArray() + '\n';
    if (!request.Action.isEmpty() && request.Action.compare("test"_L1, Qt::CaseInsensitive) != 0) {
        if (!request.ClientName.isEmpty())
            m_knownClients.insert(request.ClientName);
        answer = m_handler.HandleRequest(request);
    }
    connection.Close(Taskmill_AsksForReply(connection.Bytes()) ? answer : QByteArray{});
}
