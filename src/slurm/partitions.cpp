// SPDX-License-Identifier: MIT
#include "slurm/partitions.h"

#include <algorithm>
#include <array>
#include <sstream>

namespace {
constexpr std::size_t columnCount = 6;
using Row = std::array<std::string, columnCount>;

std::vector<std::string> Split(std::string_view line, char separator)
{
    std::vector<std::string> fields;
    for (std::size_t end = 0; end != line.npos; line.remove_prefix(std::min(end, line.size() - 1) + 1)) {
        end = line.find(separator);
        fields.emplace_back(line.substr(0, end));
        if (end == line.npos)
            break;
    }
    return fields;
}
} // namespace

std::vector<std::string> Taskmill_PartitionsCommand()
{
    // Of the cores those that are allocated, idle, of no use, and all.
    return {"sinfo", "--noheader", "--format=%P|%a|%l|%D|%C"};
}

std::string Taskmill_PartitionTable(std::string_view listing)
{
    constexpr std::size_t fieldCount = 5;
    constexpr std::size_t countsOfCores = 4;
    std::vector<Row> rows{{"PARTITION", "STATE", "TIME LIMIT", "NODES", "FREE CORES", "CORES"}};
    for (const std::string &line : Split(listing, '\n')) {
        const std::vector<std::string> fields = Split(line, '|');
        if (fields.size() != fieldCount)
            continue;
        const std::vector<std::string> cores = Split(fields[4], '/');
        const bool areKnown = cores.size() == countsOfCores;
        rows.push_back({fields[0], fields[1], fields[2], fields[3], areKnown ? cores[1] : "?",
                        areKnown ? cores[3] : "?"});
    }
    std::array<std::size_t, columnCount> widths{};
    for (Row &row : rows) {
        for (std::size_t column = 0; column < columnCount; ++column) {
            std::string &cell = row.at(column);
            if (cell.empty())
                cell = "?";
            widths.at(column) = std::max(widths.at(column), cell.size());
        }
    }
    std::string text;
    for (const Row &row : rows) {
        for (std::size_t column = 0; column + 1 < columnCount; ++column)
            text.append(row.at(column)).append(widths.at(column) - row.at(column).size() + 2, ' ');
        text.append(row.back()).append(1, '\n');
    }
    return text;
}
