#pragma once

#include <QByteArray>
#include <QObject>

class QTcpSocket;
class QTimer;

/// Bounds of the connections, in ms and bytes.
struct Taskmill_RequestLimits
{
    int SilenceMs = 30000; ///< a client that sends nothing for so long is dropped
    /// A client that stays connected has sent its message when nothing more came for so long.
    int QuietMs = 1000;
    qsizetype MaxBytes = qsizetype{1024} * 1024; ///< a longer message is dropped
    /// Beyond so many unfinished connections the one that has been silent longest is dropped; while none is
    /// silent, further ones have to wait.
    qsizetype MaxConnections = 2000;
    /// So many messages of clients that have closed already may wait besides.
    qsizetype MaxWaiting = 20000;
};

/// Collects the message of one client. Nothing waits: a silent or slow client holds up nobody.
class Taskmill_RequestConnection : public QObject
{
    Q_OBJECT

public:
    /// Takes the ownership of the socket.
    Taskmill_RequestConnection(QTcpSocket *socket, const Taskmill_RequestLimits &limits, QObject *parent);
    /// Of a client that had sent its whole message and closed before anybody looked: there is no socket, and
    /// the message is complete.
    Taskmill_RequestConnection(QByteArray message, QObject *parent);
    ~Taskmill_RequestConnection() override;

    /// The message; all of it once CompletedSignal() was emitted.
    [[nodiscard]] const QByteArray &Bytes() const { return m_bytes; }
    [[nodiscard]] bool IsComplete() const { return m_complete; }
    [[nodiscard]] bool HasSocket() const { return m_socket != nullptr; }
    /// Whether the client has sent nothing yet, as far as this side knows.
    [[nodiscard]] bool IsSilent() const;
    /// The system's number of the socket.
    [[nodiscard]] qintptr Handle() const;
    /// Reads what has arrived, before the event loop tells of it.
    void ReadNow();

    /// Sends the answer line, if one is given, closes the connection and deletes this object later.
    void Close(const QByteArray &answer = {});

Q_SIGNALS:
    /// Emitted once, unless the connection is dropped before.
    void CompletedSignal(Taskmill_RequestConnection *connection);
    /// The connection came to nothing and is about to delete itself.
    void DroppedSignal(Taskmill_RequestConnection *connection);

private Q_SLOTS:
    void ReadSlot();
    void CompleteSlot();
    void TimeoutSlot();

private:
    void Drop();

    QTcpSocket *const m_socket; ///< nullptr without one
    const Taskmill_RequestLimits m_limits;
    QTimer *m_timer = nullptr;
    QByteArray m_bytes;
    bool m_complete = false;
};
