#include "ctl/submission.h"

#include "ctl/output.h"
#include "ctl/platform.h"
#include "wire/clientkey.h"
#include "wire/instanceprobe.h"
#include "wire/protocol.h"
#include "wire/utf8.h"

#include <charconv>
#include <iterator>
#include <optional>
#include <utility>

namespace {
constexpr int connectMs = 30000;
constexpr int sendMs = 30000;
constexpr int forEver = -1;
constexpr std::chrono::milliseconds probeInterval{2000}; ///< between looks after a manager that is waited for
constexpr std::size_t longestAnswer = 1'048'576;

std::string ClientAppName(std::size_t index)
{
    // The notification holds no job number; this name tells to which request it belongs.
    return "taskmillctl-" + std::to_string(Taskmill_CtlPlatform::ProcessID()) + '-' +
           std::to_string(index + 1);
}

/// The numbers between the blanks; nothing when one of them is none, or there is none at all.
std::optional<std::vector<std::string>> Numbers(std::string_view text)
{
    std::vector<std::string> numbers;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(' '), text.size());
        const std::string_view word = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (word.empty())
            continue;
        int number = 0;
        const auto [stop, error] = std::from_chars(word.data(), word.data() + word.size(), number);
        if (error != std::errc{} || stop != word.data() + word.size())
            return std::nullopt;
        numbers.push_back(std::to_string(number));
    }
    return numbers.empty() ? std::nullopt : std::optional{numbers};
}

std::string Joined(const std::vector<std::string> &texts)
{
    std::string joined;
    for (const std::string &text : texts)
        joined += (joined.empty() ? "" : ",") + text;
    return joined;
}
} // namespace

Taskmill_Submission::Taskmill_Submission(Taskmill_SubmitOptions options,
                                         const Taskmill_ManagerAddress &manager)
    : m_options{std::move(options)}
    , m_manager{manager}
{
}

Taskmill_CtlStatus Taskmill_Submission::Run()
{
    if (m_options.Wait && !m_notifications.Listen()) {
        Taskmill_PrintError("no port is free to wait on; nothing was submitted");
        return Taskmill_CtlStatus::NoManager;
    }
    while (m_requests.size() < m_options.Files.size()) {
        const bool isAnswered = SubmitNext();
        for (const Taskmill_CtlNotification &notification : std::exchange(m_early, {}))
            TakeNotification(notification);
        if (!isAnswered)
            return m_status;
    }
    if (m_options.Wait)
        WaitForJobs();
    return m_status;
}

std::string Taskmill_Submission::Message() const
{
    const std::size_t index = m_requests.size() - 1;
    std::string message = "clientname=taskmillctl\nclientappname=" + ClientAppName(index) +
                          "\nclientuid=" + std::to_string(Taskmill_CtlPlatform::UserID()) +
                          "\nclientgid=" + std::to_string(Taskmill_CtlPlatform::GroupID()) + '\n';
    if (m_options.Wait)
        message += "clientaddress=127.0.0.1\nclientport=" + std::to_string(m_notifications.Port()) +
                   "\nclientnotification=1\n";
    message += "action=submitjob\n" + m_options.Lines + "jobinputfile=" + m_options.Files[index].Path + '\n';
    return message.append(Taskmill_WireReplyRequest);
}

/// Each request has a connection of its own.
bool Taskmill_Submission::SubmitNext()
{
    m_requests.emplace_back();
    const Taskmill_Socket socket = Taskmill_Socket::Connect(m_manager.Port, connectMs);
    std::string answer;
    if (socket.IsOpen() && socket.Send(Taskmill_ClientKeyLines(socket, m_manager.Port) + Message(), sendMs))
        answer = AnswerOf(socket);
    const std::size_t lineFeed = answer.find('\n');
    if (lineFeed == std::string::npos && answer.size() < longestAnswer) {
        Fail("the manager has closed the connection without an answer");
        return false;
    }
    if (!TakeAnswer(std::string_view{answer}.substr(0, lineFeed))) {
        Fail("the answer of the manager cannot be understood");
        return false;
    }
    return true;
}

/// What came before the connection ended, or up to a line feed at least. That may take as long as the user
/// looks at a dialog of the manager, so nothing but the end of the connection ends the wait.
std::string Taskmill_Submission::AnswerOf(const Taskmill_Socket &socket)
{
    std::string answer;
    for (;;) {
        std::vector<Taskmill_Socket::Handle> handles = m_notifications.Handles();
        handles.push_back(socket.Get());
        (void)Taskmill_Socket::WaitForAny(handles, forEver);
        const auto state = socket.Receive(answer, longestAnswer);
        if (state == Taskmill_Socket::State::Ended || answer.size() == longestAnswer ||
            answer.find('\n') != std::string::npos)
            return answer;
        std::ranges::move(m_notifications.Take(), std::back_inserter(m_early));
    }
}

bool Taskmill_Submission::TakeAnswer(std::string_view line)
{
    const Taskmill_SubmitOptions::InputFile &file = m_options.Files[m_requests.size() - 1];
    std::map<std::string, std::string> result{{"file", Taskmill_JsonText(file.Path)}};
    if (line.starts_with(Taskmill_WireRefused)) {
        const std::string reason = Taskmill_Utf8FromAny(line.substr(Taskmill_WireRefused.size()));
        Note(Taskmill_CtlStatus::Refused);
        result["refused"] = Taskmill_JsonText(reason);
        if (!m_options.Json)
            Taskmill_PrintError(file.Given + " was refused: " + reason);
    } else {
        const auto jobIDs = line.starts_with(Taskmill_WireAccepted)
                                ? Numbers(line.substr(Taskmill_WireAccepted.size()))
                                : std::nullopt;
        if (!jobIDs)
            return false;
        m_requests.back().Accepted = jobIDs->size();
        result["accepted"] = '[' + Joined(*jobIDs) + ']';
        for (const std::string &jobID : *jobIDs) {
            if (!m_options.Json)
                Taskmill_PrintLine("Job " + jobID + ": " + file.Given);
        }
    }
    if (m_options.Json)
        Taskmill_PrintLine(Taskmill_JsonObject(result));
    return true;
}

void Taskmill_Submission::WaitForJobs()
{
    using Clock = std::chrono::steady_clock;
    auto nextProbe = Clock::now() + probeInterval;
    while (!AllEnded()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(nextProbe - Clock::now()).count();
        (void)Taskmill_Socket::WaitForAny(m_notifications.Handles(), std::max(static_cast<int>(left), 0));
        TakeNotifications();
        if (Clock::now() < nextProbe)
            continue;
        if (ManagerHasEnded()) {
            Taskmill_PrintError("the manager has ended before all jobs have");
            Note(Taskmill_CtlStatus::NoManager);
            return;
        }
        nextProbe = Clock::now() + probeInterval;
    }
}

/// A manager that ends tells of the jobs it kills at the last moment: what it sent is read before the second
/// probe.
bool Taskmill_Submission::ManagerHasEnded()
{
    m_failedProbes = Taskmill_IsManagerRunning(m_manager.Gui, m_manager.Port) ? 0 : m_failedProbes + 1;
    return m_failedProbes == 2;
}

bool Taskmill_Submission::AllEnded() const
{
    return std::ranges::all_of(m_requests,
                               [](const Request &request) { return request.Notified >= request.Accepted; });
}

void Taskmill_Submission::TakeNotifications()
{
    std::ranges::for_each(m_notifications.Take(), [this](const auto &told) { TakeNotification(told); });
}

void Taskmill_Submission::TakeNotification(const Taskmill_CtlNotification &notification)
{
    const std::string clientAppName = notification.Value("clientappname");
    for (std::size_t index = 0; index < m_requests.size(); ++index) {
        if (ClientAppName(index) != clientAppName)
            continue;
        ++m_requests[index].Notified;
        if (notification.Value("jobstatus") != "completed")
            Note(Taskmill_CtlStatus::JobNotCompleted);
        PrintNotification(index, notification);
    }
}

void Taskmill_Submission::PrintNotification(std::size_t index,
                                            const Taskmill_CtlNotification &notification) const
{
    if (!m_options.Json) {
        Taskmill_PrintLine(notification.Text);
        return;
    }
    std::map<std::string, std::string> values;
    for (const auto &[key, value] : notification.Values)
        values[key] = Taskmill_JsonText(value);
    Taskmill_PrintLine(Taskmill_JsonObject({{"file", Taskmill_JsonText(m_options.Files[index].Path)},
                                            {"notification", Taskmill_JsonObject(values)}}));
}

void Taskmill_Submission::Fail(const std::string &reason)
{
    const std::size_t failed = m_requests.size() - 1;
    Taskmill_PrintError(m_options.Files[failed].Given + ": " + reason);
    for (std::size_t index = failed + 1; index < m_options.Files.size(); ++index)
        Taskmill_PrintError(m_options.Files[index].Given + " was not submitted");
    Note(Taskmill_CtlStatus::NoManager);
}
