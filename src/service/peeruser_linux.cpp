#include "service/peeruser.h"

#include <QFile>
#include <QHostAddress>
#include <QTcpSocket>

#include <array>
#include <cstdint>
#include <cstring>
#include <optional>

#include <arpa/inet.h>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {
/// One end of a connection as the kernel knows it. Without a file (its program closed it) it has no owner.
struct SocketOwner
{
    uid_t user = 0;
    unsigned long fileNumber = 0;
};

struct DiagRequest
{
    nlmsghdr header;
    inet_diag_req_v2 request;
};

/// Seen from the peer: its own address and port are the source.
DiagRequest MakeDiagRequest(const QTcpSocket &socket)
{
    DiagRequest message{};
    message.header.nlmsg_len = sizeof message;
    message.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
    message.header.nlmsg_flags = NLM_F_REQUEST;
    message.request.sdiag_family = AF_INET;
    message.request.sdiag_protocol = IPPROTO_TCP;
    message.request.idiag_states = ~0U;
    message.request.id.idiag_sport = htons(socket.peerPort());
    message.request.id.idiag_dport = htons(socket.localPort());
    message.request.id.idiag_src[0] = htonl(socket.peerAddress().toIPv4Address());
    message.request.id.idiag_dst[0] = htonl(socket.localAddress().toIPv4Address());
    message.request.id.idiag_cookie[0] = INET_DIAG_NOCOOKIE;
    message.request.id.idiag_cookie[1] = INET_DIAG_NOCOOKIE;
    return message;
}

/// Asks the kernel for the one socket, through a socket of the process that stays open. Nothing when it does
/// not answer such questions or knows no such socket; its errors do not tell which.
std::optional<SocketOwner> AskKernel(const QTcpSocket &socket)
{
    static const int netlink = ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_SOCK_DIAG);
    static std::uint32_t sequenceNumber = 0;
    if (netlink < 0)
        return std::nullopt;
    DiagRequest message = MakeDiagRequest(socket);
    message.header.nlmsg_seq = ++sequenceNumber;
    if (send(netlink, &message, sizeof message, 0) != static_cast<ssize_t>(sizeof message))
        return std::nullopt;
    alignas(nlmsghdr) std::array<char, 4096> answer{};
    nlmsghdr header{};
    // An answer that was not read in time belongs to an earlier question.
    do {
        const ssize_t size = recv(netlink, answer.data(), answer.size(), 0);
        if (size < static_cast<ssize_t>(sizeof header))
            return std::nullopt;
        std::memcpy(&header, answer.data(), sizeof header);
    } while (header.nlmsg_seq != sequenceNumber);
    if (header.nlmsg_type == NLMSG_ERROR)
        return std::nullopt;
    inet_diag_msg found{};
    std::memcpy(&found, answer.data() + NLMSG_HDRLEN, sizeof found);
    return SocketOwner{.user = found.idiag_uid, .fileNumber = found.idiag_inode};
}

/// The same from the table of all connections, which grows long on a busy machine.
std::optional<SocketOwner> LookInTable(const QTcpSocket &socket)
{
    QFile table{QStringLiteral("/proc/net/tcp")};
    if (!table.open(QIODevice::ReadOnly))
        return std::nullopt;
    const auto hexAddress = [](const QHostAddress &address, quint16 port) {
        return QByteArray::number(htonl(address.toIPv4Address()), 16).rightJustified(8, '0').toUpper() + ':' +
               QByteArray::number(port, 16).rightJustified(4, '0').toUpper();
    };
    const QByteArray ends = ' ' + hexAddress(socket.peerAddress(), socket.peerPort()) + ' ' +
                            hexAddress(socket.localAddress(), socket.localPort()) + ' ';
    constexpr int userField = 7;
    constexpr int fileField = 9;
    const QList<QByteArray> lines = table.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (!line.contains(ends))
            continue;
        const QList<QByteArray> fields = line.simplified().split(' ');
        return SocketOwner{.user = fields.value(userField).toUInt(),
                           .fileNumber = fields.value(fileField).toULong()};
    }
    return std::nullopt;
}
} // namespace

bool Taskmill_IsOtherUser(const QTcpSocket &socket)
{
    std::optional<SocketOwner> owner = AskKernel(socket);
    if (!owner)
        owner = LookInTable(socket);
    return owner && owner->fileNumber != 0 && owner->user != getuid();
}
