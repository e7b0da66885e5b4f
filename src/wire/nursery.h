// SPDX-License-Identifier: MIT
#pragma once

#include "wire/runconnection.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>

/// The small process that starts keepers, started once by each manager. Windows has none: there one keeper
/// waits for an order, and the system ends what a keeper leaves.
class Taskmill_Nursery
{
public:
    /// Makes the folder and starts the program. Before it is ready it ends what is left of runs whose keeper
    /// was killed; what takes longer than 2 s, beside the rest. Nothing when that fails or takes longer than
    /// so long.
    [[nodiscard]] static std::optional<Taskmill_Nursery> Start(const std::string &program,
                                                               const std::string &runFolder, int waitMs);

    [[nodiscard]] long long ProcessID() const { return m_processID; }
    /// For the event loop: readable when ReceiveSwept() has something, on Windows an event.
    [[nodiscard]] Taskmill_KeeperChannel::Handle Handle() const;
    [[nodiscard]] bool IsOpen() const;
    /// Has all runs that it has started end, as when the system is shut down, without waiting. Also from
    /// another thread, and when the object is gone. For the value see EndWord().
    static void EndAll(long long word);
    [[nodiscard]] long long EndWord() const;

    /// Does not wait for the start: Started or Ended follow on the connection. Not open when the process is
    /// gone, does not take the order within 5 s, or the run is there already, or for lack of something, which
    /// `error` says then, see Taskmill_IsLack().
    [[nodiscard]] Taskmill_RunConnection StartRun(const Taskmill_RunOrder &order, int *error = nullptr);
    /// Has a keeper that is free carry out the next order: that takes less than a new one. One waits at the
    /// most, further ones end.
    void TakeFreeKeeper(Taskmill_KeeperChannel keeper)
    {
        if (!m_freeKeeper.IsOpen())
            m_freeKeeper = std::move(keeper);
    }
    /// Whether an order may wait for its word.
    [[nodiscard]] static bool RunsMayWait();
    /// Whether ReceiveSwept() reports runs of this object without being asked, unless their keeper had
    /// another run before.
    [[nodiscard]] static bool SweepsUnasked();
    /// Asks to end what is left of a run that was adopted and then Lost: it may have been started by another
    /// such process, which is gone. ReceiveSwept() returns it when that is done. For a run of this one that
    /// may happen without being asked.
    bool Sweep(const std::string &runID) const;
    /// The next run that was Lost and of which nothing is left now; nothing when there is none yet. When the
    /// process itself is gone, IsOpen() is false then.
    std::optional<std::string> ReceiveSwept(int waitMs = 0);

private:
    struct System;

    Taskmill_KeeperChannel m_channel; ///< on Windows of the keeper that waits for an order
    Taskmill_KeeperChannel m_freeKeeper;
    std::string m_runFolder;
    long long m_processID = 0;
    std::shared_ptr<System> m_system; ///< what Windows needs besides
};
