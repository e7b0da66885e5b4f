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
