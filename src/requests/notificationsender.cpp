// SPDX-License-Identifier: MIT
#include "requests/notificationsender.h"

#include "jobs/jobnotification.h"

#include <QHostAddress>
#include <QNetworkProxy>
#include <QTcpSocket>
#include <QTimer>

#include <algorithm>
#include <limits>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
QHostAddress HostAddress(const QString &address)
{
    // QHostAddress reads addresses only, and never asks a name server.
    if (address.compare("localhost"_L1, Qt::CaseInsensitive) == 0)
        return QHostAddress{QHostAddress::LocalHost};
    return QHostAddress{address};
}
} // namespace

/// One message on its way.
class Taskmill_NotificationSender::Sending final : public QObject
{
public:
    Sending(Taskmill_NotificationSender &sender, QByteArray message, Done done)
        : m_sender{sender}
        , m_message{std::move(message)}
        , m_done{std::move(done)}
    {
        m_timer.setSingleShot(true);
        m_socket.setProxy(QNetworkProxy::NoProxy);
        connect(&m_socket, &QTcpSocket::connected, this, &Sending::WriteSlot);
        connect(&m_socket, &QTcpSocket::bytesWritten, this, [this] {
            if (m_socket.bytesToWrite() == 0)
                EndLater(Outcome::Delivered, {});
        });
        connect(&m_socket, &QTcpSocket::errorOccurred, this,
                [this] { EndLater(Outcome::Failed, m_socket.errorString()); });
        connect(&m_timer, &QTimer::timeout, this,
                [this] { EndLater(Outcome::Failed, u"it takes too long"_s); });
    }
    ~Sending() override
    {
        m_socket.disconnect(this);
        m_socket.abort();
    }
    Q_DISABLE_COPY_MOVE(Sending)

    void Connect(const QHostAddress &host, quint16 port, std::chrono::milliseconds within)
    {
        m_timer.start(within);
        m_socket.connectToHost(host, port);
    }

    /// The first outcome counts. Behind what the socket is at.
    void EndLater(Outcome outcome, const QString &reason)
    {
        if (!m_done)
            return;
        const Done done = std::exchange(m_done, {});
        m_timer.stop();
        // What was written is still brought to the other side.
        if (outcome == Outcome::Delivered)
            m_socket.close();
        else
            m_socket.abort();
        QTimer::singleShot(0, this, [this, done, outcome, reason] {
            m_isReported = true;
            done(outcome, reason);
        });
    }
    [[nodiscard]] bool IsReported() const { return m_isReported; }

private:
    void WriteSlot()
    {
        if (const QString refusal = m_sender.RefusalOf(m_socket); !refusal.isEmpty()) {
            EndLater(Outcome::Failed, refusal);
            return;
        }
        // One limit for the whole message: a client that takes it byte by byte must not hold it up for ever.
        m_timer.start(m_sender.m_environment.Wait);
        m_socket.write(m_message);
        m_socket.flush();
    }

    Taskmill_NotificationSender &m_sender;
    const QByteArray m_message;
    Done m_done; ///< empty when there is an outcome
    bool m_isReported = false;
    QTcpSocket m_socket;
    QTimer m_timer;
};

Taskmill_NotificationSender::Taskmill_NotificationSender()
    : Taskmill_NotificationSender{Environment{}}
{
}

Taskmill_NotificationSender::Taskmill_NotificationSender(Environment environment)
    : m_environment{std::move(environment)}
{
}

Taskmill_NotificationSender::~Taskmill_NotificationSender() = default;

void Taskmill_NotificationSender::Send(const Taskmill_Notification &notification,
                                       std::chrono::milliseconds connectWithin, Done done)
{
    std::erase_if(m_sendings, [](const auto &sending) { return sending->IsReported(); });
    Sending &sending =
        *m_sendings.emplace_back(std::make_unique<Sending>(*this, notification.Message, std::move(done)));
    const QHostAddress host = HostAddress(notification.Address);
    if (host.isNull() || notification.Port < 1 || notification.Port > std::numeric_limits<quint16>::max())
        sending.EndLater(Outcome::Useless, u"this is no address"_s);
    else
        sending.Connect(host, static_cast<quint16>(notification.Port),
                        std::min(connectWithin, m_environment.Wait));
}

void Taskmill_NotificationSender::Abort()
{
    m_sendings.clear();
}

QString Taskmill_NotificationSender::RefusalOf(const QTcpSocket &connection) const
{
    if (!connection.peerAddress().isLoopback())
        return {};
    switch (m_environment.UserOf(connection.socketDescriptor())) {
    case Taskmill_PeerUser::This:
        return {};
    case Taskmill_PeerUser::Other:
        return u"another user listens there"_s;
    case Taskmill_PeerUser::Unknown:
        break;
    }
    return m_environment.AdmitsUnknown()
               ? QString{}
               : u"it cannot be known who listens there, and others use this computer"_s;
}
