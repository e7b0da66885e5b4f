// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Cuts a stream into lines, wherever its pieces begin and end. A line is cut off after LongestLine bytes, so
/// that a file without line feeds takes no more memory than any other.
class Taskmill_LineSplitter
{
public:
    /// No program prints what decides behind this column.
    static constexpr std::size_t LongestLine = 1024;

    /// Calls `take` with each line that ends in the bytes, without its line end.
    template <class Take>
    void Feed(std::string_view bytes, const Take &take)
    {
        while (!bytes.empty()) {
            const std::size_t end = bytes.find('\n');
            const std::string_view part = bytes.substr(0, end);
            if (end == std::string_view::npos) {
                Keep(part);
                return;
            }
            if (m_rest.empty()) {
                take(Cut(part));
            } else {
                Keep(part);
                take(Cut(m_rest));
                m_rest.clear();
            }
            bytes.remove_prefix(end + 1);
        }
    }

    /// Calls `take` with the last line when no line feed ends it.
    template <class Take>
    void Finish(const Take &take)
    {
        if (!m_rest.empty())
            take(Cut(m_rest));
        m_rest.clear();
    }

private:
    static std::string_view Cut(std::string_view line)
    {
        line = line.substr(0, LongestLine);
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        return line;
    }

    void Keep(std::string_view part) { m_rest.append(part.substr(0, LongestLine - m_rest.size())); }

    std::string m_rest;
};
