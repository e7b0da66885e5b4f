// SPDX-License-Identifier: MIT
#include "slurm/follower.h"

#include "slurm/durablefile.h"
#include "slurm/endsignal.h"
#include "slurm/sbatch.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <sstream>
#include <utility>

namespace {
constexpr int turnMs = 500;
constexpr int firstPauseMs = 2000;
constexpr int longestPauseMs = 60'000;

/// A reason for people, of a state in which the cluster leaves a job.
std::string WordsOf(const std::string &state)
{
    static constexpr std::array<std::pair<std::string_view, std::string_view>, 8> words{
        {{"TIMEOUT", "its time limit was reached"},
         {"DEADLINE", "its deadline was reached"},
         {"OUT_OF_MEMORY", "it needed more memory than it was given"},
         {"NODE_FAIL", "its node failed"},
         {"BOOT_FAIL", "its node could not be started"},
         {"PREEMPTED", "another job took its place"},
         {"CANCELLED", "it was cancelled"},
         {"FAILED", "it left no exit code"}}};
    const auto known = std::ranges::find(words, state, &std::pair<std::string_view, std::string_view>::first);
    return known == words.end() ? std::string{} : std::string{known->second};
}

int SignalOf(const std::string &state)
{
    return state == "CANCELLED" || state == "PREEMPTED" ? SIGTERM : SIGKILL;
}

std::string EndText(const Taskmill_ShellEnd &end)
{
    return end.signal != 0 ? "ended by signal " + std::to_string(end.signal)
                           : "ended with exit code " + std::to_string(end.code);
}
} // namespace

Taskmill_SlurmFollower::Taskmill_SlurmFollower(std::string runFolder,
                                               const Taskmill_SlurmArguments &arguments,
                                               Taskmill_ClusterState state, const std::string &shared)
    : m_folder{std::move(runFolder)}
    , m_arguments{arguments}
    , m_state{std::move(state)}
    , m_site{Taskmill_SlurmSite::Make(m_folder, arguments)}
    , m_queue{shared, Taskmill_SlurmSite::ClusterName(arguments.host)}
    , m_cancellations{shared}
{
    if (m_arguments.host.empty())
        m_site->SetMeanwhile([this] { LookAtFiles(); });
}

std::optional<Taskmill_ShellEnd> Taskmill_SlurmFollower::Run()
{
    if (m_state.phase == Phase::Ended) {
        LookAtFiles();
        m_site->Tidy();
        m_reporter.Say(m_state.job.empty() ? m_state.reason : Named(m_state.reason));
        return Taskmill_ShellEnd{.code = m_state.exitCode.value_or(0), .signal = m_state.signal.value_or(0)};
    }
    if (m_state.phase == Phase::Submitted)
        m_reporter.Say("follows " + Named("again"));
    if (m_state.phase == Phase::Submitting && FindSubmitted() == Search::Missing)
        EndJob({.code = 0, .signal = SIGKILL}, "the submission was interrupted, and the cluster knows no job "
                                               "of it: it is not known whether it ran");
    if (m_state.phase == Phase::Prepared && Prepare())
        Submit();
    if (m_state.phase == Phase::Submitted)
        Follow();
    return m_end;
}

void Taskmill_SlurmFollower::Store()
{
    m_isStored = Taskmill_WriteDurably(m_folder + "/state", m_state.ToText());
}

/// Before anything is submitted: whether to go on.
bool Taskmill_SlurmFollower::MustStop()
{
    const Taskmill_EndAsked asked = Taskmill_WhatEndSignalAsks();
    m_mustLeave = asked == Taskmill_EndAsked::Leave;
    if (asked == Taskmill_EndAsked::Cancel && m_state.phase == Phase::Prepared && !m_end) {
        m_state.isCancelled = true;
        m_reporter.Say("cancelled before it was submitted");
        Finish({.code = 0, .signal = SIGTERM});
    }
    return asked != Taskmill_EndAsked::No;
}

/// Sleeps, longer each time.
void Taskmill_SlurmFollower::Pause(int &pauseMs)
{
    const long long until = Taskmill_NowMs() + pauseMs;
    while (Taskmill_NowMs() < until && Taskmill_WhatEndSignalAsks() == Taskmill_EndAsked::No)
        Taskmill_SleepMs(turnMs);
    pauseMs = std::min(2 * pauseMs, longestPauseMs);
}

bool Taskmill_SlurmFollower::Prepare()
{
    for (int pauseMs = firstPauseMs; !MustStop(); Pause(pauseMs)) {
        const Taskmill_SlurmSite::Outcome outcome = m_site->Prepare();
        if (outcome.isDone)
            return true;
        if (!outcome.mayBeTriedAgain) {
            EndWithoutJob(1, outcome.reason);
            return false;
        }
        m_reporter.Say(outcome.reason + "; this is tried again");
    }
    return false;
}

void Taskmill_SlurmFollower::Submit()
{
    int pauseMs = firstPauseMs;
    while (m_state.phase == Phase::Prepared && !m_end && !MustStop())
        SubmitOnce(pauseMs);
}

void Taskmill_SlurmFollower::SubmitOnce(int &pauseMs)
{
    m_state.phase = Phase::Submitting;
    Store();
    if (!m_isStored) {
        // Whoever took the folder up would not know of the job.
        m_state.phase = Phase::Prepared;
        m_reporter.Say("nothing can be written to " + m_folder + ": the job waits");
        Pause(pauseMs);
        return;
    }
    const Taskmill_CommandEnd end =
        m_site->Submit(Taskmill_SbatchWords(m_arguments, m_state.comment, m_site->RunFolder()));
    if (end.IsSuccess()) {
        m_news = m_site->Look([this](std::string_view bytes) { m_reporter.Print(bytes); });
        if (const std::string number = Taskmill_SubmittedNumber(m_news.number); !number.empty()) {
            TakeNumber(number);
            return;
        }
    }
    const Taskmill_SbatchFailure failure =
        end.IsSuccess() ? Taskmill_SbatchFailure::Unknown : Taskmill_KindOfFailure(end);
    if (failure == Taskmill_SbatchFailure::Refused) {
        const bool isStarted = end.how != Taskmill_CommandEnd::How::NotStarted;
        EndWithoutJob(isStarted ? std::max(end.code, 1) : 127, end.Reason("sbatch"));
        return;
    }
    m_reporter.Say("the cluster does not take the job now: " + end.Reason("sbatch") +
                   "; this is tried again");
    if (failure == Taskmill_SbatchFailure::Unknown && FindSubmitted() != Search::Missing)
        return;
    m_state.phase = Phase::Prepared;
    Store();
    Pause(pauseMs);
}

/// The job of a submission of which the end is not known: by what sbatch has printed, by the batch script's
/// mark, by the comment. Two answers of the cluster without it are needed to say that it is not there.
Taskmill_SlurmFollower::Search Taskmill_SlurmFollower::FindSubmitted()
{
    constexpr int answersNeeded = 2;
    const long long beganMs = Taskmill_NowMs();
    long long judgedMs = 0;
    for (int missing = 0; missing < answersNeeded; Taskmill_SleepMs(turnMs)) {
        if (Taskmill_WhatEndSignalAsks() == Taskmill_EndAsked::Leave) {
            m_mustLeave = true;
            return Search::Interrupted;
        }
        LookAtFiles();
        std::string number = Taskmill_SubmittedNumber(m_news.number);
        if (number.empty())
            number = Taskmill_BegunNumber(m_news.begun);
        const Taskmill_SharedQueue::Listing listing = LookAtQueue();
        if (number.empty() && m_news.isReached && listing.isAnswer && listing.askedMs > beganMs) {
            const auto job = Taskmill_FindListed(listing.text, m_state.comment, {});
            number = job ? job->number : std::string{};
            missing += listing.askedMs != judgedMs && !job ? 1 : 0;
            judgedMs = listing.askedMs;
        }
        if (!number.empty()) {
            TakeNumber(number);
            return Search::Found;
        }
    }
    return Search::Missing;
}

void Taskmill_SlurmFollower::TakeNumber(const std::string &number)
{
    m_state.phase = Phase::Submitted;
    m_state.job = number;
    m_state.since = Taskmill_NowMs() / 1000;
    Store();
    m_submittedMs = Taskmill_NowMs();
    m_reporter.Say(Named("is submitted"));
}

void Taskmill_SlurmFollower::Follow()
{
    constexpr long long firstQuestionMs = 1000;
    while (!m_end) {
        const Taskmill_EndAsked asked = Taskmill_WhatEndSignalAsks();
        if (asked == Taskmill_EndAsked::Leave) {
            m_mustLeave = true;
            return;
        }
        if (asked == Taskmill_EndAsked::Cancel && !m_state.isCancelled)
            BeginCancel();
        if (!m_isStored)
            Store();
        LookAtFiles();
        TakeMark();
        if (const auto end = Taskmill_ReadShellEnd(m_news.end, m_state.job); end && m_exitSeenMs == 0)
            m_exitSeenMs = Taskmill_NowMs();
        else if (!end)
            m_exitSeenMs = 0;
        // Nothing overwrites that: the batch script would not run the program again.
        if (const auto end = Taskmill_ReadShellEnd(m_news.end, m_state.job);
            end && end->code == 0 && end->signal == 0)
            TakeExit(*end);
        else if (Taskmill_NowMs() >= m_submittedMs + firstQuestionMs)
            Judge(LookAtQueue());
        if (!m_end && m_state.isCancelled)
            CancelAgain();
        if (!m_end)
            Taskmill_SleepMs(turnMs);
    }
}

void Taskmill_SlurmFollower::LookAtFiles()
{
    // While the job waits there is hardly anything to be seen.
    constexpr long long waitingFactor = 6;
    const bool isFar = !m_arguments.host.empty();
    const bool isWaiting = isFar && m_state.phase == Phase::Submitted && m_state.node.empty();
    const long long intervalMs = m_site->LookIntervalMs() * (isWaiting ? waitingFactor : 1LL);
    const long long now = Taskmill_NowMs();
    if (now < m_lookedMs + intervalMs && now >= m_lookedMs)
        return;
    Taskmill_RunNews news = m_site->Look([this](std::string_view bytes) { m_reporter.Print(bytes); });
    m_lookedMs = Taskmill_NowMs();
    if (news.isReached)
        m_news = std::move(news);
    else if (!news.text.empty())
        m_reporter.Say(news.text + "; this is tried again");
}

/// The batch script says that it runs before the cluster is asked the next time.
void Taskmill_SlurmFollower::TakeMark()
{
    if (m_news.begun == m_mark || Taskmill_BegunNumber(m_news.begun) != m_state.job)
        return;
    m_mark = m_news.begun;
    std::istringstream words{m_mark.substr(m_mark.rfind('\n', m_mark.size() - 2) + 1)};
    std::string number;
    std::string restarts;
    std::string node;
    words >> number >> restarts >> node;
    m_submittedMs = m_lookedMs;
    ShowState({.number = number, .state = "RUNNING", .comment = {}, .node = node, .reason = {}});
}

const Taskmill_SharedQueue::Listing &Taskmill_SlurmFollower::LookAtQueue()
{
    const auto run = [this](const std::vector<std::string> &words) {
        return m_site->Run(words);
    };
    const Taskmill_SharedQueue::Listing &listing =
        m_queue.Look([&run] { return run(Taskmill_ListingCommand()); });
    if (m_queue.HasAsked() && listing.isAnswer)
        m_cancellations.Repeat(m_arguments.host, listing.text, run);
    const bool isFailure = listing.askedMs > m_submittedMs && !listing.isAnswer;
    const bool isLate = m_queue.IsAnswerLate() && !m_isSlow;
    if ((isFailure || isLate) && !m_isSilent) {
        m_isSilent = true;
        m_reporter.Say("the cluster does not answer" +
                       (isFailure ? " (" + listing.text + ")" : std::string{}) + "; it is asked again");
    } else if (listing.isAnswer && !isLate && std::exchange(m_isSilent, false)) {
        m_isSlow = true;
        m_reporter.Say("the cluster answers again");
    }
    return listing;
}

void Taskmill_SlurmFollower::Judge(const Taskmill_SharedQueue::Listing &listing)
{
    if (m_exitSeenMs > 0 && !listing.isAnswer)
        TakeExitUnconfirmed();
    if (m_end || !listing.isAnswer || listing.askedMs <= m_submittedMs)
        return;
    const bool isNews = listing.askedMs != m_judgedMs;
    m_judgedMs = listing.askedMs;
    if (const auto job = Taskmill_FindListed(listing.text, m_state.comment, m_state.job))
        JudgeListed(*job, isNews);
    else if (isNews)
        JudgeMissing();
}

void Taskmill_SlurmFollower::JudgeListed(const Taskmill_ListedJob &job, bool isNews)
{
    constexpr int answersNeeded = 2;
    using Kind = Taskmill_ListedKind;
    m_missing = 0;
    const Kind kind = Taskmill_KindOfState(job.state);
    if (kind == Kind::Waits || kind == Kind::Runs) {
        m_unfinished = 0;
        ShowState(job);
        return;
    }
    if (isNews) {
        ++m_unfinished;
        m_lookedMs = 0;
        LookAtFiles();
    }
    const auto exit = Taskmill_ReadShellEnd(m_news.end, m_state.job);
    if (kind == Kind::Ended && exit)
        TakeExit(*exit);
    else if (kind == Kind::CutShort || (kind == Kind::MayReturn && m_unfinished >= answersNeeded) ||
             (kind == Kind::Ended && m_unfinished > answersNeeded))
        EndJob({.code = 0, .signal = SignalOf(job.state)},
               "ended: " + job.state + (job.reason.empty() ? "" : " (" + job.reason + ")") +
                   (WordsOf(job.state).empty() ? "" : ", " + WordsOf(job.state)));
}

/// The cluster has answered and does not know it any more: it has ended some time ago.
void Taskmill_SlurmFollower::JudgeMissing()
{
    constexpr int answersNeeded = 2;
    if (++m_missing < answersNeeded)
        return;
    m_lookedMs = 0;
    LookAtFiles();
    if (const auto exit = Taskmill_ReadShellEnd(m_news.end, m_state.job))
        TakeExit(*exit);
    else if (m_news.isReached)
        EndJob({.code = 0, .signal = SIGKILL},
               "ended: the cluster does not know it any more, and it left no exit code");
}

void Taskmill_SlurmFollower::ShowState(const Taskmill_ListedJob &job)
{
    const bool isNew = job.state != m_state.state;
    if (!isNew && job.reason == m_state.reason && job.node == m_state.node)
        return;
    if (isNew) {
        m_state.since = Taskmill_NowMs() / 1000;
        m_lookedMs = 0;
    }
    m_state.state = job.state;
    m_state.reason = job.reason;
    m_state.node = job.node;
    Store();
    std::string text = job.state;
    std::ranges::transform(text, text.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; });
    if (Taskmill_KindOfState(job.state) == Taskmill_ListedKind::Runs)
        m_reporter.Say(Named(text + (job.node.empty() ? "" : " on " + job.node)));
    else
        m_reporter.Say(Named(text + (job.reason.empty() ? "" : " (" + job.reason + ")")));
}

void Taskmill_SlurmFollower::TakeExit(const Taskmill_ShellEnd &end)
{
    EndJob(end, EndText(end));
}

/// The cluster may be away for long, and only a few clusters put a job back into the queue for its exit code.
void Taskmill_SlurmFollower::TakeExitUnconfirmed()
{
    constexpr long long patienceMs = 60'000;
    const auto exit = Taskmill_ReadShellEnd(m_news.end, m_state.job);
    if (exit && exit->signal == 0 && Taskmill_NowMs() > m_exitSeenMs + patienceMs)
        TakeExit(*exit);
}

void Taskmill_SlurmFollower::BeginCancel()
{
    m_state.isCancelled = true;
    Store();
    m_cancellations.Add({.comment = m_state.comment,
                         .host = m_arguments.host,
                         .number = m_state.job,
                         .askedMs = Taskmill_NowMs()});
    m_reporter.Say("cancels " + Named("on the cluster"));
}

void Taskmill_SlurmFollower::CancelAgain()
{
    if (Taskmill_NowMs() < m_cancelAtMs)
        return;
    // The batch script has not begun a moment after the cluster has taken the job out of its queue.
    if (m_isCancelSent && m_news.isReached && m_news.begun.empty()) {
        EndJob({.code = 0, .signal = SIGTERM}, "is cancelled");
        return;
    }
    const Taskmill_CommandEnd end = m_site->Run({"scancel", m_state.job});
    m_isCancelSent = end.IsSuccess();
    if (!end.IsSuccess())
        m_reporter.Say("the cluster has not confirmed the cancellation (" + end.Reason("scancel") +
                       "); it is repeated");
    m_cancelAtMs = Taskmill_NowMs() + m_cancelPauseMs;
    m_cancelPauseMs = std::min(2 * m_cancelPauseMs, 10'000);
}

void Taskmill_SlurmFollower::CollectResults()
{
    for (int pauseMs = firstPauseMs;; Pause(pauseMs)) {
        const Taskmill_SlurmSite::Outcome outcome = m_site->Collect();
        if (!outcome.isDone)
            m_reporter.Say(outcome.reason + (outcome.mayBeTriedAgain ? "; this is tried again" : ""));
        if (outcome.isDone || !outcome.mayBeTriedAgain)
            return;
        const Taskmill_EndAsked asked = Taskmill_WhatEndSignalAsks();
        m_mustLeave = asked == Taskmill_EndAsked::Leave;
        if (asked != Taskmill_EndAsked::No)
            return;
    }
}

void Taskmill_SlurmFollower::EndJob(const Taskmill_ShellEnd &end, const std::string &text)
{
    m_lookedMs = 0;
    LookAtFiles();
    if (m_state.phase == Phase::Submitted && !m_site->RunFolder().empty())
        CollectResults();
    if (m_mustLeave)
        return;
    const auto exit = Taskmill_ReadShellEnd(m_news.end, m_state.job);
    if (!exit || exit->code != 0 || exit->signal != 0)
        m_reporter.Print(m_news.log);
    m_state.reason = text;
    Finish(end);
    m_reporter.Say(m_state.job.empty() ? text : Named(text));
    m_site->Tidy();
}

void Taskmill_SlurmFollower::EndWithoutJob(int code, const std::string &text)
{
    m_reporter.Say(text);
    m_state.reason = text;
    Finish({.code = code, .signal = 0});
}

void Taskmill_SlurmFollower::Finish(const Taskmill_ShellEnd &end)
{
    m_state.phase = Phase::Ended;
    if (end.signal != 0)
        m_state.signal = end.signal;
    else
        m_state.exitCode = end.code;
    m_state.since = Taskmill_NowMs() / 1000;
    Store();
    if (m_state.isCancelled)
        m_cancellations.Remove(m_state.comment);
    m_end = end;
}
