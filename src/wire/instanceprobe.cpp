// SPDX-License-Identifier: MIT
#include "wire/instanceprobe.h"

#include "wire/socket.h"

namespace {
constexpr int connectMs = 1000;
constexpr int writeMs = 30000;
} // namespace

bool Taskmill_IsManagerRunning(bool gui, std::uint16_t port)
{
    const Taskmill_Socket socket = Taskmill_Socket::Connect(port, connectMs);
    if (!socket.IsOpen())
        return false;
    (void)socket.Send(gui ? "clientname=TaskmillGUI\naction=test" : "clientname=TaskmillConsole\naction=test",
                      writeMs);
    return true;
}
