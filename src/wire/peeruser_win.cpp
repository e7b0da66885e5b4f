// SPDX-License-Identifier: MIT
#include "wire/peeruser.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <vector>

// Before windows.h, which brings an older version of it.
#include <winsock2.h>

#include "wire/processuser_win.h"

#include <iphlpapi.h>
#include <windows.h>

namespace {
struct Ends
{
    sockaddr_in local{};
    sockaddr_in peer{};
};

std::optional<Ends> EndsOf(Taskmill_Socket::Handle handle)
{
    Ends ends;
    int localSize = sizeof ends.local;
    int peerSize = sizeof ends.peer;
    const auto socket = static_cast<SOCKET>(handle);
    if (getsockname(socket, reinterpret_cast<sockaddr *>(&ends.local), &localSize) != 0 ||
        getpeername(socket, reinterpret_cast<sockaddr *>(&ends.peer), &peerSize) != 0 ||
        ends.local.sin_family != AF_INET)
        return std::nullopt;
    return ends;
}

/// The system's table of all connections and listening sockets.
std::vector<MIB_TCPROW_OWNER_PID> AllSockets()
{
    std::vector<std::byte> bytes;
    DWORD size = 0;
    DWORD status = ERROR_INSUFFICIENT_BUFFER;
    // It may grow between the two calls.
    for (int attempt = 0; attempt < 5 && status == ERROR_INSUFFICIENT_BUFFER; ++attempt) {
        bytes.resize(size);
        status = GetExtendedTcpTable(bytes.data(), &size, FALSE, AF_INET, TCP_TABLE_OWNER_PID_ALL, 0);
    }
    if (status != NO_ERROR)
        return {};
    const auto *table = reinterpret_cast<const MIB_TCPTABLE_OWNER_PID *>(bytes.data());
    return {table->table, table->table + table->dwNumEntries};
}

Taskmill_PeerUser UserOf(DWORD processID)
{
    // A connection without a process has been closed.
    if (processID == 0)
        return Taskmill_PeerUser::Unknown;
    const HANDLE process = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processID);
    if (!process)
        return GetLastError() == ERROR_ACCESS_DENIED ? Taskmill_PeerUser::Other : Taskmill_PeerUser::Unknown;
    const std::vector<std::byte> user = Taskmill_UserOfProcess(process);
    CloseHandle(process);
    if (user.empty())
        return Taskmill_PeerUser::Unknown;
    return user == Taskmill_UserOfProcess(GetCurrentProcess()) ? Taskmill_PeerUser::This
                                                               : Taskmill_PeerUser::Other;
}

Taskmill_PeerUser UserOf(const std::vector<MIB_TCPROW_OWNER_PID> &sockets, const Ends &ends)
{
    const auto found = std::ranges::find_if(sockets, [&ends](const MIB_TCPROW_OWNER_PID &row) {
        return row.dwLocalAddr == ends.peer.sin_addr.s_addr && row.dwLocalPort == ends.peer.sin_port &&
               row.dwRemoteAddr == ends.local.sin_addr.s_addr && row.dwRemotePort == ends.local.sin_port;
    });
    return found == sockets.end() ? Taskmill_PeerUser::Unknown : UserOf(found->dwOwningPid);
}
} // namespace

Taskmill_PeerUser Taskmill_UserOfPeer(Taskmill_Socket::Handle connection)
{
    const std::optional<Ends> ends = EndsOf(connection);
    return ends ? UserOf(AllSockets(), *ends) : Taskmill_PeerUser::Unknown;
}

std::optional<std::uint64_t> Taskmill_UserIDOfPeer(Taskmill_Socket::Handle)
{
    return std::nullopt;
}

Taskmill_PeerUser Taskmill_UserOfServer(Taskmill_Socket::Handle connection)
{
    const std::optional<Ends> ends = EndsOf(connection);
    if (!ends)
        return Taskmill_PeerUser::Unknown;
    const std::vector<MIB_TCPROW_OWNER_PID> sockets = AllSockets();
    const Taskmill_PeerUser accepted = UserOf(sockets, *ends);
    if (accepted != Taskmill_PeerUser::Unknown)
        return accepted;
    const auto listens = [&ends](const MIB_TCPROW_OWNER_PID &row) {
        return row.dwState == MIB_TCP_STATE_LISTEN && row.dwLocalPort == ends->peer.sin_port;
    };
    const auto first = std::ranges::find_if(sockets, listens);
    return first == sockets.end() ? Taskmill_PeerUser::Unknown : UserOf(first->dwOwningPid);
}

bool Taskmill_IsServerOfThisUser(Taskmill_Socket::Handle connection)
{
    const std::optional<Ends> ends = EndsOf(connection);
    if (!ends)
        return false;
    const std::vector<MIB_TCPROW_OWNER_PID> sockets = AllSockets();
    const auto listens = [&ends](const MIB_TCPROW_OWNER_PID &row) {
        return row.dwState == MIB_TCP_STATE_LISTEN && row.dwLocalPort == ends->peer.sin_port;
    };
    // Several may listen on the port, each on an address of its own or on all.
    const auto isThisUsers = [](const MIB_TCPROW_OWNER_PID &row) {
        return UserOf(row.dwOwningPid) == Taskmill_PeerUser::This;
    };
    const auto first = std::ranges::find_if(sockets, listens);
    return first != sockets.end() &&
           std::ranges::all_of(
               sockets, [&](const MIB_TCPROW_OWNER_PID &row) { return !listens(row) || isThisUsers(row); }) &&
           UserOf(sockets, *ends) != Taskmill_PeerUser::Other;
}
