// SPDX-License-Identifier: MIT
#pragma once

#include "ctl/answer.h"
#include "ctl/ctlstatus.h"
#include "ctl/managerfinder.h"
#include "ctl/notifications.h"
#include "ctl/submitoptions.h"

#include <algorithm>
#include <chrono>
#include <set>

/// Submits the files one after another, prints what became of each and, when asked to, waits for the end of
/// the jobs.
class Taskmill_Submission
{
public:
    Taskmill_Submission(Taskmill_SubmitOptions options, const Taskmill_ManagerAddress &manager);

    /// Returns when the last thing is printed.
    [[nodiscard]] Taskmill_CtlStatus Run();

private:
    using Clock = std::chrono::steady_clock;

    /// The request of one file.
    struct Request
    {
        std::vector<Taskmill_CtlJob> Jobs;
        std::size_t Notified = 0; ///< may run ahead: a notification can come before the answer
    };

    [[nodiscard]] bool SubmitNext();
    [[nodiscard]] std::string Message() const;
    [[nodiscard]] std::string AnswerOf(const Taskmill_Socket &socket);
    [[nodiscard]] bool TakeAnswer(const std::string &text);
    void PrintAccepted(const Taskmill_SubmitOptions::InputFile &file,
                       const std::vector<Taskmill_CtlJob> &jobs) const;
    void SayWhatIsWaitedFor() const;
    void SayWhatIsPaused();
    void WaitForJobs();
    void TakeNotifications();
    void TakeNotification(const Taskmill_CtlNotification &notification);
    void PrintNotification(std::size_t index, const std::string &number,
                           const Taskmill_CtlNotification &notification) const;
    [[nodiscard]] bool ManagerHasEnded();
    [[nodiscard]] bool AllEnded() const;
    [[nodiscard]] bool HasTimedOut() const { return m_deadline && Clock::now() >= *m_deadline; }
    /// The time up to the point, in ms, but not beyond the end of the whole.
    [[nodiscard]] int MillisecondsUntil(Clock::time_point point) const;
    void Fail(const std::string &reason, Taskmill_CtlStatus status);
    void FailWaiting();
    void Note(Taskmill_CtlStatus status) { m_status = std::max(m_status, status); }

    const Taskmill_SubmitOptions m_options;
    const Taskmill_ManagerAddress m_manager;
    std::optional<Clock::time_point> m_deadline;
    Taskmill_CtlNotifications m_notifications;
    std::vector<Taskmill_CtlNotification> m_early; ///< that have overtaken the answer
    int m_failedProbes = 0;
    std::vector<Request> m_requests;      ///< of the files so far; the last one may be without an answer yet
    std::set<std::string> m_pausedQueues; ///< of which the user knows
    Taskmill_CtlStatus m_status = Taskmill_CtlStatus::Success;
};
