// SPDX-License-Identifier: MIT
#include "wire/peeruser.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>

#include <arpa/inet.h>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {
/// One end of a connection as the kernel knows it. Without a file (its program closed it) it mostly has no
/// owner any more, which shows as the user 0.
struct SocketOwner
{
    uid_t user = 0;
    unsigned long fileNumber = 0;
};

/// Both ends of a connection, seen from this side.
struct Ends
{
    sockaddr_in local{};
    sockaddr_in peer{};
};

std::optional<Ends> EndsOf(int socket)
{
    Ends ends;
    socklen_t localSize = sizeof ends.local;
    socklen_t peerSize = sizeof ends.peer;
    if (getsockname(socket, reinterpret_cast<sockaddr *>(&ends.local), &localSize) != 0 ||
        getpeername(socket, reinterpret_cast<sockaddr *>(&ends.peer), &peerSize) != 0 ||
        ends.local.sin_family != AF_INET)
        return std::nullopt;
    return ends;
}

Ends ListenerOf(const Ends &connection)
{
    return {.local = {}, .peer = connection.peer};
}

struct DiagRequest
{
    nlmsghdr header;
    inet_diag_req_v2 request;
};

/// Seen from the peer: its own address and port are the source. Without a destination it is the listening
/// socket that takes connections there.
DiagRequest MakeDiagRequest(const Ends &ends)
{
    DiagRequest message{};
    message.header.nlmsg_len = sizeof message;
    message.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
    message.header.nlmsg_flags = NLM_F_REQUEST;
    message.request.sdiag_family = AF_INET;
    message.request.sdiag_protocol = IPPROTO_TCP;
    message.request.idiag_states = ~0U;
    message.request.id.idiag_sport = ends.peer.sin_port;
    message.request.id.idiag_dport = ends.local.sin_port;
    message.request.id.idiag_src[0] = ends.peer.sin_addr.s_addr;
    message.request.id.idiag_dst[0] = ends.local.sin_addr.s_addr;
    message.request.id.idiag_cookie[0] = INET_DIAG_NOCOOKIE;
    message.request.id.idiag_cookie[1] = INET_DIAG_NOCOOKIE;
    return message;
}

/// Asks the kernel for the one socket, through a socket of the process that stays open. Nothing when it does
/// not answer such questions or knows no such socket; its errors do not say which.
std::optional<SocketOwner> AskKernel(const Ends &ends)
{
    static const int netlink = ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_SOCK_DIAG);
    static std::uint32_t sequenceNumber = 0;
    if (netlink < 0)
        return std::nullopt;
    DiagRequest message = MakeDiagRequest(ends);
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
    // In place of a connection that is gone the kernel names who listens on its port.
    if (found.id.idiag_dport != ends.local.sin_port)
        return std::nullopt;
    return SocketOwner{.user = found.idiag_uid, .fileNumber = found.idiag_inode};
}

/// As the table of all connections spells it.
std::string TextOf(const sockaddr_in &end)
{
    std::array<char, 16> text{};
    const int size = std::snprintf(text.data(), text.size(), "%08X:%04X", end.sin_addr.s_addr,
                                   static_cast<unsigned>(ntohs(end.sin_port)));
    return {text.data(), static_cast<std::size_t>(size)};
}

/// The same from the table of all connections, which grows long on a busy machine.
std::optional<SocketOwner> LookInTable(const Ends &ends)
{
    std::ifstream table{"/proc/net/tcp"};
    const std::string wanted = ' ' + TextOf(ends.peer) + ' ' + TextOf(ends.local) + ' ';
    for (std::string line; std::getline(table, line);) {
        if (line.find(wanted) == std::string::npos)
            continue;
        std::istringstream fields{line};
        std::string skipped;
        constexpr int fieldsBeforeUser = 7;
        for (int field = 0; field < fieldsBeforeUser; ++field)
            fields >> skipped;
        SocketOwner owner;
        fields >> owner.user >> skipped >> owner.fileNumber;
        return owner;
    }
    return std::nullopt;
}
std::optional<SocketOwner> OwnerOf(const Ends &ends)
{
    const std::optional<SocketOwner> owner = AskKernel(ends);
    return owner ? owner : LookInTable(ends);
}

Taskmill_PeerUser UserOf(const Ends &ends)
{
    const std::optional<SocketOwner> owner = OwnerOf(ends);
    if (!owner || (owner->fileNumber == 0 && owner->user == 0))
        return Taskmill_PeerUser::Unknown;
    return owner->user == getuid() ? Taskmill_PeerUser::This : Taskmill_PeerUser::Other;
}
} // namespace

Taskmill_PeerUser Taskmill_UserOfPeer(Taskmill_Socket::Handle connection)
{
    const std::optional<Ends> ends = EndsOf(static_cast<int>(connection));
    return ends ? UserOf(*ends) : Taskmill_PeerUser::Unknown;
}

std::optional<std::uint64_t> Taskmill_UserIDOfPeer(Taskmill_Socket::Handle connection)
{
    const std::optional<Ends> ends = EndsOf(static_cast<int>(connection));
    const std::optional<SocketOwner> owner = ends ? OwnerOf(*ends) : std::nullopt;
    return owner && (owner->fileNumber != 0 || owner->user != 0) ? std::optional<std::uint64_t>{owner->user}
                                                                 : std::nullopt;
}

Taskmill_PeerUser Taskmill_UserOfServer(Taskmill_Socket::Handle connection)
{
    const std::optional<Ends> ends = EndsOf(static_cast<int>(connection));
    if (!ends)
        return Taskmill_PeerUser::Unknown;
    // A connection has no owner until it is accepted.
    const Taskmill_PeerUser accepted = UserOf(*ends);
    return accepted == Taskmill_PeerUser::Unknown ? UserOf(ListenerOf(*ends)) : accepted;
}

bool Taskmill_IsServerOfThisUser(Taskmill_Socket::Handle connection)
{
    const std::optional<Ends> ends = EndsOf(static_cast<int>(connection));
    if (!ends)
        return false;
    // The connection itself has no owner until it is accepted. Somebody else who has accepted it and left the
    // port to the manager is seen, and what he has not accepted ends when he does not listen any more.
    const std::optional<SocketOwner> listener = OwnerOf(ListenerOf(*ends));
    return listener && listener->fileNumber != 0 && listener->user == getuid() &&
           UserOf(*ends) != Taskmill_PeerUser::Other;
}
