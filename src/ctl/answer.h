// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// A job that the manager has made of a request.
struct Taskmill_CtlJob
{
    std::string Number;
    std::string TypeName; ///< empty, as what follows, when the manager did not say
    std::string Queue;    ///< "long", "short" or "none"
    std::string InputFile;
    bool IsPaused = false; ///< its queue was, when the job was made
    bool HasEnded = false;
};

/// What the manager has answered to a request. All texts are UTF-8.
struct Taskmill_CtlAnswer
{
    std::optional<std::string> Refusal; ///< the reason
    std::vector<Taskmill_CtlJob> Jobs;  ///< none when it was refused

    /// Nothing when it cannot be understood. Lines of later versions are passed over.
    [[nodiscard]] static std::optional<Taskmill_CtlAnswer> Parse(std::string_view bytes);
};
