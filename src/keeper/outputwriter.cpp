// SPDX-License-Identifier: MIT
#include "keeper/outputwriter_linux.h"

#include "wire/runoutput.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

using namespace Taskmill_OutputLayout;

Taskmill_OutputWriter::Taskmill_OutputWriter(std::string path)
    : m_path{std::move(path)}
{
}

Taskmill_OutputWriter::~Taskmill_OutputWriter()
{
    if (m_file >= 0)
        close(m_file);
}

bool Taskmill_OutputWriter::Open()
{
    constexpr mode_t ownerOnly = 0600;
    if (m_file < 0)
        m_file = open(m_path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, ownerOnly);
    if (m_file < 0)
        m_error = errno;
    return m_file >= 0;
}

void Taskmill_OutputWriter::Append(std::string_view bytes)
{
    if (!Open()) {
        m_dropped += static_cast<long long>(bytes.size());
        return;
    }
    if (m_dropped == 0) {
        const std::size_t stored = Store(bytes);
        Keep(m_total + static_cast<long long>(stored));
        m_dropped = static_cast<long long>(bytes.size() - stored);
        return;
    }
    // Only with some room, or a disk that is nearly full would fill with these lines.
    std::string text = "\n[... " + std::to_string(m_dropped) +
                       " bytes of output were left out here: " + std::strerror(m_error) + " ...]\n";
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
        // Room for that line is taken before it is needed.
        if (position == FullSize && !StoreTotal(position))
            return stored;
        const auto most = static_cast<std::size_t>((place < HeadSize ? HeadSize : FullSize) - place);
        const ssize_t count =
            pwrite(m_file, bytes.data() + stored, std::min(most, bytes.size() - stored), place);
        if (count <= 0) {
            m_error = count < 0 ? errno : ENOSPC;
            return stored;
        }
        stored += static_cast<std::size_t>(count);
    }
    return stored;
}

bool Taskmill_OutputWriter::StoreTotal(long long total) const
{
    std::array<char, TotalLineSize + 1> line{};
    std::snprintf(line.data(), line.size(), "%019lld\n", total);
    return pwrite(m_file, line.data(), TotalLineSize, FullSize) == static_cast<ssize_t>(TotalLineSize);
}

/// Readers see so much from here on.
void Taskmill_OutputWriter::Keep(long long total)
{
    m_total = total;
    if (total > FullSize)
        static_cast<void>(StoreTotal(total));
    else if (m_dropped > 0 && ftruncate(m_file, total) != 0)
        m_error = errno;
}
