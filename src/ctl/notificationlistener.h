#pragma once

#include <QList>
#include <QPair>
#include <QString>
#include <QTcpServer>

class Taskmill_RequestConnection;

/// The message of a manager that a job has ended.
struct Taskmill_Notification
{
    QList<QPair<QString, QString>> Lines; ///< keys and values in the order of the message

    [[nodiscard]] static Taskmill_Notification Parse(const QByteArray &bytes);
    /// Empty when there is no such key.
    [[nodiscard]] QString Value(QLatin1StringView key) const;
};

/// Listens on a free port of this computer for notifications. Connections of other users are dropped.
class Taskmill_NotificationListener : public QObject
{
    Q_OBJECT

public:
    explicit Taskmill_NotificationListener(QObject *parent = nullptr);

    /// False when no port can be had.
    [[nodiscard]] bool Listen();
    [[nodiscard]] quint16 Port() const { return m_server.serverPort(); }

Q_SIGNALS:
    /// Any "jobfinished" message, whichever job it belongs to.
    void NotifiedSignal(const Taskmill_Notification &notification);

private Q_SLOTS:
    void TakeConnectionsSlot();
    void MessageCompletedSlot(Taskmill_RequestConnection *connection);

private:
    QTcpServer m_server;
};
