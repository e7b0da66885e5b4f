#include "endtoend/deafclient.h"

#include <bit>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

DeafClient::DeafClient()
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto *anyAddress = std::bit_cast<sockaddr *>(&address);
    const int server = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (bind(server, anyAddress, size) != 0 || listen(server, 0) != 0 ||
        getsockname(server, anyAddress, &size) != 0)
        qFatal("no port is free");
    m_sockets.append(server);
    m_port = ntohs(address.sin_port);
    for (int count = 0; count < 4; ++count) {
        m_sockets.append(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        // Not made at once: the first fills the queue, and the others wait in vain.
        [[maybe_unused]] const int connected = connect(m_sockets.last(), anyAddress, size);
    }
}

DeafClient::~DeafClient()
{
    for (const int descriptor : m_sockets)
        close(descriptor);
}
