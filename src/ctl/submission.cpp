// SPDX-License-Identifier: MIT
#include "ctl/submission.h"

#include "ctl/output.h"
#include "ctl/platform.h"
#include "wire/clientkey.h"
#include "wire/instanceprobe.h"
#include "wire/protocol.h"

#include <charconv>
#include <iterator>
#include <optional>
#include <system_error>
#include <utility>

namespace {
constexpr std::chrono::seconds connectWait{30};
constexpr std::chrono::seconds sendWait{30};
constexpr std::chrono::seconds quietWait{1}; ///< for an answer, before the user is shown what is waited for
constexpr std::chrono::seconds restWait{2};  ///< for the lines behind the first one of an answer
constexpr std::chrono::hours longest{24};    ///< then one looks again
constexpr std::chrono::milliseconds probeInterval{2000}; ///< between looks after a manager that is waited for
constexpr std::size_t longestAnswer = 1'048'576;
const std::string resultKey{Taskmill_WireJobResult.substr(0, Taskmill_WireJobResult.size() - 1)};

// The notification holds no job number; this name shows to which request it belongs.
std::string ClientAppNamePrefix()
{
    return "taskmillctl-" + std::to_string(Taskmill_CtlPlatform::ProcessID()) + '-';
}
std::string ClientAppName(std::size_t index)
{
    return ClientAppNamePrefix() + std::to_string(index + 1);
}
/// The index of the request with that name; nothing for the name of another client.
std::optional<std::size_t> RequestOfName(std::string_view name)
{
    const std::string prefix = ClientAppNamePrefix();
    if (!name.starts_with(prefix))
        return std::nullopt;
    std::size_t number = 0;
    name.remove_prefix(prefix.size());
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
    const bool isNumber = error == std::errc{} && end == name.data() + name.size() && number > 0;
    return isNumber ? std::optional{number - 1} : std::nullopt;
}

std::string JsonOf(const Taskmill_CtlJob &job)
{
    return Taskmill_JsonObject({{"id", job.Number},
                                {"jobtypename", Taskmill_JsonText(job.TypeName)},
                                {"jobqueue", Taskmill_JsonText(job.Queue)},
                                {"jobinputfile", Taskmill_JsonText(job.InputFile)},
                                {"queuepaused", job.IsPaused ? "true" : "false"}});
}

/// The texts that the function makes of the jobs, with commas between them.
std::string Joined(const std::vector<Taskmill_CtlJob> &jobs, const auto &textOf)
{
    std::string joined;
    for (const Taskmill_CtlJob &job : jobs)
        joined += (joined.empty() ? "" : ",") + textOf(job);
    return joined;
}

/// The job of the request that the notification is about; nullptr when that cannot be known.
Taskmill_CtlJob *EndedJob(std::vector<Taskmill_CtlJob> &jobs, const std::string &inputFile)
{
    const auto isIt = [&](const Taskmill_CtlJob &job) {
        return !job.HasEnded && (jobs.size() == 1 || job.InputFile == inputFile);
    };
    const auto job = std::ranges::find_if(jobs, isIt);
    return job == jobs.end() ? nullptr : &*job;
}

/// Such as "failed, exit code 1".
std::string EndText(const Taskmill_CtlNotification &notification)
{
    const std::string status = notification.Value("jobstatus");
    const std::string exitCode = notification.Value("jobexitcode");
    // A program that was killed did not choose its exit code.
    const bool hasExitCode = status != "killed" && !exitCode.empty() && exitCode != "0";
    const std::string end = hasExitCode ? status + ", exit code " + exitCode : status;
    const std::string result = notification.Value(resultKey);
    return result.empty() ? end : end + "; result: " + result;
}

/// Whether the job has succeeded, by its result where that was asked for. An output of no known program has
/// none: then the status decides.
bool HasSucceeded(const Taskmill_CtlNotification &notification)
{
    const std::string result = notification.Value(resultKey);
    return notification.Value("jobstatus") == "completed" &&
           (result.empty() || result == "normal" || result == "none");
}
} // namespace

Taskmill_Submission::Taskmill_Submission(Taskmill_SubmitOptions options,
                                         const Taskmill_ManagerAddress &manager)
    : m_options{std::move(options)}
    , m_manager{manager}
{
    if (m_options.Timeout)
        m_deadline = Clock::now() + *m_options.Timeout;
}

int Taskmill_Submission::MillisecondsUntil(Clock::time_point point) const
{
    const auto left = std::min(point, m_deadline.value_or(point)) - Clock::now();
    return static_cast<int>(
        std::max<Clock::rep>(std::chrono::ceil<std::chrono::milliseconds>(left).count(), 0));
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
    if (m_options.Wait && m_options.Result)
        message.append(Taskmill_WireClientResult).append("\n");
    message += "action=submitjob\n" + m_options.Lines + "jobinputfile=" + m_options.Files[index].Path + '\n';
    return message.append(Taskmill_WireDetailedReply).append("\n").append(Taskmill_WireReplyRequest);
}

/// Each request has a connection of its own.
bool Taskmill_Submission::SubmitNext()
{
    m_requests.emplace_back();
    const Taskmill_Socket socket =
        Taskmill_Socket::Connect(m_manager.Port, MillisecondsUntil(Clock::now() + connectWait));
    std::string answer;
    if (socket.IsOpen() && socket.Send(Taskmill_ClientKeyLines(socket, m_manager.Port) + Message(),
                                       MillisecondsUntil(Clock::now() + sendWait)))
        answer = AnswerOf(socket);
    if (answer.find('\n') == std::string::npos && answer.size() < longestAnswer) {
        if (HasTimedOut())
            Fail("the manager has not answered in time; it may still make a job of the file",
                 Taskmill_CtlStatus::TimedOut);
        else
            Fail("the manager has closed the connection without an answer", Taskmill_CtlStatus::NoManager);
        return false;
    }
    if (!TakeAnswer(answer)) {
        Fail("the answer of the manager cannot be understood", Taskmill_CtlStatus::NoManager);
        return false;
    }
    return true;
}

/// What came before the connection ended. That may take as long as the user looks at a dialog of the manager,
/// so nothing but the end of the connection, or the time that was granted, ends the wait for the first line.
std::string Taskmill_Submission::AnswerOf(const Taskmill_Socket &socket)
{
    std::string answer;
    auto next = Clock::now() + quietWait;
    bool isExplained = false;
    for (;;) {
        std::vector<Taskmill_Socket::Handle> handles = m_notifications.Handles();
        handles.push_back(socket.Get());
        (void)Taskmill_Socket::WaitForAny(handles, MillisecondsUntil(next));
        const std::size_t size = answer.size();
        const auto state = socket.Receive(answer, longestAnswer);
        if (state == Taskmill_Socket::State::Ended || answer.size() == longestAnswer || HasTimedOut())
            return answer;
        std::ranges::move(m_notifications.Take(), std::back_inserter(m_early));
        const bool isAnswered = answer.find('\n') != std::string::npos;
        if (isAnswered && answer.size() > size)
            next = Clock::now() + restWait;
        if (Clock::now() < next)
            continue;
        if (isAnswered)
            return answer;
        if (!std::exchange(isExplained, true))
            SayWhatIsWaitedFor();
        next = Clock::now() + longest;
    }
}

void Taskmill_Submission::SayWhatIsWaitedFor() const
{
    std::string text = m_options.Files[m_requests.size() - 1].Given + ": waiting for the manager, ";
    if (m_options.Confirm)
        text += "whose user is to confirm the job";
    else if (m_options.JobType.empty())
        text += "which may be asking its user for the job type; --type NAME submits without a question";
    else
        text += "which is busy, perhaps with a question to its user";
    Taskmill_PrintError(text);
}

bool Taskmill_Submission::TakeAnswer(const std::string &text)
{
    const Taskmill_SubmitOptions::InputFile &file = m_options.Files[m_requests.size() - 1];
    auto answer = Taskmill_CtlAnswer::Parse(text);
    if (!answer)
        return false;
    if (!answer->Refusal) {
        PrintAccepted(file, answer->Jobs);
        m_requests.back().Jobs = std::move(answer->Jobs);
        SayWhatIsPaused();
        return true;
    }
    Note(Taskmill_CtlStatus::Refused);
    if (m_options.Json)
        Taskmill_PrintLine(Taskmill_JsonObject(
            {{"file", Taskmill_JsonText(file.Path)}, {"refused", Taskmill_JsonText(*answer->Refusal)}}));
    else
        Taskmill_PrintError(file.Given + " was refused: " + *answer->Refusal);
    return true;
}

void Taskmill_Submission::PrintAccepted(const Taskmill_SubmitOptions::InputFile &file,
                                        const std::vector<Taskmill_CtlJob> &jobs) const
{
    if (m_options.Json) {
        std::map<std::string, std::string> result{
            {"file", Taskmill_JsonText(file.Path)},
            {"accepted", '[' + Joined(jobs, [](const auto &job) { return job.Number; }) + ']'}};
        // Managers of earlier versions give nothing but numbers.
        if (!jobs.front().TypeName.empty())
            result["jobs"] = '[' + Joined(jobs, JsonOf) + ']';
        Taskmill_PrintLine(Taskmill_JsonObject(result));
        return;
    }
    for (const Taskmill_CtlJob &job : jobs) {
        // A user who has named the job type does not need to read it.
        const bool namesType = m_options.JobType.empty() && !job.TypeName.empty();
        Taskmill_PrintLine("Job " + job.Number + ": " + file.Given +
                           (namesType ? " (" + job.TypeName + ')' : ""));
    }
}

void Taskmill_Submission::SayWhatIsPaused()
{
    if (!m_options.Wait)
        return;
    for (const Taskmill_CtlJob &job : m_requests.back().Jobs) {
        if (job.IsPaused && m_pausedQueues.insert(job.Queue).second)
            Taskmill_PrintError("the queue of " + job.Queue + " jobs is paused: job " + job.Number +
                                " waits until somebody unpauses it in the manager");
    }
}

void Taskmill_Submission::WaitForJobs()
{
    auto nextProbe = Clock::now() + probeInterval;
    while (!AllEnded()) {
        (void)Taskmill_Socket::WaitForAny(m_notifications.Handles(), MillisecondsUntil(nextProbe));
        TakeNotifications();
        if (HasTimedOut() && !AllEnded()) {
            FailWaiting();
            return;
        }
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

/// A manager that ends reports the jobs it kills at the last moment: what it sent is read before the second
/// probe.
bool Taskmill_Submission::ManagerHasEnded()
{
    m_failedProbes = Taskmill_IsManagerRunning(m_manager.Gui, m_manager.Port) ? 0 : m_failedProbes + 1;
    return m_failedProbes == 2;
}

bool Taskmill_Submission::AllEnded() const
{
    return std::ranges::all_of(
        m_requests, [](const Request &request) { return request.Notified >= request.Jobs.size(); });
}

void Taskmill_Submission::TakeNotifications()
{
    std::ranges::for_each(m_notifications.Take(),
                          [this](const auto &notification) { TakeNotification(notification); });
}

void Taskmill_Submission::TakeNotification(const Taskmill_CtlNotification &notification)
{
    const std::optional<std::size_t> index = RequestOfName(notification.Value("clientappname"));
    if (!index || *index >= m_requests.size())
        return;
    Request &request = m_requests[*index];
    ++request.Notified;
    if (!HasSucceeded(notification))
        Note(Taskmill_CtlStatus::JobNotCompleted);
    Taskmill_CtlJob *job = EndedJob(request.Jobs, notification.Value("jobinputfile"));
    if (job)
        job->HasEnded = true;
    PrintNotification(*index, job ? job->Number : "", notification);
}

void Taskmill_Submission::PrintNotification(std::size_t index, const std::string &number,
                                            const Taskmill_CtlNotification &notification) const
{
    const Taskmill_SubmitOptions::InputFile &file = m_options.Files[index];
    if (!m_options.Json) {
        const std::string job = number.empty() ? "A job of " + file.Given : "Job " + number;
        Taskmill_PrintLine(m_options.Raw ? notification.Text : job + ": " + EndText(notification));
        return;
    }
    std::map<std::string, std::string> values;
    for (const auto &[key, value] : notification.Values)
        values[key] = Taskmill_JsonText(value);
    std::map<std::string, std::string> result{{"file", Taskmill_JsonText(file.Path)},
                                              {"notification", Taskmill_JsonObject(values)}};
    if (!number.empty())
        result["job"] = number;
    Taskmill_PrintLine(Taskmill_JsonObject(result));
}

void Taskmill_Submission::Fail(const std::string &reason, Taskmill_CtlStatus status)
{
    const std::size_t failed = m_requests.size() - 1;
    Taskmill_PrintError(m_options.Files[failed].Given + ": " + reason);
    for (std::size_t index = failed + 1; index < m_options.Files.size(); ++index)
        Taskmill_PrintError(m_options.Files[index].Given + " was not submitted");
    Note(status);
}

void Taskmill_Submission::FailWaiting()
{
    std::string numbers;
    for (const Request &request : m_requests) {
        for (const Taskmill_CtlJob &job : request.Jobs)
            numbers += job.HasEnded ? "" : ' ' + job.Number;
    }
    Taskmill_PrintError("these jobs have not ended in time and go on:" + numbers);
    Note(Taskmill_CtlStatus::TimedOut);
}
