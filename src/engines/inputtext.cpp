// SPDX-License-Identifier: MIT
#include "engines/inputtext.h"

#include "engines/linetext.h"

#include <algorithm>

namespace {
std::string ExtensionOf(std::string_view fileName)
{
    const std::size_t point = fileName.find_last_of("./\\");
    if (point == std::string_view::npos || fileName[point] != '.')
        return {};
    return Taskmill_LowerCase(fileName.substr(point + 1));
}
} // namespace

Taskmill_InputText::Taskmill_InputText(std::string_view text, std::string_view fileName)
    : m_extension{ExtensionOf(fileName)}
{
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        m_lines.push_back(Taskmill_Trimmed(line));
        m_lowerLines.push_back(Taskmill_LowerCase(m_lines.back()));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
}

bool Taskmill_InputText::HasExtension(std::initializer_list<std::string_view> extensions) const
{
    return std::ranges::find(extensions, m_extension) != extensions.end();
}

bool Taskmill_InputText::HasLine(std::string_view beginning) const
{
    return std::ranges::any_of(m_lowerLines,
                               [beginning](const std::string &line) { return line.starts_with(beginning); });
}

std::optional<double> Taskmill_UnitBytes(std::string_view unit)
{
    std::string lower = Taskmill_LowerCase(unit);
    // As in "MiB"; programs that tell them apart differ by less than a budget is exact.
    if (lower.size() == 3 && lower[1] == 'i')
        lower.erase(1, 1);
    if (lower == "b" || lower == "byte" || lower == "bytes")
        return 1;
    if (lower.size() != 2 || (lower[1] != 'b' && lower[1] != 'w'))
        return std::nullopt;
    const std::size_t power = std::string_view{"kmgt"}.find(lower[0]);
    if (power == std::string_view::npos)
        return std::nullopt;
    double bytes = lower[1] == 'w' ? Taskmill_BytesOfWord : 1;
    for (std::size_t step = 0; step <= power; ++step)
        bytes *= 1024;
    return bytes;
}

std::optional<double> Taskmill_Megabytes(std::string_view number, double plain)
{
    const std::size_t digits = std::min(number.find_first_not_of("0123456789."), number.size());
    const auto value = Taskmill_Number(number.substr(0, digits));
    const std::string_view unit = Taskmill_Trimmed(number.substr(digits));
    const auto bytes = unit.empty() ? std::optional{plain} : Taskmill_UnitBytes(unit);
    if (!value || !bytes || *value <= 0)
        return std::nullopt;
    return *value * *bytes / Taskmill_BytesOfMegabyte;
}
