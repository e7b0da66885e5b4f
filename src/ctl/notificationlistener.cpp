#include "ctl/notificationlistener.h"

#include "kilnutil/textencoding.h"
#include "service/requestconnection.h"
#include "wire/peeruser.h"

#include <QTcpSocket>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

Taskmill_Notification Taskmill_Notification::Parse(const QByteArray &bytes)
{
    Taskmill_Notification notification;
    const QString text = KilnUtil_TextEncoding::FromUtf8OrLatin1(bytes);
    for (const QStringView line : QStringView{text}.tokenize(u'\n', Qt::SkipEmptyParts)) {
        const qsizetype equals = line.indexOf(u'=');
        if (equals > 0)
            notification.Lines.append({line.first(equals).toString(), line.sliced(equals + 1).toString()});
    }
    return notification;
}

QString Taskmill_Notification::Value(QLatin1StringView key) const
{
    const auto line = std::ranges::find_if(
        Lines, [key](const QPair<QString, QString> &entry) { return entry.first == key; });
    return line == Lines.end() ? QString{} : line->second;
}

Taskmill_NotificationListener::Taskmill_NotificationListener(QObject *parent)
    : QObject{parent}
{
    connect(&m_server, &QTcpServer::newConnection, this, &Taskmill_NotificationListener::TakeConnectionsSlot);
}

bool Taskmill_NotificationListener::Listen()
{
    // Many jobs may end while this program is busy, and the manager waits for each connection.
    m_server.setListenBacklogSize(1024);
    return m_server.listen(QHostAddress::LocalHost);
}

void Taskmill_NotificationListener::TakeConnectionsSlot()
{
    while (QTcpSocket *socket = m_server.nextPendingConnection()) {
        if (Taskmill_IsOtherUser(socket->socketDescriptor())) {
            socket->abort();
            socket->deleteLater();
            continue;
        }
        auto *connection = new Taskmill_RequestConnection{socket, {}, this};
        connect(connection, &Taskmill_RequestConnection::CompletedSignal, this,
                &Taskmill_NotificationListener::MessageCompletedSlot);
    }
}

void Taskmill_NotificationListener::MessageCompletedSlot(Taskmill_RequestConnection *connection)
{
    const auto notification = Taskmill_Notification::Parse(connection->Bytes());
    connection->Close();
    if (notification.Value("action"_L1) == "jobfinished"_L1)
        Q_EMIT NotifiedSignal(notification);
}
