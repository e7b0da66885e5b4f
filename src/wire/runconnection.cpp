// SPDX-License-Identifier: MIT
#include "wire/runconnection.h"

#include "wire/runlocks.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <thread>

namespace {
using Clock = std::chrono::steady_clock;

int MsUntil(Clock::time_point end)
{
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
    return static_cast<int>(std::max<long long>(0, left));
}

/// What the keeper says to who wants to adopt its run.
Taskmill_RunConnection::Adoption AnswerOf(const Taskmill_KeeperChannel &channel, std::string &owner,
                                          int waitMs)
{
    using Adoption = Taskmill_RunConnection::Adoption;
    std::optional<Taskmill_KeeperMessage> answer;
    if (channel.ReceiveWithin(waitMs, answer) == Taskmill_KeeperChannel::State::Ended || !answer)
        return Adoption::Occupied;
    if (answer->Word() == Taskmill_AdoptedWord)
        return Adoption::Adopted;
    owner = answer->Value("owner");
    return Adoption::Refused;
}
} // namespace

Taskmill_KeeperMessage Taskmill_RunOrder::ToMessage() const
{
    Taskmill_KeeperMessage message{Taskmill_StartWord};
    message.Add("run", runID);
    message.Add("owner", owner);
    message.Add("directory", directory);
    message.Add("input", inputPath);
    message.Add("output", outputPath);
    message.Add("grace", graceMs);
    message.Add("nice", nice);
    message.Add("files", openFiles);
    if (waits)
        message.Add("waits", 1);
    message.Add("argument", program);
    for (const std::string &argument : arguments)
        message.Add("argument", argument);
    const std::string name = std::string{Taskmill_RunVariable} + '=';
    for (const std::string &variable : environment) {
        if (!variable.starts_with(name))
            message.Add("variable", variable);
    }
    message.Add("variable", name + runID);
    return message;
}

Taskmill_RunConnection::Adoption Taskmill_RunConnection::Adopt(const std::string &runFolder,
                                                               const std::string &runID, std::string &owner,
                                                               int waitMs, Taskmill_RunConnection &connection)
{
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds{waitMs};
    Adoption adoption = Adoption::Gone;
    // It listens a moment after its manager's end.
    while (Taskmill_IsKeeperAlive(runFolder, runID)) {
        Taskmill_KeeperMessage question{Taskmill_AdoptWord};
        question.Add("run", runID);
        question.Add("owner", owner);
        Taskmill_KeeperChannel channel = Taskmill_KeeperChannel::Connect(runFolder, runID);
        adoption = channel.IsOpen() && channel.Send(question) ? AnswerOf(channel, owner, MsUntil(end))
                                                              : Adoption::Occupied;
        if (adoption == Adoption::Adopted)
            connection.m_channel = std::move(channel);
        if (adoption != Adoption::Occupied || Clock::now() >= end)
            break;
        constexpr std::chrono::milliseconds pause{2};
        std::this_thread::sleep_for(pause);
        adoption = Adoption::Gone;
    }
    return adoption;
}

Taskmill_RunReport Taskmill_RunConnection::Receive(int waitMs)
{
    Taskmill_RunReport report;
    std::optional<Taskmill_KeeperMessage> message;
    if (!IsOpen())
        return report;
    if (m_channel.ReceiveWithin(waitMs, message) == Taskmill_KeeperChannel::State::Ended)
        report.kind = Taskmill_RunReport::Kind::Lost;
    else if (message)
        report = Take(*message);
    if (report.isKeeperFree)
        m_freeKeeper = std::move(m_channel);
    if (report.kind == Taskmill_RunReport::Kind::Lost || report.kind == Taskmill_RunReport::Kind::Ended)
        m_channel.Close();
    return report;
}

Taskmill_RunReport Taskmill_RunConnection::Take(const Taskmill_KeeperMessage &message)
{
    using Kind = Taskmill_RunReport::Kind;
    Taskmill_RunReport report;
    report.outputBytes = message.Number("total", 0);
    report.processID = message.Number("pid", 0);
    report.directory = message.Value("directory");
    if (message.Word() == Taskmill_StartedWord)
        report.kind = Kind::Started;
    else if (message.Word() == Taskmill_OutputWord)
        report.kind = Kind::Output;
    else if (message.Word() == Taskmill_RemainsWord) {
        report.kind = Kind::Remains;
        for (const std::string_view text : message.Values("pid")) {
            long long number = 0;
            std::from_chars(text.data(), text.data() + text.size(), number);
            report.remaining.push_back(number);
        }
    } else if (message.Word() == Taskmill_EndWord) {
        if (const auto record = Taskmill_RunRecord::FromLine(message.Value("record"))) {
            report.kind = Kind::Ended;
            report.end = record->end;
            report.failedFile = message.Value("file");
            report.isKeeperFree = message.Number("free", 0) != 0;
        }
    }
    return report;
}

bool Taskmill_RunConnection::Go() const
{
    return IsOpen() && m_channel.Send(Taskmill_KeeperMessage{Taskmill_GoWord});
}

bool Taskmill_RunConnection::Kill(long long graceMs) const
{
    Taskmill_KeeperMessage message{Taskmill_KillWord};
    message.Add("grace", graceMs);
    return IsOpen() && m_channel.Send(message);
}

bool Taskmill_RunConnection::SetOwner(const std::string &owner) const
{
    Taskmill_KeeperMessage message{Taskmill_OwnerWord};
    message.Add("owner", owner);
    return IsOpen() && m_channel.Send(message);
}

bool Taskmill_RunConnection::Watch(long long outputBytes) const
{
    Taskmill_KeeperMessage message{Taskmill_WatchWord};
    message.Add("total", outputBytes);
    return IsOpen() && m_channel.Send(message);
}
