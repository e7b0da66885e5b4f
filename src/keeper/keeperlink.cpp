// SPDX-License-Identifier: MIT
#include "keeper/keeperlink.h"

#include "keeper/clock.h"

namespace {
/// Until it is listened again, where the system had nothing for it.
constexpr long long nextTryMs = 1000;
} // namespace

Taskmill_KeeperLink::Taskmill_KeeperLink(std::string runID, std::string owner, Taskmill_KeeperChannel manager,
                                         Taskmill_KeeperOrders &orders)
    : m_runID{std::move(runID)}
    , m_owner{std::move(owner)}
    , m_orders{orders}
    , m_manager{std::move(manager)}
{
}

Taskmill_KeeperLink::~Taskmill_KeeperLink()
{
    StopListening();
}

void Taskmill_KeeperLink::Send(const Taskmill_KeeperMessage &message) const
{
    if (m_manager.IsOpen())
        m_manager.Send(message);
}

void Taskmill_KeeperLink::ReadManager()
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
            m_orders.Kill(message->Number("grace", 0));
        } else if (message->Word() == Taskmill_OwnerWord) {
            m_owner = message->Value("owner");
        } else if (message->Word() == Taskmill_WatchWord) {
            m_watched = message->Number("total", 0);
            ReportOutput();
        }
    }
}

void Taskmill_KeeperLink::LoseManager()
{
    m_manager.Close();
    m_watched = -1;
    ListenWhenDue();
}

void Taskmill_KeeperLink::ListenWhenDue()
{
    if (!m_isNeeded || m_manager.IsOpen() || m_listener.IsOpen() || Taskmill_SteadyClockMs() < m_listenAt)
        return;
    LockAgain();
    m_listener = Taskmill_KeeperChannel::Listen(".", m_runID);
    // Listening fails on a full disk, which has no room for the name of the socket.
    if (!m_listener.IsOpen())
        m_listenAt = Taskmill_SteadyClockMs() + nextTryMs;
}

long long Taskmill_KeeperLink::NextTry() const
{
    const bool isDue = m_isNeeded && m_listenAt > 0 && !m_manager.IsOpen() && !m_listener.IsOpen();
    return isDue ? m_listenAt : -1;
}

void Taskmill_KeeperLink::StopListeningForGood()
{
    m_isNeeded = false;
    StopListening();
}

void Taskmill_KeeperLink::LockAgain()
{
    auto lock = std::make_unique<Taskmill_RunLock>(".", m_runID);
    if (lock->IsHeld())
        m_lock = std::move(lock);
}

void Taskmill_KeeperLink::StopListening()
{
    if (m_listener.IsOpen())
        Taskmill_KeeperChannel::StopListening(".", m_runID);
    m_listener.Close();
}

void Taskmill_KeeperLink::TakeVisitor()
{
    // A visitor that has not said yet what it wants gives way to the next one.
    if (Taskmill_KeeperChannel visitor = m_listener.Accept(); visitor.IsOpen())
        m_visitor = std::move(visitor);
    if (m_listener.IsListening())
        return;
    StopListening();
    m_listenAt = Taskmill_SteadyClockMs() + nextTryMs;
}

void Taskmill_KeeperLink::ReadVisitor()
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
    LockAgain();
    m_manager.Send(Taskmill_KeeperMessage{Taskmill_AdoptedWord});
    m_orders.ReportToNewManager();
}

void Taskmill_KeeperLink::ReportOutput()
{
    const long long total = m_orders.OutputSize();
    if (m_watched < 0 || total <= m_watched || !m_manager.IsOpen())
        return;
    m_watched = -1;
    Taskmill_KeeperMessage message{Taskmill_OutputWord};
    message.Add("total", total);
    m_manager.Send(message);
}
