// SPDX-License-Identifier: MIT
#include "slurm/queuelisting.h"

#include <algorithm>
#include <array>
#include <utility>

namespace {
std::string NextField(std::string_view &line)
{
    const std::size_t end = std::min(line.find('|'), line.size());
    std::string field{line.substr(0, end)};
    line.remove_prefix(std::min(end + 1, line.size()));
    return field;
}
} // namespace

std::vector<std::string> Taskmill_ListingCommand()
{
    // The reason stands last, as the one that may hold anything.
    return {"squeue", "--noheader", "--me", "--states=all", "--format=%i|%T|%k|%N|%r"};
}

std::vector<Taskmill_ListedJob> Taskmill_ParseListing(std::string_view text)
{
    std::vector<Taskmill_ListedJob> jobs;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        Taskmill_ListedJob job;
        job.number = NextField(line);
        job.state = NextField(line);
        job.comment = NextField(line);
        job.node = NextField(line);
        job.reason = line == "None" ? std::string{} : std::string{line};
        if (!job.state.empty())
            jobs.push_back(std::move(job));
    }
    return jobs;
}

std::optional<Taskmill_ListedJob> Taskmill_FindListed(std::string_view listing, std::string_view comment,
                                                      std::string_view number)
{
    for (Taskmill_ListedJob &job : Taskmill_ParseListing(listing)) {
        // Some clusters put words of their own in place of the comment.
        const bool isOfAnother = job.comment.starts_with(Taskmill_CommentStart) && job.comment != comment;
        if (number.empty() ? job.comment == comment : job.number == number && !isOfAnother)
            return std::move(job);
    }
    return std::nullopt;
}

Taskmill_ListedKind Taskmill_KindOfState(std::string_view state)
{
    using Kind = Taskmill_ListedKind;
    static constexpr std::array<std::pair<std::string_view, Kind>, 14> kinds{
        {{"RUNNING", Kind::Runs},
         {"COMPLETING", Kind::Runs},
         {"SUSPENDED", Kind::Runs},
         {"STOPPED", Kind::Runs},
         {"SIGNALING", Kind::Runs},
         {"COMPLETED", Kind::Ended},
         {"FAILED", Kind::Ended},
         {"CANCELLED", Kind::CutShort},
         {"TIMEOUT", Kind::CutShort},
         {"DEADLINE", Kind::CutShort},
         {"OUT_OF_MEMORY", Kind::CutShort},
         {"NODE_FAIL", Kind::MayReturn},
         {"PREEMPTED", Kind::MayReturn},
         {"BOOT_FAIL", Kind::MayReturn}}};
    const auto known = std::ranges::find(kinds, state, &std::pair<std::string_view, Kind>::first);
    return known == kinds.end() ? Kind::Waits : known->second;
}
