#include "requests/requestserver.h"

#include "wire/peeruser.h"
#include "wire/socket.h"

#include <QScopedValueRollback>
#include <QTcpSocket>
#include <QTimer>

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

using namespace Qt::Literals::StringLiterals;

void Taskmill_RequestListener::incomingConnection(qintptr handle)
{
    QByteArray bytes;
    if (!hasPendingConnections() && m_takeAtOnce(handle, bytes))
        return;
    auto *socket = new QTcpSocket{this};
    socket->setSocketDescriptor(handle);
    std::for_each(bytes.crbegin(), bytes.crend(), [socket](char byte) { socket->ungetChar(byte); });
    addPendingConnection(socket);
}

Taskmill_RequestServer::Taskmill_RequestServer(Taskmill_RequestHandler &handler,
                                               const Taskmill_RequestLimits &limits, QObject *parent)
    : QObject{parent}
    , m_handler{handler}
    , m_limits{limits}
    , m_server{[this](qintptr handle, QByteArray &bytes) {
        return TakeAtOnce(handle, bytes);
    }}
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
    m_withoutSocket = 0;
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

/// Most clients have closed before this program sees them. Their message is all that is left of them, so that
/// a flood of them neither fills the system's queue of connections nor keeps files open.
bool Taskmill_RequestServer::TakeAtOnce(qintptr handle, QByteArray &bytes)
{
    constexpr std::size_t mostBytes = 65536;
    if (m_withoutSocket >= m_limits.MaxWaiting)
        return false;
    Taskmill_Socket socket{handle};
    std::string message;
    const bool isWhole = socket.Receive(message, mostBytes) == Taskmill_Socket::State::Ended;
    bytes = QByteArray::fromStdString(message);
    if (!isWhole || bytes.size() > m_limits.MaxBytes) {
        socket.Release();
        return false;
    }
    if (Taskmill_IsOtherUser(socket.Get())) {
        qWarning("A connection of another user is dropped");
        return true;
    }
    ReadEarlierOnes();
    ++m_withoutSocket;
    m_complete.append(new Taskmill_RequestConnection{bytes, this});
    CallLater();
    return true;
}

/// What has arrived on the open connections came before the message of a connection that is taken now.
void Taskmill_RequestServer::ReadEarlierOnes()
{
    if (m_collecting.isEmpty())
        return;
    std::vector<Taskmill_Socket::Handle> handles;
    std::ranges::transform(m_collecting, std::back_inserter(handles), &Taskmill_RequestConnection::Handle);
    const QList<Taskmill_RequestConnection *> earlier = m_collecting;
    for (const std::size_t position : Taskmill_Socket::WaitForAny(handles, 0))
        earlier[static_cast<qsizetype>(position)]->ReadNow();
}

void Taskmill_RequestServer::Take(QTcpSocket *socket)
{
    if (Taskmill_IsOtherUser(socket->socketDescriptor())) {
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
    if (m_collecting.size() + m_complete.size() - m_withoutSocket < m_limits.MaxConnections)
        return true;
    // A client whose bytes are there has not been silent.
    ReadEarlierOnes();
    return DropLongestSilent();
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
    Taskmill_RequestConnection &connection = *m_complete.takeFirst();
    if (!connection.HasSocket())
        --m_withoutSocket;
    HandleMessage(connection, request);
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
    if (std::exchange(m_callPending, true))
        return;
    // One message a turn, so that a flood of them does not keep new connections waiting.
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_callPending = false;
            NewConnectionToServerSlot();
        },
        Qt::QueuedConnection);
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
