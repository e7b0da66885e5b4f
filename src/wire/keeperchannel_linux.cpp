// SPDX-License-Identifier: MIT
#include "wire/keeperchannel.h"

#include <array>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {
/// Longer ones do not fit into the system's buffer for one message everywhere.
constexpr std::size_t longestDirectMessage = 48UL * 1024;
/// More than the system takes as arguments and environment of a program.
constexpr off_t longestMessage = 16L * 1024 * 1024;
constexpr std::size_t mostFiles = 4;
/// Stands in place of a long message, which is the last of the files then.
constexpr std::string_view longMessage = "long";

void CloseAll(std::vector<int> &files)
{
    for (const int file : files)
        close(file);
    files.clear();
}

bool SendBytes(int socket, std::string_view bytes, const std::vector<int> &files, int waitMs)
{
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int) * mostFiles)> control{};
    iovec part{const_cast<char *>(bytes.data()), bytes.size()};
    msghdr header{};
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    if (!files.empty()) {
        header.msg_control = control.data();
        header.msg_controllen = CMSG_SPACE(sizeof(int) * files.size());
        cmsghdr *rights = CMSG_FIRSTHDR(&header);
        rights->cmsg_level = SOL_SOCKET;
        rights->cmsg_type = SCM_RIGHTS;
        rights->cmsg_len = CMSG_LEN(sizeof(int) * files.size());
        std::memcpy(CMSG_DATA(rights), files.data(), sizeof(int) * files.size());
    }
    for (;;) {
        const ssize_t size = sendmsg(socket, &header, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (size >= 0 || (errno != EAGAIN && errno != EINTR))
            return size == static_cast<ssize_t>(bytes.size());
        pollfd wait{.fd = socket, .events = POLLOUT, .revents = 0};
        if (poll(&wait, 1, waitMs) == 0)
            return false;
    }
}

void TakeFiles(msghdr &header, std::vector<int> &files)
{
    for (cmsghdr *one = CMSG_FIRSTHDR(&header); one; one = CMSG_NXTHDR(&header, one)) {
        if (one->cmsg_level != SOL_SOCKET || one->cmsg_type != SCM_RIGHTS)
            continue;
        const std::size_t count = (one->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        const std::size_t before = files.size();
        files.resize(before + count);
        std::memcpy(files.data() + before, CMSG_DATA(one), count * sizeof(int));
    }
}

int MemoryOf(const std::string &bytes)
{
    const int memory = memfd_create("message", MFD_CLOEXEC);
    if (memory < 0)
        return -1;
    for (std::size_t written = 0; written < bytes.size();) {
        const ssize_t count = write(memory, bytes.data() + written, bytes.size() - written);
        if (count <= 0) {
            close(memory);
            return -1;
        }
        written += static_cast<std::size_t>(count);
    }
    return memory;
}

std::string ReadMemory(std::vector<int> &files)
{
    std::string bytes;
    struct stat status
    {
    };
    if (files.empty())
        return bytes;
    const int memory = files.back();
    files.pop_back();
    if (fstat(memory, &status) == 0 && S_ISREG(status.st_mode) && status.st_size <= longestMessage) {
        bytes.resize(static_cast<std::size_t>(status.st_size));
        if (pread(memory, bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
            bytes.clear();
    }
    close(memory);
    return bytes;
}

/// An address has room for 107 characters, so a folder stands there by its number.
std::optional<sockaddr_un> AddressOf(int folder, const std::string &runID)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = "/proc/self/fd/" + std::to_string(folder) + "/socket/" + runID;
    if (path.size() >= sizeof address.sun_path)
        return std::nullopt;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return address;
}

bool IsOwnPeer(int socket)
{
    ucred peer{};
    socklen_t size = sizeof peer;
    return getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 &&
           (peer.uid == geteuid() || peer.uid == 0);
}

Taskmill_KeeperChannel NewSocket()
{
    return Taskmill_KeeperChannel{socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0)};
}

int Descriptor(const Taskmill_KeeperChannel &channel)
{
    return static_cast<int>(channel.Get());
}

int OpenFolder(const std::string &path)
{
    return open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
}

Taskmill_KeeperChannel ListenIn(int folder, const std::string &runID)
{
    const std::optional<sockaddr_un> address = AddressOf(folder, runID);
    Taskmill_KeeperChannel channel = NewSocket();
    if (!address || !channel.IsOpen())
        return {};
    unlinkat(folder, ("socket/" + runID).c_str(), 0);
    // The folder is the user's alone, so the rights of the socket itself do not matter.
    if (bind(Descriptor(channel), reinterpret_cast<const sockaddr *>(&*address), sizeof *address) != 0 ||
        listen(Descriptor(channel), 4) != 0 || fcntl(Descriptor(channel), F_SETFL, O_NONBLOCK) != 0)
        return {};
    return channel;
}

Taskmill_KeeperChannel ConnectIn(int folder, const std::string &runID)
{
    const std::optional<sockaddr_un> address = AddressOf(folder, runID);
    Taskmill_KeeperChannel channel = NewSocket();
    // Not blocking, as connecting would wait for a keeper whose queue is full.
    if (!address || !channel.IsOpen() || fcntl(Descriptor(channel), F_SETFL, O_NONBLOCK) != 0 ||
        connect(Descriptor(channel), reinterpret_cast<const sockaddr *>(&*address), sizeof *address) != 0 ||
        !IsOwnPeer(Descriptor(channel)))
        return {};
    return channel;
}
} // namespace

void Taskmill_KeeperChannel::Close()
{
    if (IsOpen())
        close(static_cast<int>(Release()));
}

Taskmill_KeeperChannel::Handle Taskmill_KeeperChannel::Get() const
{
    return m_handle;
}

std::pair<Taskmill_KeeperChannel, Taskmill_KeeperChannel> Taskmill_KeeperChannel::MakePair()
{
    std::array<int, 2> ends{-1, -1};
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0)
        return {};
    return {Taskmill_KeeperChannel{ends[0]}, Taskmill_KeeperChannel{ends[1]}};
}

Taskmill_KeeperChannel Taskmill_KeeperChannel::Listen(const std::string &runFolder, const std::string &runID)
{
    const int folder = OpenFolder(runFolder);
    Taskmill_KeeperChannel channel = ListenIn(folder, runID);
    close(folder);
    return channel;
}

void Taskmill_KeeperChannel::StopListening(const std::string &runFolder, const std::string &runID)
{
    unlink((runFolder + "/socket/" + runID).c_str());
}

Taskmill_KeeperChannel Taskmill_KeeperChannel::Connect(const std::string &runFolder, const std::string &runID)
{
    const int folder = OpenFolder(runFolder);
    Taskmill_KeeperChannel channel = ConnectIn(folder, runID);
    close(folder);
    return channel;
}

Taskmill_KeeperChannel Taskmill_KeeperChannel::Accept() const
{
    Taskmill_KeeperChannel channel{accept4(static_cast<int>(m_handle), nullptr, nullptr, SOCK_CLOEXEC)};
    if (channel.IsOpen() && !IsOwnPeer(Descriptor(channel)))
        channel.Close();
    return channel;
}

bool Taskmill_KeeperChannel::IsListening() const
{
    return IsOpen();
}

bool Taskmill_KeeperChannel::Send(const Taskmill_KeeperMessage &message, const std::vector<int> &files,
                                  int waitMs) const
{
    if (message.Bytes().size() <= longestDirectMessage)
        return SendBytes(static_cast<int>(m_handle), message.Bytes(), files, waitMs);
    const int memory = MemoryOf(message.Bytes());
    if (memory < 0)
        return false;
    std::vector<int> all = files;
    all.push_back(memory);
    const bool isSent = SendBytes(static_cast<int>(m_handle), longMessage, all, waitMs);
    close(memory);
    return isSent;
}

Taskmill_KeeperChannel::State Taskmill_KeeperChannel::Receive(std::optional<Taskmill_KeeperMessage> &message,
                                                              std::vector<int> *files) const
{
    message.reset();
    std::array<char, longestDirectMessage> bytes; // not cleared: most messages are short
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int) * mostFiles)> control{};
    iovec part{bytes.data(), bytes.size()};
    msghdr header{};
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    header.msg_control = control.data();
    header.msg_controllen = control.size();
    ssize_t size = 0;
    // A keeper that ends without having read everything resets the connection, but what it sent is there.
    do
        size = recvmsg(static_cast<int>(m_handle), &header, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
    while (size < 0 && (errno == EINTR || errno == ECONNRESET));
    if (size < 0)
        return errno == EAGAIN ? State::Open : State::Ended;
    if (size == 0)
        return State::Ended;
    std::vector<int> received;
    TakeFiles(header, received);
    std::string text{bytes.data(), static_cast<std::size_t>(size)};
    message = Taskmill_KeeperMessage::FromBytes(text == longMessage ? ReadMemory(received) : std::move(text));
    if (files && message)
        *files = std::move(received);
    else
        CloseAll(received);
    return State::Open;
}

Taskmill_KeeperChannel::State
Taskmill_KeeperChannel::ReceiveWithin(int waitMs, std::optional<Taskmill_KeeperMessage> &message) const
{
    pollfd wait{.fd = static_cast<int>(m_handle), .events = POLLIN, .revents = 0};
    while (poll(&wait, 1, waitMs) < 0 && errno == EINTR) {
    }
    return Receive(message);
}
