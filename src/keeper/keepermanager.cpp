// SPDX-License-Identifier: MIT
#include "keeper/keeper.h"

#include "keeper/clock.h"

namespace {
/// Until it is listened again, where the system had nothing for it.
constexpr long long nextTryMs = 1000;
} // namespace

void Taskmill_Keeper::ReadManager()
{
    std::optional<Taskmill_KeeperMessage> message;
    for (;;) {
        if (m_manager.Receive(message) == Taskmill_KeeperChannel::State::Ended) {
            LoseManager();
            return;
        }
        if (!message)
            return;
        if (message->Word() == Taskmill_KillWord) {
            BeginKill(message->Number("grace", 0), Taskmill_RunEnd::By::Kill);
        } else if (message->Word() == Taskmill_OwnerWord) {
            m_owner = message->Value("owner");
        } else if (message->Word() == Taskmill_WatchWord) {
            m_watched = message->Number("total", 0);
            ReportOutput();
        }
    }
}

void Taskmill_Keeper::LoseManager()
{
    m_manager.Close();
    m_watched = -1;
    ListenWhenDue();
}

void Taskmill_Keeper::ListenWhenDue()
{
    if (m_isRecorded || m_manager.IsOpen() || m_listener.IsOpen() || Taskmill_SteadyClockMs() < m_listenAt)
        return;
    m_listener = Taskmill_KeeperChannel::Listen(".", m_runID);
    // Listening fails on a full disk, which has no room for the name of the socket.
    if (!m_listener.IsOpen())
        m_listenAt = Taskmill_SteadyClockMs() + nextTryMs;
}

void Taskmill_Keeper::StopListening()
{
    if (m_listener.IsOpen())
        Taskmill_KeeperChannel::StopListening(".", m_runID);
    m_listener.Close();
}

void Taskmill_Keeper::TakeVisitor()
{
    // A visitor that has not said yet what it wants gives way to the next one.
    if (Taskmill_KeeperChannel visitor = m_listener.Accept(); visitor.IsOpen())
        m_visitor = std::move(visitor);
    if (m_listener.IsListening())
        return;
    StopListening();
    m_listenAt = Taskmill_SteadyClockMs() + nextTryMs;
}

void Taskmill_Keeper::ReadVisitor()
{
    std::optional<Taskmill_KeeperMessage> message;
    if (m_visitor.Receive(message) == Taskmill_KeeperChannel::State::Ended) {
        m_visitor.Close();
        return;
    }
    if (!message)
        return;
    Taskmill_KeeperChannel visitor = std::move(m_visitor);
    if (message->Word() != Taskmill_AdoptWord || message->Value("run") != m_runID)
        return;
    if (message->Value("owner") != m_owner) {
        Taskmill_KeeperMessage answer{Taskmill_RefusedWord};
        answer.Add("owner", m_owner);
        visitor.Send(answer);
        return;
    }
    StopListening();
    m_manager = std::move(visitor);
    // This keeper belongs to the manager that is gone.
    m_mayBeFree = false;
    m_manager.Send(Taskmill_KeeperMessage{Taskmill_AdoptedWord});
    if (m_main >= 0)
        SendStarted();
    // The run has ended, but its end could not be recorded yet.
    if (m_retryAt > 0)
        SendEnd();
}

void Taskmill_Keeper::SendStarted()
{
    Taskmill_KeeperMessage message{Taskmill_StartedWord};
    message.Add("pid", m_main);
    message.Add("total", m_output.TotalSize());
    message.Add("directory", m_order.Value("directory"));
    m_manager.Send(message);
}

void Taskmill_Keeper::ReportOutput()
{
    if (m_watched < 0 || m_output.TotalSize() <= m_watched || !m_manager.IsOpen())
        return;
    m_watched = -1;
    Taskmill_KeeperMessage message{Taskmill_OutputWord};
    message.Add("total", m_output.TotalSize());
    m_manager.Send(message);
}

void Taskmill_Keeper::SendEnd()
{
    if (!m_manager.IsOpen())
        return;
    Taskmill_RunRecord record{Taskmill_RunRecord::Kind::End, m_runID};
    record.end = m_end;
    Taskmill_KeeperMessage message{Taskmill_EndWord};
    message.Add("record", record.ToLine());
    message.Add("file", m_failedFile);
    // When the system ends everything, this process is to end, too.
    m_isFree = m_mayBeFree && m_isRecorded && !m_hasChildren && m_killing == Killing::No;
    message.Add("free", m_isFree ? 1 : 0);
    m_manager.Send(message);
}
