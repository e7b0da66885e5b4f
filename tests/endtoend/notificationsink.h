// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArrayList>
#include <QTcpServer>
#include <QTcpSocket>

/// A client that is notified of the ends of jobs: collects the messages whole, in the order in which they
/// ended.
class NotificationSink
{
public:
    /// Port 0 takes any free one.
    explicit NotificationSink(quint16 port = 0)
    {
        if (!m_server.listen(QHostAddress::LocalHost, port))
            qFatal("no port is free");
        QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this] {
            while (QTcpSocket *socket = m_server.nextPendingConnection())
                Collect(*socket);
        });
    }

    [[nodiscard]] quint16 Port() const { return m_server.serverPort(); }
    [[nodiscard]] qsizetype Count() const { return m_messages.size(); }
    [[nodiscard]] const QByteArrayList &Messages() const { return m_messages; }
    /// The values of one key of all messages.
    [[nodiscard]] QByteArrayList Values(const QByteArray &key) const
    {
        QByteArrayList values;
        for (const QByteArray &line : m_messages.join('\n').split('\n')) {
            if (line.startsWith(key + '='))
                values.append(line.sliced(key.size() + 1));
        }
        return values;
    }

private:
    void Collect(QTcpSocket &socket)
    {
        const auto take = [this, &socket] {
            m_messages.append(socket.readAll());
            socket.deleteLater();
        };
        if (socket.state() == QAbstractSocket::UnconnectedState)
            take();
        else
            QObject::connect(&socket, &QTcpSocket::disconnected, &m_server, take);
    }

    QTcpServer m_server;
    QByteArrayList m_messages;
};
