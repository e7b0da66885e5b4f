#include "service/requestserver.h"

#include "service/peeruser.h"

#include <QScopedValueRollback>
#include <QTcpSocket>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

Taskmill_RequestServer::Taskmill_RequestServer(Taskmill_RequestHandler &handler,
                                               const Taskmill_RequestLimits &limits, QObject *parent)
    : QObject{parent}
    , m_handler{handler}
    , m_limits{limits}
{
    connect(&m_server, &QTcpServer::newConnection, this, &Taskmill_RequestServer::TakeConnectionsSlot);
    connect(&m_server, &QTcpServer::acceptError, this, &Taskmill_RequestServer::AcceptErrorSlot);
}

bool Taskmill_RequestServer::Listen(quint16 port)
{
    m_server.setListenBacklogSize(1024);
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
}

void Taskmill_RequestServer::TakeConnectionsSlot()
{
    while (QTcpSocket *socket = m_server.nextPendingConnection()) {
        if (Taskmill_IsOtherUser(*socket)) {
            qWarning("A connection of another user is dropped");
            socket->abort();
            socket->deleteLater();
            continue;
        }
        auto *connection = new Taskmill_RequestConnection{socket, m_limits, this};
        m_collecting.append(connection);
        connect(connection, &Taskmill_RequestConnection::CompletedSignal, this,
                &Taskmill_RequestServer::MessageCompletedSlot);
        connect(connection, &Taskmill_RequestConnection::DroppedSignal, this,
                [this](Taskmill_RequestConnection *dropped) { m_collecting.removeOne(dropped); });
        if (m_collecting.size() > m_limits.MaxConnections)
            DropLongestSilent();
    }
}

void Taskmill_RequestServer::AcceptErrorSlot()
{
    qWarning("Cannot accept a connection: %ls", qUtf16Printable(m_server.errorString()));
    DropLongestSilent();
    // Most likely there are too many open files, which passes; but after an error the toolkit accepts no
    // connection until it listens anew.
    QTimer::singleShot(RetryMs, this, [this] {
        if (!m_server.isListening())
            return;
        const quint16 port = m_server.serverPort();
        m_server.close();
        Listen(port);
    });
}

void Taskmill_RequestServer::DropLongestSilent()
{
    if (m_collecting.isEmpty())
        return;
    const auto isSilent = [](const Taskmill_RequestConnection *connection) {
        return connection->Bytes().isEmpty();
    };
    const auto silent = std::ranges::find_if(m_collecting, isSilent);
    Taskmill_RequestConnection *dropped = silent == m_collecting.end() ? m_collecting.first() : *silent;
    qWarning("Too many open connections: one is dropped");
    m_collecting.removeOne(dropped);
    delete dropped;
}

void Taskmill_RequestServer::MessageCompletedSlot(Taskmill_RequestConnection *connection)
{
    m_collecting.removeOne(connection);
    m_complete.append(connection);
    // Not from here: the socket that called is still at work, and a handler's event loop could delete it.
    CallLater();
}

void Taskmill_RequestServer::NewConnectionToServerSlot()
{
    if (m_busy) {
        if (!std::exchange(m_retryPending, true)) {
            QTimer::singleShot(RetryMs, this, [this] {
                m_retryPending = false;
                NewConnectionToServerSlot();
            });
        }
        return;
    }
    if (m_complete.isEmpty())
        return;
    HandleMessage(*m_complete.takeFirst());
    if (!m_complete.isEmpty())
        CallLater();
}

void Taskmill_RequestServer::CallLater()
{
    QMetaObject::invokeMethod(this, &Taskmill_RequestServer::NewConnectionToServerSlot, Qt::QueuedConnection);
}

void Taskmill_RequestServer::HandleMessage(Taskmill_RequestConnection &connection)
{
    const QScopedValueRollback busy{m_busy, true};
    const Taskmill_RequestMessage request = Taskmill_RequestMessage::Parse(connection.Bytes());
    QByteArray answer;
    if (!request.Action.isEmpty() && request.Action.compare("test"_L1, Qt::CaseInsensitive) != 0) {
        if (!request.ClientName.isEmpty())
            m_knownClients.insert(request.ClientName);
        answer = m_handler.HandleRequest(request);
    }
    connection.Close(Taskmill_AsksForReply(connection.Bytes()) ? answer : QByteArray{});
}
