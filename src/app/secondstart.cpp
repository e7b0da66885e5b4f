// SPDX-License-Identifier: MIT
#include "app/secondstart.h"

#include "app/starterror.h"
#include "app/startoptions.h"
#include "wire/clientkey.h"
#include "wire/protocol.h"
#include "wire/socket.h"

#include <QFileInfo>

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
    const std::string whole = Taskmill_ClientKeyLines(socket, port) + "clientname=TaskmillGUI\n" + message +
                              std::string{Taskmill_WireReplyRequest};
    if (!socket.IsOpen() || !socket.Send(whole, writeMs))
        return answer;
    while (answer.find('\n') == std::string::npos && answer.size() < longestAnswer &&
           !Taskmill_Socket::WaitForAny({socket.Get()}, answerMs).empty()) {
        if (socket.Receive(answer, longestAnswer) == Taskmill_Socket::State::Ended)
            break;
    }
    return answer;
}

QString ReasonIn(const std::string &answer)
{
    return answer.starts_with(Taskmill_WireRefused)
               ? QString::fromStdString(answer.substr(Taskmill_WireRefused.size())).trimmed()
               : u"it does not answer"_s;
}

void ReportUnopened(const QString &file, std::uint16_t port, const QString &reason)
{
    QString text =
        u"a manager runs already, on port %1; %2 was not opened"_s.arg(QString::number(port), file);
    if (!reason.isEmpty())
        text += u": "_s + reason;
    Taskmill_PrintStartError(text);
}

/// False when the manager does not offer the file to its user.
bool OfferFile(const QString &file, std::uint16_t port)
{
    const QString path = QFileInfo{file}.absoluteFilePath();
    QString reason = u"its name has a line break"_s;
    if (!path.contains(u'\n')) {
        const std::string answer = AnswerTo(
            "action=openproject\n" + std::string{Taskmill_WireProjectFile} + path.toStdString() + '\n', port);
        if (answer.starts_with(Taskmill_WireAccepted))
            return true;
        reason = ReasonIn(answer);
    }
    ReportUnopened(file, port, reason);
    return false;
}
} // namespace

void Taskmill_TurnToRunningManager(const Taskmill_StartOptions &options, std::uint16_t port,
                                   const QString &file)
{
    if (!Taskmill_IsGuiMode()) {
        if (!file.isEmpty())
            ReportUnopened(file, port, {});
        return;
    }
    if (!file.isEmpty() && OfferFile(file, port))
        return;
    if (options.AtLogin)
        return;
    std::string request = "action=show\n";
    if (options.SubmitsJobs)
        request.append(Taskmill_WireChoosesFiles).append("\n");
    const std::string answer = AnswerTo(request, port);
    if (answer.starts_with(Taskmill_WireRefused))
        Taskmill_PrintStartError(u"its window could not be shown: %1"_s.arg(ReasonIn(answer)));
}
