// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

/// A journal that is in use as long as this lives, see Taskmill_IsJournalInUse().
class Taskmill_OpenJournal
{
public:
    /// Made when it is missing.
    explicit Taskmill_OpenJournal(const std::string &journal);
    ~Taskmill_OpenJournal();
    Taskmill_OpenJournal(const Taskmill_OpenJournal &) = delete;
    Taskmill_OpenJournal &operator=(const Taskmill_OpenJournal &) = delete;

    [[nodiscard]] bool IsOpen() const;
    /// At the end, at once; returns how many bytes, or -1 and the system's error.
    [[nodiscard]] long long Append(const std::string &text, int &error) const;
    /// Makes sure that it is on the disk.
    void Store() const;

private:
    std::intptr_t m_file;
};
