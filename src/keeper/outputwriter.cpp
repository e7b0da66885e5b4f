// SPDX-License-Identifier: MIT
#include "keeper/outputwriter.h"

#include "wire/runoutput.h"

#include <algorithm>
#include <array>
#include <cstdio>

using namespace Taskmill_OutputLayout;

Taskmill_OutputWriter::Taskmill_OutputWriter(std::string path)
    : m_path{std::move(path)}
{
}

void Taskmill_OutputWriter::Append(std::string_view bytes)
{
    if (!m_file.Open(m_path)) {
        m_dropped += static_cast<long long>(bytes.size());
        return;
    }
    if (m_dropped == 0) {
        const std::size_t stored = Store(bytes);
        Keep(m_total + static_cast<long long>(stored));
        m_dropped = static_cast<long long>(bytes.size() - stored);
        return;
    }
    // The line is stored only together with new output, or a disk that is nearly full would fill with such
    // lines.
    std::string text = "\n[... " + std::to_string(m_dropped) +
                       " bytes of output were left out here: " + m_file.ErrorText() + " ...]\n";
    text += bytes;
    if (Store(text) == text.size()) {
        Keep(m_total + static_cast<long long>(text.size()));
        m_dropped = 0;
    } else {
        Keep(m_total);
        m_dropped += static_cast<long long>(bytes.size());
    }
}

std::size_t Taskmill_OutputWriter::Store(std::string_view bytes)
{
    std::size_t stored = 0;
    while (stored < bytes.size()) {
        const long long position = m_total + static_cast<long long>(stored);
        const long long place = PlaceOf(position);
        // The line with the total takes its room before output is written over the beginning of the ring.
        if (position == FullSize && !StoreTotal(position))
            return stored;
        const auto most = static_cast<std::size_t>((place < HeadSize ? HeadSize : FullSize) - place);
        const std::size_t count =
            m_file.WriteAt(place, bytes.substr(stored, std::min(most, bytes.size() - stored)));
        if (count == 0)
            return stored;
        stored += count;
    }
    return stored;
}

bool Taskmill_OutputWriter::StoreTotal(long long total)
{
    std::array<char, TotalLineSize + 1> line{};
    std::snprintf(line.data(), line.size(), "%019lld\n", total);
    return m_file.WriteAt(FullSize, {line.data(), TotalLineSize}) == TotalLineSize;
}

/// Readers see so much from here on.
void Taskmill_OutputWriter::Keep(long long total)
{
    m_total = total;
    if (total > FullSize)
        static_cast<void>(StoreTotal(total));
    else if (m_dropped > 0)
        m_file.Truncate(total);
}
