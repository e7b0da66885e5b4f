// SPDX-License-Identifier: MIT
#include "slurm/cancellations.h"

#include "slurm/durablefile.h"
#include "slurm/queuelisting.h"

#include <cstdlib>
#include <filesystem>
#include <sstream>

#include <unistd.h>

namespace {
constexpr long long tooOldMs = 30LL * 24 * 3600 * 1000;
constexpr std::size_t longestEntry = 4096;
} // namespace

Taskmill_Cancellations::Taskmill_Cancellations(const std::string &folder)
    : m_folder{folder.empty() ? folder : folder + "/cancel"}
{
    bool isNew = false;
    if (!m_folder.empty() && !Taskmill_MakeOwnFolder(m_folder, isNew))
        m_folder.clear();
}

bool Taskmill_Cancellations::Add(const Entry &entry) const
{
    return !m_folder.empty() &&
           Taskmill_WriteDurably(m_folder + '/' + entry.comment, entry.host + '\n' + entry.number + '\n' +
                                                                     std::to_string(entry.askedMs) + '\n');
}

void Taskmill_Cancellations::Remove(const std::string &comment) const
{
    if (!m_folder.empty())
        unlink((m_folder + '/' + comment).c_str());
}

std::vector<Taskmill_Cancellations::Entry> Taskmill_Cancellations::All() const
{
    std::vector<Entry> entries;
    std::error_code error;
    if (m_folder.empty())
        return entries;
    for (const auto &file : std::filesystem::directory_iterator{m_folder, error}) {
        Entry entry{.comment = file.path().filename().string(), .host = {}, .number = {}};
        if (!entry.comment.starts_with(Taskmill_CommentStart) || entry.comment.ends_with(".new"))
            continue;
        std::istringstream lines{Taskmill_ReadFile(file.path().string(), longestEntry).value_or("")};
        std::string askedMs;
        std::getline(lines, entry.host);
        std::getline(lines, entry.number);
        if (std::getline(lines, askedMs))
            entry.askedMs = std::atoll(askedMs.c_str());
        entries.push_back(std::move(entry));
    }
    return entries;
}

void Taskmill_Cancellations::Repeat(
    const std::string &host, std::string_view listing,
    const std::function<Taskmill_CommandEnd(const std::vector<std::string> &)> &run) const
{
    for (const Entry &entry : All()) {
        if (entry.host != host)
            continue;
        const auto job = Taskmill_FindListed(listing, entry.comment, entry.number);
        const auto kind = job ? Taskmill_KindOfState(job->state) : Taskmill_ListedKind::Ended;
        const bool isThere = kind == Taskmill_ListedKind::Waits || kind == Taskmill_ListedKind::Runs;
        if (!isThere || Taskmill_NowMs() > entry.askedMs + tooOldMs)
            Remove(entry.comment);
        else
            static_cast<void>(run({"scancel", job->number}));
    }
}
