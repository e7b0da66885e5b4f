// SPDX-License-Identifier: MIT
#include "wire/keeperclient.h"

#include "wire/runlocks.h"

#include <charconv>

namespace {
Taskmill_KeeperMessage MessageOf(const Taskmill_RunOrder &order)
{
    Taskmill_KeeperMessage message{Taskmill_StartWord};
    message.Add("run", order.runID);
    message.Add("owner", order.owner);
    message.Add("directory", order.directory);
    message.Add("input", order.inputPath);
    message.Add("output", order.outputPath);
    message.Add("grace", order.graceMs);
    message.Add("nice", order.nice);
    message.Add("files", order.openFiles);
    message.Add("argument", order.program);
    for (const std::string &argument : order.arguments)
        message.Add("argument", argument);
    const std::string name = std::string{Taskmill_RunVariable} + '=';
    for (const std::string &variable : order.environment) {
        if (!variable.starts_with(name))
            message.Add("variable", variable);
    }
    message.Add("variable", name + order.runID);
    return message;
}
} // namespace

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
        }
    }
    return report;
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

Taskmill_RunConnection Taskmill_Nursery::StartRun(const Taskmill_RunOrder &order) const
{
    auto [own, keepers] = Taskmill_KeeperChannel::MakePair();
    // Many orders at once fill its queue, from which it takes one in a fraction of a millisecond.
    constexpr int waitMs = 5000;
    const Taskmill_RunLock lock{m_runFolder, order.runID};
    if (!IsOpen() || !own.IsOpen() || !lock.IsHeld() ||
        !m_channel.Send(MessageOf(order), {keepers.Get(), lock.Get()}, waitMs))
        return {};
    return Taskmill_RunConnection{std::move(own)};
}

bool Taskmill_Nursery::Sweep(const std::string &runID) const
{
    Taskmill_KeeperMessage message{Taskmill_SweepWord};
    message.Add("run", runID);
    return IsOpen() && m_channel.Send(message);
}

std::optional<std::string> Taskmill_Nursery::ReceiveSwept(int waitMs)
{
    std::optional<Taskmill_KeeperMessage> message;
    if (!IsOpen())
        return std::nullopt;
    if (m_channel.ReceiveWithin(waitMs, message) == Taskmill_KeeperChannel::State::Ended)
        m_channel.Close();
    if (!message || message->Word() != Taskmill_SweptWord)
        return std::nullopt;
    return std::string{message->Value("run")};
}
