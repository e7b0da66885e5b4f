#include "requests/requestconnection.h"

#include "requests/requestmessage.h"

#include <QTcpSocket>
#include <QTimer>

#include <utility>

Taskmill_RequestConnection::Taskmill_RequestConnection(QTcpSocket *socket,
                                                       const Taskmill_RequestLimits &limits, QObject *parent)
    : QObject{parent}
    , m_socket{socket}
    , m_limits{limits}
{
    m_socket->setParent(this);
    // Nothing is read ahead of the bound.
    m_socket->setReadBufferSize(m_limits.MaxBytes + 1);
    m_timer = new QTimer{this};
    m_timer->setSingleShot(true);
    connect(m_timer, &QTimer::timeout, this, &Taskmill_RequestConnection::TimeoutSlot);
    connect(m_socket, &QTcpSocket::readyRead, this, &Taskmill_RequestConnection::ReadSlot);
    connect(m_socket, &QTcpSocket::disconnected, this, &Taskmill_RequestConnection::CompleteSlot);
    m_timer->start(m_limits.SilenceMs);
    // The bytes and the end may be there before anybody listens to the signals.
    QMetaObject::invokeMethod(this, &Taskmill_RequestConnection::ReadSlot, Qt::QueuedConnection);
}

Taskmill_RequestConnection::Taskmill_RequestConnection(QByteArray message, QObject *parent)
    : QObject{parent}
    , m_socket{nullptr}
    , m_bytes{std::move(message)}
    , m_complete{true}
{
}

Taskmill_RequestConnection::~Taskmill_RequestConnection()
{
    if (m_socket)
        disconnect(m_socket, nullptr, this, nullptr);
}

qintptr Taskmill_RequestConnection::Handle() const
{
    return m_socket->socketDescriptor();
}

void Taskmill_RequestConnection::ReadNow()
{
    // The end of the connection comes with a reading that finds nothing.
    while (!m_complete && m_socket->waitForReadyRead(0)) {
    }
}

bool Taskmill_RequestConnection::IsSilent() const
{
    return m_bytes.isEmpty() && m_socket->bytesAvailable() == 0 &&
           m_socket->state() == QAbstractSocket::ConnectedState;
}

void Taskmill_RequestConnection::ReadSlot()
{
    if (m_complete)
        return;
    m_bytes += m_socket->read(m_limits.MaxBytes + 1 - m_bytes.size());
    if (m_bytes.size() > m_limits.MaxBytes) {
        qWarning("A message of more than %lld bytes is dropped", static_cast<long long>(m_limits.MaxBytes));
        Drop();
        return;
    }
    if (m_socket->state() == QAbstractSocket::UnconnectedState || Taskmill_AsksForReply(m_bytes))
        CompleteSlot();
    else if (!m_bytes.isEmpty())
        m_timer->start(m_limits.QuietMs);
}

void Taskmill_RequestConnection::CompleteSlot()
{
    if (m_complete)
        return;
    if (m_socket->bytesAvailable() > 0) {
        ReadSlot();
        return;
    }
    m_complete = true;
    m_timer->stop();
    Q_EMIT CompletedSignal(this);
}

void Taskmill_RequestConnection::TimeoutSlot()
{
    // While the program was busy with something else, more may have arrived that nobody has read yet.
    if (m_socket->waitForReadyRead(0) || m_complete)
        return;
    if (m_bytes.isEmpty())
        Drop();
    else
        CompleteSlot();
}

void Taskmill_RequestConnection::Drop()
{
    m_complete = true;
    m_timer->stop();
    m_socket->abort();
    Q_EMIT DroppedSignal(this);
    deleteLater();
}

void Taskmill_RequestConnection::Close(const QByteArray &answer)
{
    // The client may be gone: its side can close while a dialog is open.
    if (!m_socket || m_socket->state() != QAbstractSocket::ConnectedState) {
        deleteLater();
        return;
    }
    connect(m_socket, &QTcpSocket::disconnected, this, &QObject::deleteLater);
    if (!answer.isEmpty())
        m_socket->write(answer);
    m_socket->disconnectFromHost();
}
