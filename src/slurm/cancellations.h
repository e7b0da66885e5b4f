// SPDX-License-Identifier: MIT
#pragma once

#include "slurm/command.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// The jobs whose end was asked for and that the cluster may still have: each a file, so that whoever asks
/// the cluster next repeats it, also when the follower of the job was ended.
class Taskmill_Cancellations
{
public:
    struct Entry
    {
        std::string comment; ///< also the name of the file
        std::string host;
        std::string number; ///< empty where it is not known
        long long askedMs = 0;
    };

    /// In a folder of this user, which must be there; empty for none.
    explicit Taskmill_Cancellations(const std::string &folder);

    /// False when it could not be written down.
    bool Add(const Entry &entry) const;
    void Remove(const std::string &comment) const;
    [[nodiscard]] std::vector<Entry> All() const;

    /// Repeats those of one host with the help of a fresh answer of its cluster; removes those whose jobs are
    /// gone, or that are older than a month.
    void Repeat(const std::string &host, std::string_view listing,
                const std::function<Taskmill_CommandEnd(const std::vector<std::string> &)> &run) const;

private:
    std::string m_folder;
};
