// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

/// How the texts of LargerThanBudget begin.
inline constexpr QLatin1StringView Taskmill_LargerThanBudgetText{"larger than the budget"};

/// Why a job waits that would run otherwise. Kept in memory only. Of thousands of jobs it changes with each
/// start, so the text is made when it is shown.
struct Taskmill_WaitReason
{
    enum class Kind
    {
        None, ///< it waits for its turn
        Cores,
        Memory,
        CoresAndMemory,
        KeptForOther, ///< what is free is kept for another job, which has waited long
        LargerThanBudget,
        InWords
    };

    Kind Why = Kind::None;
    bool IsKept = false;     ///< what becomes free is kept for this job
    qint32 Cores = 0;        ///< that the job needs
    qint64 MemoryMB = 0;     ///< that the job needs
    qint64 FreeCores = 0;    ///< of LargerThanBudget: of the whole budget
    qint64 FreeMemoryMB = 0; ///< of LargerThanBudget: of the whole budget
    qint32 OtherJobID = 0;   ///< of KeptForOther
    QString Words{};         ///< of InWords
    QString OfFiles{};       ///< what its files have against a start, whatever else does; empty for nothing

    bool operator==(const Taskmill_WaitReason &) const = default;

    /// What somebody else has decided, such as "held".
    [[nodiscard]] static Taskmill_WaitReason InWords(const QString &words)
    {
        return {.Why = Kind::InWords, .Words = words};
    }
    /// Such as "waits for 8 cores, 4 free"; of None what its files have against a start.
    [[nodiscard]] QString Text() const;
};
