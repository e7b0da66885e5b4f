#pragma once

#include <string_view>

/// The line that a client sends last when it wants to be told on the same connection what became of its
/// request. With it the message is complete, so such a client need neither close its side nor fall silent.
/// The answer is one line "accepted=" with the numbers of the jobs, separated by blanks, or "refused=" with
/// the reason.
constexpr std::string_view Taskmill_WireReplyRequest = "clientreply=yes\n";
constexpr std::string_view Taskmill_WireAccepted = "accepted=";
constexpr std::string_view Taskmill_WireRefused = "refused=";
