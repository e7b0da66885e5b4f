// SPDX-License-Identifier: MIT
#pragma once

#include "keeper/storedfile.h"

#include <string>
#include <string_view>

/// Stores what a run writes, see Taskmill_OutputLayout. The file is made with the first byte. Never waits for
/// room on the disk: what finds none is dropped, and a line says so in its place once there is room again.
class Taskmill_OutputWriter
{
public:
    /// How much to hand over at once at the most: what is written must stay below a chunk of the layout.
    static constexpr std::size_t MostAtOnce = 60UL * 1024;

    explicit Taskmill_OutputWriter(std::string path);

    void Append(std::string_view bytes);
    /// Of what was stored, with the lines that say what was dropped.
    [[nodiscard]] long long TotalSize() const { return m_total; }
    /// What was dropped at last, for which there is no line yet.
    [[nodiscard]] long long DroppedSize() const { return m_dropped; }

private:
    /// How many of the bytes are on the disk now.
    std::size_t Store(std::string_view bytes);
    [[nodiscard]] bool StoreTotal(long long total);
    void Keep(long long total);

    std::string m_path;
    Taskmill_StoredFile m_file;
    long long m_total = 0;
    long long m_dropped = 0;
};
