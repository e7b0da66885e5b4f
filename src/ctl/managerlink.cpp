// SPDX-License-Identifier: MIT
#include "ctl/managerlink.h"

#include "ctl/managerfinder.h"
#include "ctl/output.h"
#include "wire/clientkey.h"
#include "wire/protocol.h"
#include "wire/socket.h"

#include <algorithm>
#include <limits>

namespace {
constexpr int longestWaitMs = 30000;
} // namespace

std::optional<std::string> Taskmill_AnswerOf(const Taskmill_ManagerAddress &manager, const std::string &lines,
                                             int waitMs)
{
    const int sendMs = std::min(waitMs, longestWaitMs);
    const Taskmill_Socket socket = Taskmill_Socket::Connect(manager.Port, sendMs);
    const std::string message = Taskmill_ClientKeyLines(socket, manager.Port) + "clientname=taskmillctl\n" +
                                lines + std::string{Taskmill_WireReplyRequest};
    if (!socket.IsOpen() || !socket.Send(message, sendMs)) {
        Taskmill_PrintError("the manager does not take the request");
        return std::nullopt;
    }
    std::string answer;
    for (;;) {
        if (Taskmill_Socket::WaitForAny({socket.Get()}, waitMs).empty())
            break;
        if (socket.Receive(answer, std::numeric_limits<std::size_t>::max()) == Taskmill_Socket::State::Ended)
            return answer;
    }
    Taskmill_PrintError("the manager does not answer");
    return std::nullopt;
}
