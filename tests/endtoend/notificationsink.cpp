#include "endtoend/notificationsink.h"

#include <QTcpSocket>

NotificationSink::NotificationSink()
{
    if (!m_server.listen(QHostAddress::LocalHost))
        qFatal("no port is free");
    QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this] {
        while (QTcpSocket *socket = m_server.nextPendingConnection()) {
            const auto take = [this, socket] {
                m_messages.append(socket->readAll());
                socket->deleteLater();
            };
            if (socket->state() == QAbstractSocket::UnconnectedState)
                take();
            else
                QObject::connect(socket, &QTcpSocket::disconnected, &m_server, take);
        }
    });
}

QByteArrayList NotificationSink::Values(const QByteArray &key) const
{
    QByteArrayList values;
    for (const QByteArray &message : m_messages) {
        for (const QByteArray &line : message.split('\n')) {
            if (line.startsWith(key + '='))
                values.append(line.sliced(key.size() + 1));
        }
    }
    return values;
}
