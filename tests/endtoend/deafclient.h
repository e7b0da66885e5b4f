#pragma once

#include <QList>

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
