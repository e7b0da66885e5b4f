// SPDX-License-Identifier: MIT
#pragma once

#include "wire/keeperchannel.h"
#include "wire/runlocks.h"

#include <memory>
#include <string>

/// What managers ask of a keeper.
class Taskmill_KeeperOrders
{
public:
    Taskmill_KeeperOrders() = default;
    virtual ~Taskmill_KeeperOrders() = default;
    Taskmill_KeeperOrders(const Taskmill_KeeperOrders &) = delete;
    Taskmill_KeeperOrders &operator=(const Taskmill_KeeperOrders &) = delete;

    /// Everything of the run is to end, by force after that time.
    virtual void Kill(long long graceMs) = 0;
    /// Another manager has adopted the run, and is to be sent how it stands.
    virtual void ReportToNewManager() = 0;
    /// Bytes that the run has written so far.
    [[nodiscard]] virtual long long OutputSize() const = 0;
};

/// The connection of a keeper with its manager. While there is none, a place in the folder of the runs where
/// the next manager finds the keeper and adopts its run.
class Taskmill_KeeperLink
{
public:
    /// Of the run of that name, whose project is the owner. The orders outlive this; nothing is called before
    /// something is read.
    Taskmill_KeeperLink(std::string runID, std::string owner, Taskmill_KeeperChannel manager,
                        Taskmill_KeeperOrders &orders);
    ~Taskmill_KeeperLink();
    Taskmill_KeeperLink(const Taskmill_KeeperLink &) = delete;
    Taskmill_KeeperLink &operator=(const Taskmill_KeeperLink &) = delete;

    [[nodiscard]] bool HasManager() const { return m_manager.IsOpen(); }
    /// The connection is the caller's from then on.
    [[nodiscard]] Taskmill_KeeperChannel TakeManager() { return std::move(m_manager); }
    /// Nothing is sent where there is no manager.
    void Send(const Taskmill_KeeperMessage &message) const;
    /// Sends how much the run has written when the manager waits for more than it knows of.
    void ReportOutput();

    /// What to wait for, where it is open, and what to do when something has come.
    [[nodiscard]] const Taskmill_KeeperChannel &Manager() const { return m_manager; }
    [[nodiscard]] const Taskmill_KeeperChannel &Listener() const { return m_listener; }
    [[nodiscard]] const Taskmill_KeeperChannel &Visitor() const { return m_visitor; }
    void ReadManager();
    void TakeVisitor();
    void ReadVisitor();

    /// Listens for the next manager, where that is needed and was not tried just before.
    void ListenWhenDue();
    /// When that is to be called again, on the steady clock; -1 when it need not be.
    [[nodiscard]] long long NextTry() const;
    /// From now on whoever wants to know of the run reads the journal.
    void StopListeningForGood();

private:
    void LoseManager();
    void StopListening();
    /// Somebody who tidies up may have removed the file in which the run is locked: takes the lock in the one
    /// that managers look at now.
    void LockAgain();

    const std::string m_runID;
    std::string m_owner;
    Taskmill_KeeperOrders &m_orders;
    Taskmill_KeeperChannel m_manager;
    Taskmill_KeeperChannel m_listener;
    Taskmill_KeeperChannel m_visitor;         ///< who may become the manager
    std::unique_ptr<Taskmill_RunLock> m_lock; ///< none while the first one is in the right file
    long long m_watched = -1; ///< the manager wants to hear of more output than that; -1 when it does not
    long long m_listenAt = 0; ///< when it is tried again; 0 for at once
    bool m_isNeeded = true;   ///< to listen, when the manager is gone
};
