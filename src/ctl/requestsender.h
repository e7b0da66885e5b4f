#pragma once

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QString>

#include <optional>

class QTcpSocket;

/// What a manager says to a request that asked for an answer.
struct Taskmill_RequestAnswer
{
    QList<int> JobIDs; ///< of the jobs that were made; none in a refusal
    QString Refusal;   ///< the reason, when no job was made

    /// Reads the answer's line, without its line feed. Nothing when it is no such line.
    [[nodiscard]] static std::optional<Taskmill_RequestAnswer> Parse(QByteArrayView line);
};

/// Sends requests that ask for an answer, one at a time, each over a connection of its own. An answer may
/// take as long as the user looks at a dialog of the manager, so nothing but the end of the connection ends
/// the wait.
class Taskmill_RequestSender : public QObject
{
    Q_OBJECT

public:
    explicit Taskmill_RequestSender(quint16 port, QObject *parent = nullptr);

    /// Not to be called again before a signal has told the outcome.
    void Send(const QByteArray &message);

Q_SIGNALS:
    void AnsweredSignal(const Taskmill_RequestAnswer &answer);
    /// The connection could not be made, or ended without an answer that can be understood.
    void FailedSignal(const QString &reason);

private Q_SLOTS:
    void ReadSlot();
    void DisconnectedSlot();

private:
    void Fail(const QString &reason);
    void EndConnection();

    const quint16 m_port;
    QTcpSocket *m_socket = nullptr; ///< owned; nullptr while nothing is under way
    QByteArray m_bytes;
};
