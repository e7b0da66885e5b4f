#pragma once

#include <QByteArrayList>
#include <QTcpServer>

/// A client that is told of the ends of jobs: collects the messages whole, in the order in which they ended.
class NotificationSink
{
public:
    NotificationSink();

    [[nodiscard]] quint16 Port() const { return m_server.serverPort(); }
    [[nodiscard]] qsizetype Count() const { return m_messages.size(); }
    [[nodiscard]] const QByteArrayList &Messages() const { return m_messages; }
    /// The values of one key of all messages.
    [[nodiscard]] QByteArrayList Values(const QByteArray &key) const;

private:
    QTcpServer m_server;
    QByteArrayList m_messages;
};

/// A client that listens but never takes a connection, with so many waiting that another one is not even
/// answered: whoever tells it of a job's end is held up until his patience ends.
class DeafClient
{
public:
    DeafClient();
    ~DeafClient();
    Q_DISABLE_COPY_MOVE(DeafClient)

    [[nodiscard]] quint16 Port() const { return m_port; }

private:
    QList<int> m_sockets;
    quint16 m_port = 0;
};
