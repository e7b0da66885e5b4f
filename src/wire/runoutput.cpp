// SPDX-License-Identifier: MIT
#include "wire/runoutput.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;
using namespace Taskmill_OutputLayout;

namespace {
constexpr std::size_t pieceSize = 256UL * 1024;

fs::path PathOf(const std::string &text)
{
    return std::u8string{text.begin(), text.end()};
}

std::string ReadPlace(const std::string &path, long long place, std::size_t most)
{
    std::string bytes(most, '\0');
    std::ifstream file{PathOf(path), std::ios::binary};
    file.seekg(place);
    file.read(bytes.data(), static_cast<std::streamsize>(most));
    bytes.resize(static_cast<std::size_t>(std::max<std::streamsize>(0, file.gcount())));
    return bytes;
}

/// A keeper may be writing the line: of two readings the smaller one is right, or a moment old.
std::string ReadTotalLine(const std::string &path)
{
    return std::min(ReadPlace(path, FullSize, TotalLineSize), ReadPlace(path, FullSize, TotalLineSize));
}

bool IsContinuation(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/// A character that the gap has cut in two is left out with it.
std::string_view WithoutCutEnd(std::string_view text)
{
    std::size_t begin = text.size();
    while (begin > 0 && text.size() - begin < 3 && IsContinuation(text[begin - 1]))
        --begin;
    const unsigned char lead = begin > 0 ? static_cast<unsigned char>(text[begin - 1]) : 0;
    const std::size_t length = lead >= 0xF0U ? 4 : lead >= 0xE0U ? 3 : lead >= 0xC0U ? 2 : 1;
    return length > 1 && text.size() - begin + 1 < length ? text.substr(0, begin - 1) : text;
}

std::string_view WithoutCutBeginning(std::string_view text)
{
    for (int count = 0; count < 3 && !text.empty() && IsContinuation(text.front()); ++count)
        text.remove_prefix(1);
    return text;
}
} // namespace

Taskmill_RunOutput::Taskmill_RunOutput(const std::string &runFolder, const std::string &runID)
    : m_path{runFolder + "/out/" + runID}
{
}

std::optional<long long> Taskmill_RunOutput::Size() const
{
    // By opening it: what Windows says of a file that others write is old.
    const long long size = std::ifstream{PathOf(m_path), std::ios::binary | std::ios::ate}.tellg();
    std::error_code error;
    if (size < 0 && fs::status(PathOf(m_path), error).type() != fs::file_type::not_found)
        return std::nullopt;
    if (size <= FullSize)
        return std::max(0LL, size);
    const std::string line = ReadTotalLine(m_path);
    long long total = FullSize;
    std::from_chars(line.data(), line.data() + line.size(), total);
    return total;
}

std::string Taskmill_RunOutput::ReadFrom(long long &offset, std::size_t most, bool hasEnded) const
{
    const long long margin = hasEnded ? 0 : static_cast<long long>(ChunkSize);
    const auto firstKept = [margin](long long total) {
        return total > FullSize ? total - RingSize + margin : 0;
    };
    const long long total = TotalSize();
    if (offset >= HeadSize || total <= HeadSize)
        offset = std::min(std::max(offset, total <= FullSize ? 0 : firstKept(total)), total);
    // Neither across the end of the head nor across that of the ring.
    const long long begin = PlaceOf(offset);
    const long long end = begin < HeadSize ? HeadSize : FullSize;
    const long long wanted = std::min({static_cast<long long>(most), total - offset, end - begin});
    std::string bytes = ReadPlace(m_path, begin, static_cast<std::size_t>(std::max(0LL, wanted)));
    // The keeper may have written over the first of them meanwhile.
    if (const long long kept = firstKept(TotalSize()); offset >= HeadSize && kept > offset) {
        const auto lost =
            static_cast<std::size_t>(std::min(kept - offset, static_cast<long long>(bytes.size())));
        bytes.erase(0, lost);
        offset += static_cast<long long>(lost);
    }
    offset += static_cast<long long>(bytes.size());
    return bytes;
}

bool Taskmill_RunOutput::Read(const std::function<void(std::string_view)> &take) const
{
    const std::optional<long long> size = Size();
    if (!size)
        return false;
    const long long total = *size;
    const bool hasGap = total > FullSize;
    for (long long offset = 0; offset < total;) {
        if (hasGap && offset == HeadSize) {
            const long long leftOut = total - FullSize;
            take("\n[... " + std::to_string(leftOut) + " bytes of output were left out here ...]\n");
            offset += leftOut;
        }
        const bool isBehindGap = hasGap && offset == total - RingSize;
        const std::string piece = ReadFrom(offset, pieceSize, true);
        if (piece.empty())
            return false;
        if (hasGap && offset == HeadSize)
            take(WithoutCutEnd(piece));
        else
            take(isBehindGap ? WithoutCutBeginning(piece) : std::string_view{piece});
    }
    return true;
}

bool Taskmill_RunOutput::Remove() const
{
    std::error_code error;
    fs::remove(PathOf(m_path), error);
    return !fs::exists(PathOf(m_path), error);
}
