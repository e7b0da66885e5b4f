// SPDX-License-Identifier: MIT
#include "ctl/managerlink.h"

#include "ctl/managerfinder.h"
#include "ctl/output.h"
#include "wire/clientkey.h"
#include "wire/protocol.h"
#include "wire/socket.h"

#include <limits>

namespace {
constexpr int waitMs = 30000;
/// A job has up to a minute to end, and what withstands is reported 5 s later.
constexpr int answerWaitMs = 90000;
} // namespace

std::optional<std::string> Taskmill_AnswerOf(const Taskmill_ManagerAddress &manager, const std::string &lines)
{
    const Taskmill_Socket socket = Taskmill_Socket::Connect(manager.Port, waitMs);
    const std::string message = Taskmill_ClientKeyLines(socket, manager.Port) + "clientname=taskmillctl\n" +
                                lines + std::string{Taskmill_WireReplyRequest};
    if (!socket.IsOpen() || !socket.Send(message, waitMs)) {
        Taskmill_PrintError("the manager does not take the request");
        return std::nullopt;
    }
    std::string answer;
    for (;;) {
        if (Taskmill_Socket::WaitForAny({socket.Get()}, answerWaitMs).empty())
            break;
        if (socket.Receive(answer, std::numeric_limits<std::size_t>::max()) == Taskmill_Socket::State::Ended)
            return answer;
    }
    Taskmill_PrintError("the manager does not answer");
    return std::nullopt;
}
