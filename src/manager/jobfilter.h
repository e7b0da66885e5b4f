// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>

struct Taskmill_FinishedJobReading;
struct Taskmill_JobRecord;

/// Which jobs of a list are shown.
class Taskmill_JobFilter
{
public:
    /// All of them.
    Taskmill_JobFilter() = default;
    /// Those that have each word of the text, in any case, in their name, the name of their job type, their
    /// folder or their result; with `failedOnly`, those of them that have failed, see
    /// Taskmill_JobRecord::HasFailed().
    explicit Taskmill_JobFilter(const QString &text, bool failedOnly);

    bool operator==(const Taskmill_JobFilter &) const = default;

    [[nodiscard]] bool ShowsAll() const { return m_words.isEmpty() && !m_failedOnly; }
    [[nodiscard]] bool Matches(const Taskmill_JobRecord &job) const;

    /// What of a stored job it looks at.
    [[nodiscard]] Taskmill_FinishedJobReading WhatIsRead() const;

private:
    QStringList m_words;
    bool m_failedOnly = false;
};
