// SPDX-License-Identifier: MIT
#include "app/secondstart.h"

#include "app/starterror.h"
#include "wire/protocol.h"
#include "wire/socket.h"

#include <string>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int connectMs = 1000;
constexpr int writeMs = 1000;
constexpr int answerMs = 3000;
constexpr std::size_t longestAnswer = 4096;

/// The connection stays open until there is an answer, so that the manager can see whose it is.
std::string AnswerTo(const std::string &message, std::uint16_t port)
{
    std::string answer;
    const Taskmill_Socket socket = Taskmill_Socket::Connect(port, connectMs);
    if (!socket.IsOpen() || !socket.Send(message, writeMs))
        return answer;
    while (answer.find('\n') == std::string::npos && answer.size() < longestAnswer &&
           !Taskmill_Socket::WaitForAny({socket.Get()}, answerMs).empty()) {
        if (socket.Receive(answer, longestAnswer) == Taskmill_Socket::State::Ended)
            break;
    }
    return answer;
}
} // namespace

void Taskmill_TurnToRunningManager(bool gui, std::uint16_t port, const QString &file)
{
    if (!file.isEmpty())
        Taskmill_PrintStartError(
            u"a manager runs already, on port %1; %2 was not opened"_s.arg(QString::number(port), file));
    if (!gui)
        return;
    const std::string answer =
        AnswerTo("clientname=TaskmillGUI\naction=show\n" + std::string{Taskmill_WireReplyRequest}, port);
    if (answer.starts_with(Taskmill_WireRefused))
        Taskmill_PrintStartError(u"its window could not be shown: %1"_s.arg(
            QString::fromStdString(answer.substr(Taskmill_WireRefused.size())).trimmed()));
}
