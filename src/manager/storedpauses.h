// SPDX-License-Identifier: MIT
#pragma once

#include <QList>

#include <array>
#include <optional>

class Taskmill_Database;
class Taskmill_Destinations;
class Taskmill_JobQueue;

/// Which of the queues are paused, as the working copy of the open project has it: a project that a manager
/// has left which was ended by force goes on as it was.
class Taskmill_StoredPauses
{
public:
    /// The destinations outlive this.
    explicit Taskmill_StoredPauses(Taskmill_Destinations &destinations)
        : m_destinations{destinations}
    {
    }

    /// Writes what has changed since the last call.
    void Store(Taskmill_Database &database);
    /// Writes that they are paused, whatever they are.
    void StoreAllPaused(Taskmill_Database &database);
    /// Those that were not paused.
    [[nodiscard]] QList<Taskmill_JobQueue *> QueuesThatRan(Taskmill_Database &database) const;
    /// Another working copy, in which nothing is written yet.
    void Forget() { m_stored = {}; }

private:
    Taskmill_Destinations &m_destinations;
    std::array<std::optional<bool>, 2> m_stored; ///< of the two queues
};
