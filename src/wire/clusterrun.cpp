// SPDX-License-Identifier: MIT
#include "wire/clusterrun.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <fstream>

namespace {
constexpr std::string_view firstLine = "taskmill-slurm 1";
constexpr std::string_view lastLine = ".";
// In the order of their enumeration.
constexpr std::array<std::string_view, 4> phases{"prepared", "submitting", "submitted", "ended"};

std::string OneLine(std::string text)
{
    std::ranges::replace_if(
        text, [](unsigned char c) { return c < ' '; }, ' ');
    return text;
}

void AddLine(std::string &text, std::string_view name, const std::string &value)
{
    if (!value.empty())
        text.append(name).append(1, '=').append(OneLine(value)).append(1, '\n');
}

template <typename Number>
Number ToNumber(std::string_view text)
{
    Number number{};
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

void Take(Taskmill_ClusterState &state, std::string_view name, std::string_view value)
{
    if (name == "comment")
        state.comment = value;
    else if (name == "phase")
        state.phase =
            static_cast<Taskmill_ClusterState::Phase>(std::ranges::find(phases, value) - phases.begin());
    else if (name == "job")
        state.job = value;
    else if (name == "host")
        state.host = value;
    else if (name == "state")
        state.state = value;
    else if (name == "reason")
        state.reason = value;
    else if (name == "node")
        state.node = value;
    else if (name == "since")
        state.since = ToNumber<long long>(value);
    else if (name == "cancel")
        state.isCancelled = value == "yes";
    else if (name == "exit")
        state.exitCode = ToNumber<int>(value);
    else if (name == "signal")
        state.signal = ToNumber<int>(value);
}
} // namespace

std::string Taskmill_ClusterState::ToText() const
{
    std::string text = std::string{firstLine} + '\n';
    AddLine(text, "comment", comment);
    AddLine(text, "phase", std::string{phases.at(static_cast<std::size_t>(phase))});
    AddLine(text, "job", job);
    AddLine(text, "host", host);
    AddLine(text, "state", state);
    AddLine(text, "reason", reason);
    AddLine(text, "node", node);
    AddLine(text, "since", since > 0 ? std::to_string(since) : std::string{});
    AddLine(text, "cancel", isCancelled ? "yes" : "");
    AddLine(text, "exit", exitCode ? std::to_string(*exitCode) : std::string{});
    AddLine(text, "signal", signal ? std::to_string(*signal) : std::string{});
    return text.append(lastLine).append(1, '\n');
}

std::optional<Taskmill_ClusterState> Taskmill_ClusterState::FromText(std::string_view text)
{
    Taskmill_ClusterState state;
    bool isFirst = true;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        if (end == text.npos)
            return std::nullopt;
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(end + 1);
        if (isFirst && line != firstLine)
            return std::nullopt;
        if (line == lastLine)
            return static_cast<std::size_t>(state.phase) < phases.size() ? std::optional{state}
                                                                         : std::nullopt;
        if (const std::size_t equals = line.find('='); !isFirst && equals != line.npos)
            Take(state, line.substr(0, equals), line.substr(equals + 1));
        isFirst = false;
    }
    return std::nullopt;
}

std::optional<Taskmill_ClusterState> Taskmill_ReadClusterState(const std::string &runFolder)
{
    constexpr std::size_t most = 64UL * 1024;
    std::ifstream file{runFolder + "/state", std::ios::binary};
    std::string text(most, '\0');
    file.read(text.data(), static_cast<std::streamsize>(most));
    text.resize(static_cast<std::size_t>(file.gcount()));
    return Taskmill_ClusterState::FromText(text);
}
