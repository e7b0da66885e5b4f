// SPDX-License-Identifier: MIT
#include "slurm/sharedqueue.h"

#include "slurm/durablefile.h"
#include "wire/privatefile.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {
constexpr std::size_t longestListing = 16UL * 1024 * 1024;

/// Short, and the same for all who ask the same cluster (FNV-1a).
std::string FileName(const std::string &cluster)
{
    constexpr std::uint64_t offset = 14695981039346656037ULL;
    constexpr std::uint64_t prime = 1099511628211ULL;
    std::uint64_t hash = offset;
    for (const char c : cluster)
        hash = (hash ^ static_cast<unsigned char>(c)) * prime;
    return "queue-" + std::to_string(hash);
}

std::string ToText(const Taskmill_SharedQueue::Listing &listing)
{
    return std::to_string(listing.askedMs) + (listing.isAnswer ? " answer\n" : " failure\n") + listing.text;
}

Taskmill_SharedQueue::Listing FromText(const std::string &text)
{
    Taskmill_SharedQueue::Listing listing;
    const std::size_t end = text.find('\n');
    if (end == std::string::npos || std::sscanf(text.c_str(), "%lld ", &listing.askedMs) != 1)
        return {};
    listing.isAnswer = text.substr(0, end).ends_with(" answer");
    listing.text = text.substr(end + 1);
    return listing;
}
} // namespace

Taskmill_SharedQueue::Taskmill_SharedQueue(const std::string &folder, const std::string &cluster)
    : m_path{folder.empty() ? std::string{} : folder + '/' + FileName(cluster)}
{
}

long long Taskmill_SharedQueue::IntervalMs()
{
    constexpr long long usual = 10;
    constexpr long long longest = 3600;
    constexpr long long msInSecond = 1000;
    const char *text = std::getenv("TASKMILL_SLURM_INTERVAL");
    const long long seconds = text ? std::atoll(text) : 0;
    return msInSecond * (seconds > 0 ? std::min(seconds, longest) : usual);
}

const Taskmill_SharedQueue::Listing &
Taskmill_SharedQueue::Look(const std::function<Taskmill_CommandEnd()> &ask)
{
    m_hasAsked = false;
    const auto isTime = [this](long long now) {
        // A clock that was set back must not silence everybody.
        return now >= m_askedMs + IntervalMs() || now < m_askedMs;
    };
    if (m_path.empty()) {
        if (const long long now = Taskmill_NowMs(); isTime(now)) {
            m_askedMs = now;
            Ask(ask, now);
        }
        return m_listing;
    }
    Read();
    if (!isTime(Taskmill_NowMs()))
        return m_listing;
    const Taskmill_FileLock lock{m_path + ".lock"};
    m_askedMs = lock.StampMs();
    const long long now = Taskmill_NowMs();
    if (!lock.IsHeld() || !isTime(now))
        return m_listing;
    lock.Stamp();
    m_askedMs = now;
    Ask(ask, now);
    static_cast<void>(Taskmill_WritePrivateFile(m_path, ToText(m_listing)));
    return m_listing;
}

void Taskmill_SharedQueue::Ask(const std::function<Taskmill_CommandEnd()> &ask, long long nowMs)
{
    m_hasAsked = true;
    const Taskmill_CommandEnd end = ask();
    m_listing.askedMs = nowMs;
    m_listing.isAnswer = end.IsSuccess();
    m_listing.text = end.IsSuccess() ? end.output : end.Reason("squeue");
}

void Taskmill_SharedQueue::Read()
{
    if (const Listing listing = FromText(Taskmill_ReadPrivateFile(m_path, longestListing));
        listing.askedMs > 0)
        m_listing = listing;
    if (const std::optional<std::string> stamp = Taskmill_ReadFile(m_path + ".lock", 32))
        std::sscanf(stamp->c_str(), "%lld.", &m_askedMs);
}

bool Taskmill_SharedQueue::IsAnswerLate() const
{
    return m_askedMs > m_listing.askedMs && Taskmill_NowMs() > m_askedMs + PatienceMs;
}
