// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// One message between a manager and a keeper: a word and named values, none of which may hold a NUL. Readers
/// skip the names that they do not know, since a keeper may be older than the manager that adopts its run.
class Taskmill_KeeperMessage
{
public:
    explicit Taskmill_KeeperMessage(std::string_view word);
    /// None when these are not the bytes of a message.
    [[nodiscard]] static std::optional<Taskmill_KeeperMessage> FromBytes(std::string bytes);

    void Add(std::string_view name, std::string_view value);
    void Add(std::string_view name, long long value);

    [[nodiscard]] std::string_view Word() const;
    /// The first value of that name; empty when there is none.
    [[nodiscard]] std::string_view Value(std::string_view name) const;
    /// The same as a number; `otherwise` when there is none.
    [[nodiscard]] long long Number(std::string_view name, long long otherwise) const;
    /// All values of that name, in their order. They point into the message and end with a NUL there.
    [[nodiscard]] std::vector<const char *> Values(std::string_view name) const;

    [[nodiscard]] const std::string &Bytes() const { return m_bytes; }

private:
    std::string m_bytes; ///< each text with its NUL: the word, a name, its value, a name...
};

// The words. To the process that starts runs:
constexpr std::string_view Taskmill_StartWord = "start"; ///< with a socket for the run
constexpr std::string_view Taskmill_SweepWord =
    "sweep"; ///< asks for one "swept" of a "run" of another such process
constexpr std::string_view Taskmill_ReadyWord =
    "ready"; ///< its first answer: it is there, and what lost runs have left is ended, or will be soon
constexpr std::string_view Taskmill_LockedWord =
    "locked"; ///< of a keeper that waited: it has the lock of the run, and starts it at "go"
constexpr std::string_view Taskmill_GoWord = "go";       ///< starts the run of an order that "waits", too
constexpr std::string_view Taskmill_SweptWord = "swept"; ///< a keeper died, and nothing of its run is left
// To a keeper:
constexpr std::string_view Taskmill_KillWord = "kill";
constexpr std::string_view Taskmill_WatchWord =
    "watch"; ///< asks for one "output" when there is more than "total"
constexpr std::string_view Taskmill_AdoptWord = "adopt";
constexpr std::string_view Taskmill_OwnerWord = "owner"; ///< who may adopt it from now on
// From a keeper:
constexpr std::string_view Taskmill_StartedWord = "started";
constexpr std::string_view Taskmill_OutputWord = "output";
constexpr std::string_view Taskmill_RemainsWord = "remains"; ///< a kill has not ended these "pid" yet
constexpr std::string_view Taskmill_EndWord = "end";         ///< with the line of the journal as "record"
/// The "file" of an end without a start, when the start could not be recorded.
constexpr std::string_view Taskmill_JournalAsFailedFile = "journal";
constexpr std::string_view Taskmill_AdoptedWord = "adopted";
constexpr std::string_view Taskmill_RefusedWord = "refused"; ///< the run belongs to "owner"
