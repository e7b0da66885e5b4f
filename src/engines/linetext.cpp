// SPDX-License-Identifier: MIT
#include "engines/linetext.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace {
constexpr std::string_view blanks = " \t";

/// A table, since every line of an output is unframed.
constexpr std::array<bool, 256> frames = [] {
    std::array<bool, 256> table{};
    for (const char frame : std::string_view{" \t*|!\".=:>"})
        table[static_cast<unsigned char>(frame)] = true;
    return table;
}();
} // namespace

std::string_view Taskmill_Trimmed(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string_view Taskmill_Unframed(std::string_view line)
{
    std::size_t first = 0;
    while (first < line.size() && frames[static_cast<unsigned char>(line[first])])
        ++first;
    return line.substr(first);
}

std::string_view Taskmill_NextWord(std::string_view &text)
{
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    const std::string_view word = text.substr(0, text.find_first_of(blanks));
    text.remove_prefix(word.size());
    return word;
}

std::vector<std::string_view> Taskmill_Words(std::string_view text, std::size_t most)
{
    std::vector<std::string_view> words;
    while (words.size() < most) {
        const std::string_view word = Taskmill_NextWord(text);
        if (word.empty())
            break;
        words.push_back(word);
    }
    return words;
}

std::string_view Taskmill_WordBehind(std::string_view line, std::string_view text)
{
    const std::size_t at = line.find(text);
    if (at == std::string_view::npos)
        return {};
    line.remove_prefix(at + text.size());
    return Taskmill_NextWord(line);
}

std::string Taskmill_LowerCase(std::string_view text)
{
    std::string lower{text};
    std::ranges::transform(lower, lower.begin(), [](char character) {
        return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
    });
    return lower;
}

bool Taskmill_Contains(std::string_view text, std::string_view part)
{
    return text.find(part) != std::string_view::npos;
}

std::optional<double> Taskmill_Number(std::string_view word)
{
    std::array<char, 64> buffer{};
    if (word.starts_with('+'))
        word.remove_prefix(1);
    if (word.empty() || word.size() > buffer.size())
        return std::nullopt;
    const auto end = std::ranges::transform(word, buffer.begin(), [](char character) {
                         return character == 'D' || character == 'd' ? 'e' : character;
                     }).out;
    double number = 0;
    const auto last = buffer.data() + (end - buffer.begin());
    const auto [rest, error] = std::from_chars(buffer.data(), last, number);
    if (error != std::errc{} || rest != last || !std::isfinite(number))
        return std::nullopt;
    return number;
}

std::optional<double> Taskmill_FirstDecimal(std::string_view text)
{
    for (;;) {
        const std::string_view word = Taskmill_NextWord(text);
        if (word.empty())
            return std::nullopt;
        const auto number = Taskmill_Contains(word, ".") ? Taskmill_Number(word) : std::nullopt;
        if (number)
            return number;
    }
}

std::optional<int> Taskmill_Count(std::string_view word)
{
    int count = 0;
    const auto [rest, error] = std::from_chars(word.data(), word.data() + word.size(), count);
    if (error != std::errc{} || rest != word.data() + word.size() || count < 1)
        return std::nullopt;
    return count;
}
