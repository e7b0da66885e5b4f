// SPDX-License-Identifier: MIT
#include "wire/runjournals.h"

#include "wire/runlocks.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <set>
#include <string_view>
#include <vector>

namespace fs = std::filesystem;

namespace {
fs::path PathOf(const std::string &text)
{
    return std::u8string{text.begin(), text.end()};
}

std::vector<std::string> FilesIn(const std::string &folder)
{
    std::vector<std::string> paths;
    std::error_code error;
    for (fs::directory_iterator entry{PathOf(folder), error}, end; !error && entry != end;
         entry.increment(error)) {
        const std::u8string name = entry->path().filename().u8string();
        paths.push_back(folder + '/' + std::string{name.begin(), name.end()});
    }
    return paths;
}

/// Nobody has come for its results in a long time, as for those of a project that was never saved.
bool IsForgotten(const std::string &journal)
{
    constexpr std::chrono::hours longest{24 * 60};
    std::error_code error;
    const auto changed = fs::last_write_time(PathOf(journal), error);
    return !error && fs::file_time_type::clock::now() - changed > longest;
}

/// Without what may change, see Taskmill_RunJournals::Claim().
std::string_view WordOf(std::string_view claimant)
{
    return claimant.substr(0, claimant.find(':'));
}

void Remove(const std::string &path)
{
    std::error_code error;
    fs::remove(PathOf(path), error);
}

/// Empty when a run cannot have such a name, or nobody such a word.
std::string LineOf(const std::string &runID, const std::string &claimant)
{
    Taskmill_RunRecord record{Taskmill_RunRecord::Kind::Claim, runID};
    record.claimant = claimant;
    const std::string line = record.ToLine();
    return Taskmill_RunRecord::FromLine(line) ? line : std::string{};
}
} // namespace

Taskmill_RunJournals::Taskmill_RunJournals(std::string runFolder)
    : m_folder{std::move(runFolder)}
{
}

void Taskmill_RunJournals::Refresh()
{
    for (const std::string &journal : FilesIn(m_folder + "/journal"))
        ReadNewLines(journal);
}

void Taskmill_RunJournals::ReadNewLines(const std::string &journal)
{
    std::uintmax_t &position = m_positions[journal];
    // By opening it: what Windows says of a file that others write is old.
    std::ifstream file{PathOf(journal), std::ios::binary | std::ios::ate};
    const std::streamoff size = file.tellg();
    if (size <= static_cast<std::streamoff>(position))
        return;
    std::string text(static_cast<std::size_t>(size) - position, '\0');
    file.seekg(static_cast<std::streamoff>(position));
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(file.gcount()));
    // The rest of the last line may still be on its way.
    for (std::size_t begin = 0, end = 0; (end = text.find('\n', begin)) != text.npos; begin = end + 1) {
        if (const auto record =
                Taskmill_RunRecord::FromLine(std::string_view{text}.substr(begin, end - begin)))
            Take(journal, *record);
        position += end + 1 - begin;
    }
}

void Taskmill_RunJournals::Take(const std::string &journal, const Taskmill_RunRecord &record)
{
    // A claim stands behind what it is about: of a run that is known no more it says nothing.
    if (record.kind == Taskmill_RunRecord::Kind::Claim && !m_runs.contains(record.runID))
        return;
    Run &run = m_runs[record.runID];
    run.journal = journal;
    switch (record.kind) {
    case Taskmill_RunRecord::Kind::Start:
        run.bootID = record.bootID;
        run.startMs = record.startMs;
        break;
    case Taskmill_RunRecord::Kind::End:
        run.end = record.end;
        break;
    case Taskmill_RunRecord::Kind::Claim:
        if (run.claimant.empty())
            run.claimant = record.claimant;
        break;
    }
}

const Taskmill_RunJournals::Run *Taskmill_RunJournals::Find(const std::string &runID) const
{
    const auto run = m_runs.find(runID);
    return run == m_runs.end() ? nullptr : &run->second;
}

bool Taskmill_RunJournals::Claim(const std::string &runID, const std::string &claimant)
{
    const Taskmill_ClaimLock lock{m_folder};
    if (!lock.IsHeld())
        return false;
    Refresh();
    const Claimed claimed = StateOf(runID, claimant);
    if (claimed != Claimed::ByNobody)
        return claimed == Claimed::ByClaimant;
    Run &run = m_runs.at(runID);
    if (!Taskmill_AppendToJournal(run.journal, LineOf(runID, claimant)))
        return false;
    run.claimant = claimant;
    return true;
}

Taskmill_RunJournals::Claims Taskmill_RunJournals::ClaimAll(const std::vector<std::string> &runIDs,
                                                            const std::string &claimant)
{
    constexpr int waitMs = 20;
    const Taskmill_ClaimLock lock{m_folder, waitMs};
    if (!lock.IsHeld())
        return Claims::Busy;
    bool areAllTaken = true;
    Refresh();
    std::map<std::string, std::string> linesOfJournals;
    for (const std::string &runID : runIDs) {
        const Claimed claimed = StateOf(runID, claimant);
        // A run that was never started has no result to be taken.
        if (claimed == Claimed::ByOtherOrNotYet && m_runs.contains(runID))
            areAllTaken = false;
        if (claimed == Claimed::ByNobody)
            linesOfJournals[m_runs.at(runID).journal] += LineOf(runID, claimant);
        m_runs.erase(runID);
    }
    for (const auto &[journal, lines] : linesOfJournals)
        areAllTaken = Taskmill_AppendToJournal(journal, lines) && areAllTaken;
    return areAllTaken ? Claims::AllTaken : Claims::SomeNotTaken;
}

Taskmill_RunJournals::Claimed Taskmill_RunJournals::StateOf(const std::string &runID,
                                                            const std::string &claimant)
{
    auto run = m_runs.find(runID);
    if (run == m_runs.end() || !run->second.end) {
        // Before the journal is read: a keeper appends the end before it gives its lock back.
        const bool isAlive = Taskmill_IsKeeperAlive(m_folder, runID);
        Refresh();
        run = m_runs.find(runID);
        if (run == m_runs.end() || (isAlive && !run->second.end))
            return Claimed::ByOtherOrNotYet;
    }
    if (run->second.claimant.empty())
        return LineOf(runID, claimant).empty() ? Claimed::ByOtherOrNotYet : Claimed::ByNobody;
    return WordOf(run->second.claimant) == WordOf(claimant) ? Claimed::ByClaimant : Claimed::ByOtherOrNotYet;
}

void Taskmill_RunJournals::Tidy()
{
    const Taskmill_ClaimLock lock{m_folder};
    if (!lock.IsHeld())
        return;
    std::set<std::string> unused;
    for (const std::string &journal : FilesIn(m_folder + "/journal")) {
        if (!Taskmill_IsJournalInUse(journal))
            unused.insert(journal);
    }
    Refresh();
    for (const auto &[id, run] : m_runs) {
        if (run.claimant.empty() && !IsForgotten(run.journal))
            unused.erase(run.journal);
    }
    const std::set<std::string> newest = NewestOf(unused);
    std::erase_if(m_runs, [&unused](const auto &one) { return unused.contains(one.second.journal); });
    RemoveFilesOfUnknownRuns(m_folder + "/out/");
    RemoveFilesOfUnknownRuns(m_folder + "/socket/");
    // Their lines may be needed where the result was stored and is gone.
    for (const std::string &journal : newest)
        unused.erase(journal);
    for (const std::string &journal : unused) {
        // A program that begins a journal waits for this clean-up only so long, so one may be in use by now.
        if (Taskmill_IsJournalInUse(journal))
            continue;
        Remove(journal);
        m_positions.erase(journal);
    }
    for (const std::string &journal : newest)
        m_positions.erase(journal);
}

std::set<std::string> Taskmill_RunJournals::NewestOf(const std::set<std::string> &journals) const
{
    // All of them are read at a manager's start.
    constexpr std::size_t most = 4;
    constexpr std::uintmax_t mostBytes = 256UL * 1024;
    std::map<std::string, fs::file_time_type> times;
    for (const auto &[id, run] : m_runs) {
        std::error_code error;
        if (journals.contains(run.journal) && !times.contains(run.journal) && !IsForgotten(run.journal))
            times[run.journal] = fs::last_write_time(PathOf(run.journal), error);
    }
    std::set<std::string> newest;
    std::uintmax_t bytes = 0;
    while (!times.empty() && newest.size() < most) {
        const auto next = std::ranges::max_element(times, {}, [](const auto &one) { return one.second; });
        const auto size = m_positions.find(next->first);
        bytes += size == m_positions.end() ? 0 : size->second;
        if (!newest.empty() && bytes > mostBytes)
            break;
        newest.insert(next->first);
        times.erase(next);
    }
    return newest;
}

void Taskmill_RunJournals::RemoveFilesOfUnknownRuns(const std::string &folder)
{
    for (const std::string &path : FilesIn(folder)) {
        const std::string id = path.substr(path.rfind('/') + 1);
        // One whose start could not be recorded, on a full disk, may still run.
        if (!m_runs.contains(id) && !Taskmill_IsKeeperAlive(m_folder, id))
            Remove(path);
    }
}
