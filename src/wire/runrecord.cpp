// SPDX-License-Identifier: MIT
#include "wire/runrecord.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <vector>

namespace {
// In the order of their enumerations.
constexpr std::array<std::string_view, 3> kinds{"start", "end", "claim"};
constexpr std::array<std::string_view, 3> hows{"exit", "signal", "notstarted"};
constexpr std::array<std::string_view, 3> bys{"itself", "kill", "system"};

/// Stands at the end of each line: the beginning of a line that was torn never passes for a whole one.
constexpr std::string_view lineEnd = ".";

template <typename Enum>
bool Find(const std::array<std::string_view, 3> &words, std::string_view word, Enum &found)
{
    const auto place = std::ranges::find(words, word);
    found = static_cast<Enum>(place - words.begin());
    return place != words.end();
}

template <typename Enum>
std::string_view Word(const std::array<std::string_view, 3> &words, Enum value)
{
    return words.at(static_cast<std::size_t>(value));
}

template <typename Number>
bool Read(std::string_view text, Number &number)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc{} && end == text.data() + text.size();
}

std::vector<std::string_view> Fields(std::string_view line)
{
    std::vector<std::string_view> fields;
    for (std::size_t blank = 0; blank != line.npos;) {
        blank = line.find(' ');
        fields.push_back(line.substr(0, blank));
        line.remove_prefix(std::min(line.size(), blank == line.npos ? line.size() : blank + 1));
    }
    return fields;
}

bool ReadEnd(const std::vector<std::string_view> &fields, Taskmill_RunEnd &end)
{
    constexpr std::size_t count = 12;
    return fields.size() == count && Find(hows, fields[2], end.how) && Read(fields[3], end.code) &&
           Find(bys, fields[4], end.by) && Read(fields[5], end.startMs) && Read(fields[6], end.endMs) &&
           Read(fields[7], end.processorMs) && Read(fields[8], end.peakMemoryKB) &&
           Read(fields[9], end.outputBytes) && Read(fields[10], end.droppedBytes);
}
} // namespace

std::string Taskmill_RunRecord::ToLine() const
{
    std::string line{Word(kinds, kind)};
    const auto add = [&line](std::string_view field) {
        line.append(1, ' ').append(field);
    };
    add(runID);
    switch (kind) {
    case Kind::Start:
        add(bootID);
        add(std::to_string(startMs));
        break;
    case Kind::End:
        add(Word(hows, end.how));
        add(std::to_string(end.code));
        add(Word(bys, end.by));
        for (const long long number :
             {end.startMs, end.endMs, end.processorMs, end.peakMemoryKB, end.outputBytes, end.droppedBytes})
            add(std::to_string(number));
        break;
    case Kind::Claim:
        add(claimant);
        break;
    }
    add(lineEnd);
    return line + '\n';
}

std::optional<Taskmill_RunRecord> Taskmill_RunRecord::FromLine(std::string_view line)
{
    if (line.ends_with('\n'))
        line.remove_suffix(1);
    const std::vector<std::string_view> fields = Fields(line);
    Taskmill_RunRecord record;
    if (fields.size() < 4 || fields.back() != lineEnd || !Find(kinds, fields[0], record.kind) ||
        !Taskmill_IsRunID(fields[1]))
        return std::nullopt;
    record.runID = fields[1];
    bool isWhole = false;
    switch (record.kind) {
    case Kind::Start:
        record.bootID = fields[2];
        isWhole = fields.size() == 5 && Read(fields[3], record.startMs);
        break;
    case Kind::End:
        isWhole = ReadEnd(fields, record.end);
        break;
    case Kind::Claim:
        record.claimant = fields[2];
        isWhole = fields.size() == 4;
        break;
    }
    return isWhole ? std::optional{record} : std::nullopt;
}

std::string Taskmill_HexText(std::span<const unsigned char> bytes)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : bytes)
        text.append(1, digits[byte >> 4U]).append(1, digits[byte & 15U]);
    return text;
}

bool Taskmill_IsRunID(std::string_view text)
{
    constexpr std::size_t digits = 32;
    return text.size() == digits && text.find_first_not_of("0123456789abcdef") == text.npos;
}

std::int64_t Taskmill_RunLockOffset(std::string_view runID)
{
    // 60 bits: two runs never meet, and an offset of a file is not negative.
    constexpr std::size_t digits = 15;
    std::int64_t offset = 0;
    const std::string_view text = runID.substr(0, digits);
    std::from_chars(text.data(), text.data() + text.size(), offset, 16);
    return offset;
}
