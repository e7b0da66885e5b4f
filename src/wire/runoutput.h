// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

/// What a run wrote, as its keeper stores it in one file. Behind the head the file has a ring: what is left
/// out is the middle. Until the ring has gone round once, the file is the output itself; from then on a line
/// behind the ring holds the number of all bytes.
namespace Taskmill_OutputLayout {
constexpr long long HeadSize = 32LL * 1024 * 1024;
constexpr long long RingSize = HeadSize;
constexpr long long FullSize = HeadSize + RingSize;
/// The keeper writes no more than this at once; a reader stays so far ahead of it.
constexpr std::size_t ChunkSize = 64UL * 1024;
/// Of the line behind the ring: digits and a line feed.
constexpr std::size_t TotalLineSize = 20;

/// Where a byte of the output stands in the file.
[[nodiscard]] constexpr long long PlaceOf(long long position)
{
    return position < FullSize ? position : HeadSize + (position - HeadSize) % RingSize;
}
} // namespace Taskmill_OutputLayout

/// Reads that file, also while the keeper writes it. Holds none of it in memory.
class Taskmill_RunOutput
{
public:
    /// The file need not be there: it is made with the first byte.
    explicit Taskmill_RunOutput(const std::string &runFolder, const std::string &runID);

    /// All bytes so far, those that are no longer kept too; 0 when that cannot be found out.
    [[nodiscard]] long long TotalSize() const { return Size().value_or(0); }
    /// At most so many bytes from the offset on, which is moved behind them. Bytes that are not kept any more
    /// are skipped. `hasEnded` says that nobody writes any more.
    [[nodiscard]] std::string ReadFrom(long long &offset, std::size_t most, bool hasEnded) const;
    /// Everything that is kept, in pieces; where bytes were left out, a line says how many. False when not
    /// all of it can be read now, as for lack of open files.
    [[nodiscard]] bool Read(const std::function<void(std::string_view)> &take) const;
    /// False when it is still there.
    bool Remove() const;
    [[nodiscard]] const std::string &Path() const { return m_path; }

private:
    /// Nothing when the file is there but cannot be opened.
    [[nodiscard]] std::optional<long long> Size() const;

    std::string m_path;
};
