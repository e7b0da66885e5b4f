// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// Whether the keeper of that run lives: proved by the lock that it holds, never by a number of a process.
/// `runFolder` is the folder of the keepers' files, see Taskmill_RunJournals.
[[nodiscard]] bool Taskmill_IsKeeperAlive(const std::string &runFolder, std::string_view runID);

/// Takes that lock for a keeper to come, to which the open file goes with the order: from then on until the
/// run is over it is held without a gap, so a run that nobody holds and no journal knows was never started.
/// On Windows the keeper takes it, before it is told to start.
class Taskmill_RunLock
{
public:
    Taskmill_RunLock(const std::string &runFolder, std::string_view runID);
    /// Whoever has got a copy of the open file goes on holding the lock.
    ~Taskmill_RunLock();
    Taskmill_RunLock(const Taskmill_RunLock &) = delete;
    Taskmill_RunLock &operator=(const Taskmill_RunLock &) = delete;

    /// Not when somebody else has it.
    [[nodiscard]] bool IsHeld() const { return m_isHeld; }
    [[nodiscard]] int Get() const { return static_cast<int>(m_file); }

private:
    std::intptr_t m_file; ///< of the system
    bool m_isHeld;
};

/// Whether a keeper, or the process that starts them, can still append to that journal.
[[nodiscard]] bool Taskmill_IsJournalInUse(const std::string &journal);

/// Appends one line or several at once, behind the end of the last whole one. False when it is not there
/// whole.
[[nodiscard]] bool Taskmill_AppendToJournal(const std::string &journal, const std::string &line);

/// Held by one program at a time while it claims results or tidies up; waits for the others, which take
/// milliseconds, up to `waitMs`.
class Taskmill_ClaimLock
{
public:
    explicit Taskmill_ClaimLock(const std::string &runFolder, int waitMs = 2000);
    ~Taskmill_ClaimLock();
    Taskmill_ClaimLock(const Taskmill_ClaimLock &) = delete;
    Taskmill_ClaimLock &operator=(const Taskmill_ClaimLock &) = delete;

    [[nodiscard]] bool IsHeld() const { return m_isHeld; }

private:
    std::intptr_t m_file; ///< of the system
    bool m_isHeld;
};
