// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

/// How a run ended.
struct Taskmill_RunEnd
{
    enum class How
    {
        Exit,       ///< code is the exit code
        Signal,     ///< code is the signal
        NotStarted, ///< code is the system's error number
    };
    enum class By
    {
        Itself,
        Kill,   ///< a manager asked for it
        System, ///< the keeper itself was asked to end, as when the system is shut down or the user logs out
    };

    How how = How::Exit;
    int code = 0;
    By by = By::Itself;
    long long startMs = 0; ///< since 1970, as endMs
    long long endMs = 0;
    long long processorMs = 0;  ///< of everything the run started and has ended
    long long peakMemoryKB = 0; ///< of its largest process
    long long outputBytes = 0;  ///< that were captured, those that were left out in the middle too
    long long droppedBytes =
        0; ///< of output that found no room on the disk and for which no line stands in it

    bool operator==(const Taskmill_RunEnd &) const = default;
};

/// What a line of a journal holds. A keeper appends one when its run starts and one when it has ended; who
/// takes the result appends a claim.
struct Taskmill_RunRecord
{
    enum class Kind
    {
        Start,
        End,
        Claim,
    };

    Taskmill_RunRecord() = default;
    Taskmill_RunRecord(Kind recordKind, std::string_view run)
        : kind{recordKind}
        , runID{run}
    {
    }

    Kind kind = Kind::Start;
    std::string runID;
    std::string bootID;    ///< of a start: processes of an earlier boot are gone
    long long startMs = 0; ///< of a start
    Taskmill_RunEnd end;   ///< of an end
    std::string claimant;  ///< of a claim

    /// With its line feed.
    [[nodiscard]] std::string ToLine() const;
    /// None for a line that was torn, or is of another version.
    [[nodiscard]] static std::optional<Taskmill_RunRecord> FromLine(std::string_view line);
};

/// 32 random hexadecimal digits; empty when the system has none.
[[nodiscard]] std::string Taskmill_NewRunID();
/// Two digits for each byte.
[[nodiscard]] std::string Taskmill_HexText(std::span<const unsigned char> bytes);
[[nodiscard]] bool Taskmill_IsRunID(std::string_view text);
/// Which byte of the file "living" the keeper of that run holds a lock on for as long as it lives.
[[nodiscard]] std::int64_t Taskmill_RunLockOffset(std::string_view runID);
/// The variable that everything of a run has in its environment.
constexpr std::string_view Taskmill_RunVariable = "TASKMILL_RUN_ID";
/// The value that goes with a SIGTERM when the keeper itself was asked to end, and nobody wants the job's
/// end.
constexpr int Taskmill_SystemEndsValue = 0x544d5345;
