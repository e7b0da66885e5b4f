// SPDX-License-Identifier: MIT
#include "ctl/answer.h"

#include "wire/protocol.h"
#include "wire/utf8.h"

#include <algorithm>
#include <charconv>

namespace {
std::string_view TakeLine(std::string_view &text)
{
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return line;
}

/// A job for each of the numbers between the blanks; nothing when one of them is none, or there is none at
/// all.
std::optional<std::vector<Taskmill_CtlJob>> JobsOfNumbers(std::string_view text)
{
    std::vector<Taskmill_CtlJob> jobs;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(' '), text.size());
        const std::string_view word = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (word.empty())
            continue;
        int number = 0;
        const auto [stop, error] = std::from_chars(word.data(), word.data() + word.size(), number);
        if (error != std::errc{} || stop != word.data() + word.size())
            return std::nullopt;
        jobs.emplace_back().Number = std::to_string(number);
    }
    return jobs.empty() ? std::nullopt : std::optional{jobs};
}

/// The value of the line when it begins with the key.
std::optional<std::string> ValueOf(std::string_view line, std::string_view key)
{
    return line.starts_with(key) ? std::optional{Taskmill_Utf8FromAny(line.substr(key.size()))}
                                 : std::nullopt;
}

void Describe(Taskmill_CtlJob &job, std::string_view line)
{
    if (const auto type = ValueOf(line, Taskmill_WireJobTypeName))
        job.TypeName = *type;
    else if (const auto queue = ValueOf(line, Taskmill_WireJobQueue))
        job.Queue = *queue;
    else if (const auto file = ValueOf(line, Taskmill_WireJobInputFile))
        job.InputFile = *file;
    else if (const auto paused = ValueOf(line, Taskmill_WireQueuePaused))
        job.IsPaused = *paused == "yes";
}
} // namespace

std::optional<Taskmill_CtlAnswer> Taskmill_CtlAnswer::Parse(std::string_view bytes)
{
    const std::string_view first = TakeLine(bytes);
    Taskmill_CtlAnswer answer;
    answer.Refusal = ValueOf(first, Taskmill_WireRefused);
    if (answer.Refusal)
        return answer;
    auto jobs = first.starts_with(Taskmill_WireAccepted)
                    ? JobsOfNumbers(first.substr(Taskmill_WireAccepted.size()))
                    : std::nullopt;
    if (!jobs)
        return std::nullopt;
    answer.Jobs = *std::move(jobs);
    auto described = answer.Jobs.end();
    while (!bytes.empty()) {
        const std::string_view line = TakeLine(bytes);
        if (const auto number = ValueOf(line, Taskmill_WireJobID))
            described = std::ranges::find(answer.Jobs, *number, &Taskmill_CtlJob::Number);
        else if (described != answer.Jobs.end())
            Describe(*described, line);
    }
    return answer;
}
