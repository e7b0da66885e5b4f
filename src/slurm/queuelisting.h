// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// A job as the cluster lists it.
struct Taskmill_ListedJob
{
    std::string number;
    std::string state;
    std::string comment;
    std::string node;
    std::string reason; ///< empty where there is none
};

/// With which the comments of all jobs of this program begin.
constexpr std::string_view Taskmill_CommentStart = "taskmill-";

/// Lists all jobs of the user that the cluster still knows, for Taskmill_ParseListing().
[[nodiscard]] std::vector<std::string> Taskmill_ListingCommand();
[[nodiscard]] std::vector<Taskmill_ListedJob> Taskmill_ParseListing(std::string_view text);

/// The job of that number, else of that comment. A job of another comment of this program is never meant: a
/// cluster that has lost its memory counts from the beginning.
[[nodiscard]] std::optional<Taskmill_ListedJob>
Taskmill_FindListed(std::string_view listing, std::string_view comment, std::string_view number);

/// What a job's state comes to.
enum class Taskmill_ListedKind
{
    Waits,
    Runs,
    Ended,     ///< by itself
    CutShort,  ///< the cluster has ended it
    MayReturn, ///< the same, but it may be put back into the queue
};
[[nodiscard]] Taskmill_ListedKind Taskmill_KindOfState(std::string_view state);
