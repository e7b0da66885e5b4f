#include "ctl/requestsender.h"

#include "kilnutil/textencoding.h"
#include "service/requestmessage.h"

#include <QHostAddress>
#include <QTcpSocket>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr qsizetype maxAnswerBytes = 1024 * 1024;

std::optional<QList<int>> ParseNumbers(QByteArrayView text)
{
    QList<int> numbers;
    for (const QByteArray &word : text.toByteArray().simplified().split(' ')) {
        bool isNumber = false;
        numbers.append(word.toInt(&isNumber));
        if (!isNumber)
            return std::nullopt;
    }
    return numbers;
}
} // namespace

std::optional<Taskmill_RequestAnswer> Taskmill_RequestAnswer::Parse(QByteArrayView line)
{
    if (line.startsWith(Taskmill_RefusedReply)) {
        const QByteArrayView reason = line.sliced(Taskmill_RefusedReply.size());
        return Taskmill_RequestAnswer{.JobIDs = {},
                                      .Refusal = KilnUtil_TextEncoding::FromUtf8OrLatin1(reason)};
    }
    if (!line.startsWith(Taskmill_AcceptedReply))
        return std::nullopt;
    auto numbers = ParseNumbers(line.sliced(Taskmill_AcceptedReply.size()));
    if (!numbers)
        return std::nullopt;
    return Taskmill_RequestAnswer{.JobIDs = *std::move(numbers), .Refusal = {}};
}

Taskmill_RequestSender::Taskmill_RequestSender(quint16 port, QObject *parent)
    : QObject{parent}
    , m_port{port}
{
}

void Taskmill_RequestSender::Send(const QByteArray &message)
{
    m_bytes.clear();
    m_socket = new QTcpSocket{this};
    connect(m_socket, &QTcpSocket::readyRead, this, &Taskmill_RequestSender::ReadSlot);
    // A connection that was never made ends with an error only.
    connect(m_socket, &QTcpSocket::disconnected, this, &Taskmill_RequestSender::DisconnectedSlot);
    connect(m_socket, &QTcpSocket::errorOccurred, this, &Taskmill_RequestSender::DisconnectedSlot);
    m_socket->connectToHost(QHostAddress{QHostAddress::LocalHost}, m_port);
    m_socket->write(message);
}

void Taskmill_RequestSender::ReadSlot()
{
    if (!m_socket)
        return;
    m_bytes += m_socket->read(maxAnswerBytes - m_bytes.size());
    const qsizetype lineFeed = m_bytes.indexOf('\n');
    if (lineFeed < 0 && m_bytes.size() < maxAnswerBytes)
        return;
    const auto answer = Taskmill_RequestAnswer::Parse(QByteArrayView{m_bytes}.first(qMax(lineFeed, 0)));
    if (!answer) {
        Fail(u"the answer of the manager cannot be understood"_s);
        return;
    }
    EndConnection();
    Q_EMIT AnsweredSignal(*answer);
}

void Taskmill_RequestSender::DisconnectedSlot()
{
    // The answer and the end may come together.
    if (m_socket && m_socket->bytesAvailable() > 0)
        ReadSlot();
    if (m_socket)
        Fail(u"the manager has closed the connection without an answer"_s);
}

void Taskmill_RequestSender::Fail(const QString &reason)
{
    EndConnection();
    Q_EMIT FailedSignal(reason);
}

void Taskmill_RequestSender::EndConnection()
{
    disconnect(m_socket, nullptr, this, nullptr);
    // This may run within a signal of the socket.
    std::exchange(m_socket, nullptr)->deleteLater();
}
