// SPDX-License-Identifier: MIT
#include "keeper/keeper.h"

#include "keeper/clock.h"

#include <algorithm>
#include <cerrno>

namespace {
/// Between two tries to record an end on a full disk.
constexpr long long retryMs = 1000;
/// Between two rounds of ending by force, and how long they go on before what remains is reported.
constexpr long long forceAgainMs = 20;
constexpr long long complainMs = 5000;
} // namespace

void Taskmill_Keeper::Run()
{
    m_end.startMs = Taskmill_WallClockMs();
    Start();
    while (!m_isRecorded || m_hasChildren) {
        WaitForSomething();
        TakeEnds();
        ForceAgainWhenDue();
        ListenWhenDue();
        RecordEndWhenDue();
    }
    ReadRestOfOutput();
}

void Taskmill_Keeper::Start()
{
    // Before the program starts, and not without it: who finds this line without an end knows that the run is
    // lost, and who finds no line that it was never started.
    Taskmill_RunRecord record{Taskmill_RunRecord::Kind::Start, m_runID};
    record.bootID = m_order.Value("boot");
    record.startMs = m_end.startMs;
    if (AppendLine(record.ToLine())) {
        StartProgram();
        return;
    }
    m_isRecorded = true;
    FailToStart(errno, std::string{Taskmill_JournalAsFailedFile});
}

void Taskmill_Keeper::FailToStart(int error, const std::string &file)
{
    m_hasMainEnded = true;
    m_failedFile = file;
    m_end.how = Taskmill_RunEnd::How::NotStarted;
    m_end.code = error;
    m_end.endMs = m_end.startMs;
    if (m_isRecorded)
        SendEnd();
    else
        RecordEnd();
}

int Taskmill_Keeper::WaitMs() const
{
    long long next = -1;
    const auto add = [&next](bool isWanted, long long time) {
        if (isWanted)
            next = next < 0 ? time : std::min(next, time);
    };
    add(m_killing == Killing::Asked, m_killAt);
    add(m_killing == Killing::Forced && m_hasChildren, m_forceAgainAt);
    add(m_retryAt > 0 && !m_isRecorded, m_retryAt);
    add(m_listenAt > 0 && !m_isRecorded && !m_manager.IsOpen() && !m_listener.IsOpen(), m_listenAt);
    return next < 0 ? -1 : static_cast<int>(std::max(0LL, next - Taskmill_SteadyClockMs()));
}

void Taskmill_Keeper::RecordEndWhenDue()
{
    const bool isWhole = m_killing == Killing::No || !m_hasChildren;
    if (m_isRecorded || !m_hasMainEnded || !isWhole || Taskmill_SteadyClockMs() < m_retryAt)
        return;
    if (m_killing == Killing::No && IsSystemEnding()) {
        m_end.by = Taskmill_RunEnd::By::System;
        BeginKill(m_order.Number("grace", 0), Taskmill_RunEnd::By::System);
        if (m_hasChildren)
            return;
    }
    RecordEnd();
}

void Taskmill_Keeper::RecordEnd()
{
    ReadRestOfOutput();
    constexpr long long usInMs = 1000;
    m_end.processorMs = m_processorUs / usInMs;
    m_end.outputBytes = m_output.TotalSize();
    m_end.droppedBytes = m_output.DroppedSize();
    const bool isFirstTry = m_retryAt == 0;
    Taskmill_RunRecord record{Taskmill_RunRecord::Kind::End, m_runID};
    record.end = m_end;
    m_isRecorded = AppendLine(record.ToLine());
    m_retryAt = Taskmill_SteadyClockMs() + retryMs;
    if (isFirstTry)
        SendEnd();
    if (!m_isRecorded)
        return;
    // The run is over: whoever wants to know more reads the journal.
    StopListening();
    GiveLockBack();
    // With a manager the result is in his hands, and a moment later the journal is stored for all keepers.
    if (!m_manager.IsOpen())
        StoreJournal();
}

bool Taskmill_Keeper::AppendLine(const std::string &line)
{
    // The line before it, of any keeper, may have been cut by a full disk; an empty line is none.
    const std::string text = '\n' + line;
    int error = 0;
    const long long count = WriteToJournal(text, error);
    if (count == static_cast<long long>(text.size()))
        return true;
    errno = count < 0 ? error : ENOSPC;
    return false;
}

void Taskmill_Keeper::BeginKill(long long graceMs, Taskmill_RunEnd::By by)
{
    const long long killAt = Taskmill_SteadyClockMs() + std::clamp(graceMs, 0LL, 60'000LL);
    if (m_killing == Killing::Asked)
        m_killAt = std::min(m_killAt, killAt);
    if (m_killing != Killing::No)
        return;
    if (!m_hasMainEnded)
        m_end.by = by;
    m_killing = Killing::Asked;
    m_killAt = killAt;
    if (graceMs <= 0 || !AskAll())
        Force();
}

void Taskmill_Keeper::Force()
{
    const long long now = Taskmill_SteadyClockMs();
    if (m_killing != Killing::Forced)
        m_complainAt = now + complainMs;
    m_killing = Killing::Forced;
    m_forceAgainAt = now + forceAgainMs;
    EndAll();
}

void Taskmill_Keeper::ForceAgainWhenDue()
{
    const long long now = Taskmill_SteadyClockMs();
    if (!m_hasChildren || (m_killing == Killing::Asked && now < m_killAt) || m_killing == Killing::No ||
        (m_killing == Killing::Forced && now < m_forceAgainAt))
        return;
    Force();
    Reap();
    if (!m_hasChildren || m_complainAt == 0 || now < m_complainAt)
        return;
    m_complainAt = 0;
    Taskmill_KeeperMessage message{Taskmill_RemainsWord};
    for (const long long process : Remaining())
        message.Add("pid", process);
    m_manager.Send(message);
}
