// SPDX-License-Identifier: MIT
#include "requests/requestconnection.h"

#include "kilnutil/logging.h"
#include "requests/requestmessage.h"

#include <QSocketNotifier>
#include <QTimer>

#include <utility>

Taskmill_RequestConnection::Taskmill_RequestConnection(Taskmill_Socket socket, Taskmill_PeerUser user,
                                                       QByteArray bytes, const Taskmill_RequestLimits &limits,
                                                       QObject *parent)
    : QObject{parent}
    , m_socket{std::move(socket)}
    , m_user{user}
    , m_limits{limits}
    , m_deadline{limits.SilenceMs}
    , m_bytes{std::move(bytes)}
{
    m_timer = new QTimer{this};
    m_timer->setSingleShot(true);
    connect(m_timer, &QTimer::timeout, this, &Taskmill_RequestConnection::TimeoutSlot);
    m_timer->start(m_bytes.isEmpty() ? m_limits.SilenceMs : m_limits.QuietMs);
    m_notifier = std::make_unique<QSocketNotifier>(m_socket.Get(), QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &Taskmill_RequestConnection::ReadNow);
    // The bytes read already may be the whole message: the event loop would report nothing more.
    if (!m_bytes.isEmpty())
        QMetaObject::invokeMethod(this, &Taskmill_RequestConnection::ReadNow, Qt::QueuedConnection);
}

Taskmill_RequestConnection::Taskmill_RequestConnection(QByteArray message, QObject *parent)
    : QObject{parent}
    , m_bytes{std::move(message)}
    , m_complete{true}
{
}

Taskmill_RequestConnection::~Taskmill_RequestConnection()
{
    CloseSocket();
}

/// A client that has closed its half still reads the other one, if it asks for an answer.
void Taskmill_RequestConnection::ReadNow()
{
    if (m_complete)
        return;
    std::string arrived;
    const auto room = static_cast<std::size_t>(m_limits.MaxBytes + 1 - m_bytes.size());
    const Taskmill_Socket::State state = m_socket.Receive(arrived, room);
    m_bytes.append(arrived.data(), static_cast<qsizetype>(arrived.size()));
    if (m_bytes.size() > m_limits.MaxBytes) {
        qCWarning(Taskmill_RequestsLog, "A message of more than %lld bytes is dropped",
                  static_cast<long long>(m_limits.MaxBytes));
        Drop();
    } else if (state == Taskmill_Socket::State::Ended || Taskmill_AsksForReply(m_bytes)) {
        Complete();
    } else if (!arrived.empty()) {
        // When this program was held up, the message may have been whole for long: what follows decides.
        if (m_deadline.hasExpired() && std::exchange(m_isLate, true)) {
            qCWarning(Taskmill_RequestsLog, "A message that does not end is dropped");
            Drop();
            return;
        }
        m_timer->start(m_limits.QuietMs);
    }
}

void Taskmill_RequestConnection::Complete()
{
    m_complete = true;
    m_timer->stop();
    m_notifier->setEnabled(false);
    Q_EMIT CompletedSignal(this);
}

void Taskmill_RequestConnection::TimeoutSlot()
{
    if (m_complete) {
        // The client does not take its answer.
        deleteLater();
        return;
    }
    // While the program was busy with something else, more may have arrived that nobody has read yet.
    const qsizetype before = m_bytes.size();
    ReadNow();
    if (m_complete || m_bytes.size() > before)
        return;
    if (m_bytes.isEmpty())
        Drop();
    else
        Complete();
}

void Taskmill_RequestConnection::Drop()
{
    m_complete = true;
    m_timer->stop();
    CloseSocket();
    Q_EMIT DroppedSignal(this);
    deleteLater();
}

void Taskmill_RequestConnection::CloseSocket()
{
    // Switched off before the socket is closed: the next file may get the same number.
    if (m_notifier)
        m_notifier->setEnabled(false);
    m_socket.Close();
}

void Taskmill_RequestConnection::Close(Taskmill_Reply answer)
{
    if (!m_socket.IsOpen() || answer.Bytes.isEmpty()) {
        CloseSocket();
        deleteLater();
        return;
    }
    // What nobody has read would make the system throw the answer away with the connection.
    std::string ignored;
    (void)m_socket.Receive(ignored, static_cast<std::size_t>(m_limits.MaxBytes));
    m_answer = std::move(answer);
    SendSlot();
}

/// The client may be gone: its side can close while a dialog is open.
void Taskmill_RequestConnection::SendSlot()
{
    if (m_sent == m_answer.Bytes.size() && m_answer.More) {
        m_answer.Bytes = m_answer.More();
        m_sent = 0;
        if (m_answer.Bytes.isEmpty())
            m_answer.More = {};
    }
    const QByteArrayView rest = QByteArrayView{m_answer.Bytes}.sliced(m_sent);
    std::string_view left{rest.data(), static_cast<std::size_t>(rest.size())};
    const bool isOpen = m_socket.SendSome(left);
    m_sent = m_answer.Bytes.size() - static_cast<qsizetype>(left.size());
    if (!isOpen || (left.empty() && !m_answer.More)) {
        CloseSocket();
        deleteLater();
    } else if (m_notifier->type() != QSocketNotifier::Write) {
        m_timer->start(m_limits.SilenceMs);
        m_notifier = std::make_unique<QSocketNotifier>(m_socket.Get(), QSocketNotifier::Write);
        connect(m_notifier.get(), &QSocketNotifier::activated, this, &Taskmill_RequestConnection::SendSlot);
    }
}
