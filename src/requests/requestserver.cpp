// SPDX-License-Identifier: MIT
#include "requests/requestserver.h"

#include "kilnutil/logging.h"
#include "requests/manageractions.h"

#include <QPointer>
#include <QScopedValueRollback>
#include <QSocketNotifier>
#include <QTimer>

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {
const QString refusalText =
    u"it cannot be told who has sent the request, because its sender closed the connection at once and other "
    "users are at work on this computer"_s;
const QByteArray needsKey = "this action needs the manager's key, which taskmillctl sends";
const QByteArray questionIsOpen = "a question is open in the manager; answer it first";

QByteArray Refused(const QByteArray &reason)
{
    return Taskmill_RefusedReply.toByteArray() + reason + '\n';
}

/// Nothing happens at any other one: the connection itself is what such a client wanted to see.
bool IsToBeHandled(const Taskmill_RequestMessage &request)
{
    return !request.Action.isEmpty() && request.Action.compare("test"_L1, Qt::CaseInsensitive) != 0;
}
} // namespace

Taskmill_RequestServer::Taskmill_RequestServer(Taskmill_RequestHandler &handler,
                                               const Taskmill_RequestLimits &limits,
                                               Taskmill_ClientGate::Environment environment)
    : m_handler{handler}
    , m_limits{limits}
    , m_gate{std::move(environment)}
{
}

Taskmill_RequestServer::~Taskmill_RequestServer()
{
    Close();
}

bool Taskmill_RequestServer::Listen(quint16 port)
{
    m_server = Taskmill_Socket::Listen(port);
    if (!m_server.IsOpen()) {
        qCWarning(Taskmill_RequestsLog, "Cannot listen on port %d: %s", port,
                  Taskmill_Socket::LastErrorText().c_str());
        return false;
    }
    m_gate.Open(Port());
    m_isPaused = false;
    m_notifier = std::make_unique<QSocketNotifier>(m_server.Get(), QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this,
            &Taskmill_RequestServer::TakeConnectionsSlot);
    return true;
}

void Taskmill_RequestServer::Close()
{
    m_gate.Close();
    m_notifier.reset();
    m_server.Close();
    m_held.reset();
    qDeleteAll(std::exchange(m_collecting, {}));
    qDeleteAll(std::exchange(m_complete, {}));
    m_withoutSocket = 0;
    m_next.reset();
}

void Taskmill_RequestServer::TakeConnectionsSlot()
{
    for (int taken = 0; taken < ConnectionsTakenAtOnce && TakeNext(); ++taken) {
    }
}

/// Takes a connection from the system, or the one that waits for room. False when there is none, or it has to
/// wait.
bool Taskmill_RequestServer::TakeNext()
{
    if (!m_server.IsOpen() || m_isPaused)
        return false;
    if (m_withoutSocket >= m_limits.MaxWaiting) {
        PauseAccepting();
        return false;
    }
    Arrival arrival = m_held ? *std::exchange(m_held, std::nullopt) : Arrival{};
    if (!arrival.socket.IsOpen()) {
        bool hasFailed = false;
        arrival.socket = m_server.Accept(&hasFailed);
        if (hasFailed)
            AcceptFailed();
        if (!arrival.socket.IsOpen())
            return false;
        m_acceptFails = false;
        if (TakeAtOnce(arrival))
            return true;
    }
    if (MakeRoomFor(arrival.socket)) {
        Collect(std::move(arrival));
        return true;
    }
    m_held = std::move(arrival);
    PauseAccepting();
    return false;
}

/// Most clients have closed before this program sees them. Their message is all that is left of them, so that
/// a flood of them neither fills the system's queue of connections nor keeps files open. One that asks for an
/// answer may have closed its half only.
bool Taskmill_RequestServer::TakeAtOnce(Arrival &arrival)
{
    constexpr qsizetype mostBytes = 65536;
    // Before anything else: the sooner one looks, the more can be seen.
    arrival.user = m_gate.UserOf(arrival.socket.Get());
    if (arrival.user == Taskmill_PeerUser::Other) {
        qCInfo(Taskmill_RequestsLog, "A connection of another user is dropped");
        m_gate.TakeOther(arrival.socket.Get());
        return true;
    }
    std::string message;
    const bool isWhole =
        arrival.socket.Receive(message, static_cast<std::size_t>(qMin(mostBytes, m_limits.MaxBytes))) ==
        Taskmill_Socket::State::Ended;
    arrival.bytes = QByteArray::fromStdString(message);
    if (!isWhole || Taskmill_AsksForReply(arrival.bytes))
        return false;
    ReadEarlierOnes();
    if (QByteArray answer; Admits(arrival.user, arrival.bytes, answer)) {
        ++m_withoutSocket;
        AddComplete(new Taskmill_RequestConnection{arrival.bytes, this});
    }
    return true;
}

/// Whether the message is to be handled; else `answer` is what its client is sent, if it asks for an answer.
bool Taskmill_RequestServer::Admits(Taskmill_PeerUser user, const QByteArray &message, QByteArray &answer)
{
    if (Taskmill_IsHttp(message)) {
        qCInfo(Taskmill_RequestsLog, "A request of a web browser is dropped");
        return false;
    }
    if (user != Taskmill_PeerUser::Unknown || m_gate.Admits(message) ||
        !IsToBeHandled(Taskmill_RequestMessage::Parse(message)))
        return true;
    qCInfo(Taskmill_RequestsLog, "A request is refused: %ls", qUtf16Printable(refusalText));
    answer = Refused(refusalText.toUtf8());
    if (!std::exchange(m_hasRefused, true))
        Q_EMIT FirstRefusedSignal(refusalText);
    return false;
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

void Taskmill_RequestServer::Collect(Arrival arrival)
{
    auto *connection = new Taskmill_RequestConnection{std::move(arrival.socket), arrival.user,
                                                      std::move(arrival.bytes), m_limits, this};
    m_collecting.append(connection);
    connect(connection, &Taskmill_RequestConnection::CompletedSignal, this,
            &Taskmill_RequestServer::MessageCompletedSlot);
    connect(connection, &Taskmill_RequestConnection::DroppedSignal, this, &Taskmill_RequestServer::Forget);
}

bool Taskmill_RequestServer::MakeRoomFor(Taskmill_Socket &socket)
{
    const qsizetype open = m_collecting.size() + m_complete.size() - m_withoutSocket;
    // Whatever else has opened all the files, one client can be served.
    if (open < m_limits.MaxConnections && (open == 0 || !socket.IsNearLimit()))
        return true;
    // A client whose bytes are there has not been silent.
    ReadEarlierOnes();
    if (!DropLongestSilent())
        return false;
    socket.MoveFromLimit();
    return true;
}

void Taskmill_RequestServer::PauseAccepting()
{
    m_isPaused = true;
    m_notifier->setEnabled(false);
}

/// To be called whenever a connection has ended.
void Taskmill_RequestServer::ResumeAccepting()
{
    if (!m_server.IsOpen() || !std::exchange(m_isPaused, false))
        return;
    m_notifier->setEnabled(true);
    // The one that waits is reported by nobody else.
    QMetaObject::invokeMethod(this, &Taskmill_RequestServer::TakeConnectionsSlot, Qt::QueuedConnection);
}

/// Most likely there are too many open files, which passes.
void Taskmill_RequestServer::AcceptFailed()
{
    if (!std::exchange(m_acceptFails, true))
        qCWarning(Taskmill_RequestsLog, "Cannot accept a connection: %s",
                  Taskmill_Socket::LastErrorText().c_str());
    ReadEarlierOnes();
    (void)DropLongestSilent();
    PauseAccepting();
    QTimer::singleShot(RetryMs, this, &Taskmill_RequestServer::ResumeAccepting);
}

void Taskmill_RequestServer::Forget(Taskmill_RequestConnection *connection)
{
    m_collecting.removeOne(connection);
    ResumeAccepting();
}

bool Taskmill_RequestServer::DropLongestSilent()
{
    const auto silent = std::ranges::find_if(m_collecting, &Taskmill_RequestConnection::IsSilent);
    if (silent == m_collecting.end())
        return false;
    qCWarning(Taskmill_RequestsLog, "Too many open connections: a silent one is dropped");
    delete *silent;
    m_collecting.erase(silent);
    return true;
}

void Taskmill_RequestServer::MessageCompletedSlot(Taskmill_RequestConnection *connection)
{
    Forget(connection);
    QByteArray answer;
    if (Admits(connection->User(), connection->Bytes(), answer))
        AddComplete(connection);
    else
        connection->Close(Taskmill_AsksForReply(connection->Bytes()) ? answer : QByteArray{});
}

void Taskmill_RequestServer::AddComplete(Taskmill_RequestConnection *connection)
{
    m_complete.append(connection);
    // Not from here: the socket that called is still at work, and a handler's event loop could delete it.
    CallLater();
}

void Taskmill_RequestServer::NewConnectionToServerSlot()
{
    if (m_busy) {
        RefuseThoseThatCannotWait();
        RetryLater();
        return;
    }
    if (m_complete.isEmpty())
        return;
    if (!m_next)
        m_next = Taskmill_RequestMessage::Parse(m_complete.first()->Bytes());
    if (!m_handler.CanHandleNow(*m_next)) {
        RefuseThoseThatCannotWait();
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
    ResumeAccepting();
}

/// A client that wants to see or hide the window, or to control the manager, and to be answered, would wait
/// until somebody answers the question that holds up the messages before its own. What it asked for would
/// then be done long after it was given up.
void Taskmill_RequestServer::RefuseThoseThatCannotWait()
{
    const QList<Taskmill_RequestConnection *> waiting = m_complete;
    for (qsizetype index = m_next ? 1 : 0; index < waiting.size(); ++index) {
        Taskmill_RequestConnection *connection = waiting[index];
        if (!connection->HasSocket() || connection->WasLookedAt())
            continue;
        connection->SetLookedAt();
        if (!Taskmill_AsksForReply(connection->Bytes()))
            continue;
        const auto request = Taskmill_RequestMessage::Parse(connection->Bytes());
        if (!request.IsForWindow() && !Taskmill_ManagerActions::Knows(request.Action))
            continue;
        m_complete.removeOne(connection);
        connection->Close(Refused(questionIsOpen));
    }
    ResumeAccepting();
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
    const bool asksForReply = Taskmill_AsksForReply(connection.Bytes());
    const auto answerLater = [client = QPointer{&connection},
                              asksForReply](const QByteArray &answer) mutable {
        if (client)
            std::exchange(client, nullptr)->Close(asksForReply ? answer : QByteArray{});
    };
    std::optional<QByteArray> answer = Taskmill_AcceptedReply.toByteArray() + '\n';
    if (IsToBeHandled(request)) {
        if (!request.ClientName.isEmpty())
            m_knownClients.insert(request.ClientName);
        // Whoever has the port may submit; what else there is needs a client that can read the user's files.
        const bool isAllowed = !Taskmill_ManagerActions::Knows(request.Action) ||
                               (asksForReply && m_gate.IsKeyShown(connection.Bytes()));
        answer = isAllowed ? m_handler.HandleRequest(request, answerLater) : Refused(needsKey);
    }
    if (answer)
        connection.Close(asksForReply ? *answer : QByteArray{});
}
