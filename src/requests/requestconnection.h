// SPDX-License-Identifier: MIT
#pragma once

#include "requests/reply.h"
#include "wire/peeruser.h"
#include "wire/socket.h"

#include <QByteArray>
#include <QDeadlineTimer>
#include <QObject>

#include <memory>

class QSocketNotifier;
class QTimer;

/// Bounds of the connections, in ms and bytes.
struct Taskmill_RequestLimits
{
    /// A client that sends nothing for so long is dropped, and so is one that has not sent its message whole
    /// by then.
    int SilenceMs = 30000;
    /// A client that stays connected has sent its message when nothing more came for so long.
    int QuietMs = 1000;
    qsizetype MaxBytes = qsizetype{1024} * 1024; ///< a longer message is dropped
    /// Beyond so many unfinished connections, or as many as the system's limit on open files lets the program
    /// have, the one that has been silent longest is dropped; while none is silent, further ones have to
    /// wait.
    qsizetype MaxConnections = 2000;
    /// So many messages of clients that have closed already may wait besides; while they do, further
    /// connections have to wait.
    qsizetype MaxWaiting = 20000;
};

/// Collects the message of one client. Nothing waits: a silent or slow client holds up nobody.
class Taskmill_RequestConnection : public QObject
{
    Q_OBJECT

public:
    /// Takes the socket, of which `bytes` have been read. Its client may have closed its half of the
    /// connection, or may have ended.
    Taskmill_RequestConnection(Taskmill_Socket socket, Taskmill_PeerUser user, QByteArray bytes,
                               const Taskmill_RequestLimits &limits, QObject *parent);
    /// Of a client that had sent its whole message and closed before anybody looked: there is no socket, and
    /// the message is complete.
    Taskmill_RequestConnection(QByteArray message, QObject *parent);
    ~Taskmill_RequestConnection() override;

    /// The message; all of it once CompletedSignal() was emitted.
    [[nodiscard]] const QByteArray &Bytes() const { return m_bytes; }
    [[nodiscard]] bool IsComplete() const { return m_complete; }
    [[nodiscard]] bool HasSocket() const { return m_socket.IsOpen(); }
    [[nodiscard]] Taskmill_PeerUser User() const { return m_user; }
    /// Whether the client has sent nothing yet, as far as this side knows.
    [[nodiscard]] bool IsSilent() const { return m_bytes.isEmpty(); }
    /// A mark for the owner.
    [[nodiscard]] bool WasLookedAt() const { return m_lookedAt; }
    void SetLookedAt() { m_lookedAt = true; }
    /// The system's number of the socket.
    [[nodiscard]] Taskmill_Socket::Handle Handle() const { return m_socket.Get(); }
    /// Reads what has arrived, before the event loop reports it.
    void ReadNow();

    /// Sends the answer, if one is given, closes the connection and deletes this object later.
    void Close(Taskmill_Reply answer = {});

Q_SIGNALS:
    /// Emitted once, unless the connection is dropped before.
    void CompletedSignal(Taskmill_RequestConnection *connection);
    /// The connection came to nothing and is about to delete itself.
    void DroppedSignal(Taskmill_RequestConnection *connection);

private Q_SLOTS:
    void TimeoutSlot();
    void SendSlot();

private:
    void Complete();
    void Drop();
    void CloseSocket();

    Taskmill_Socket m_socket; ///< not open without one
    const Taskmill_PeerUser m_user = Taskmill_PeerUser::This;
    const Taskmill_RequestLimits m_limits;
    std::unique_ptr<QSocketNotifier> m_notifier; ///< of what arrives, then of room for the answer
    QTimer *m_timer = nullptr;
    QDeadlineTimer m_deadline; ///< of the whole message
    QByteArray m_bytes;
    Taskmill_Reply m_answer;
    qsizetype m_sent = 0; ///< of its bytes
    bool m_complete = false;
    bool m_isLate = false;
    bool m_lookedAt = false;
};
