// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Lists the partitions for Taskmill_PartitionTable(), one in a line.
[[nodiscard]] std::vector<std::string> Taskmill_PartitionsCommand();

/// A table of them with its headings. Columns are separated by two blanks at least, and no cell is empty:
/// PARTITION (the default with a star), STATE, TIME LIMIT, NODES, FREE CORES, CORES.
[[nodiscard]] std::string Taskmill_PartitionTable(std::string_view listing);
