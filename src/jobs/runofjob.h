// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

/// Where the run of a job is found: the text of Taskmill_JobRecord::Run.
struct Taskmill_RunOfJob
{
    QString RunID;   ///< what KilnUtil_RunKeepers knows it by
    QString Machine; ///< on which it runs, as KilnUtil_ComputerData::MachineID() has it

    /// Both empty where the text is none.
    explicit Taskmill_RunOfJob(const QString &text);
    Taskmill_RunOfJob(const QString &runID, const QString &machine)
        : RunID{runID}
        , Machine{machine}
    {
    }

    [[nodiscard]] QString Text() const { return RunID + u'@' + Machine; }
    /// Whether it is, or was, a run of this computer.
    [[nodiscard]] bool IsOfThisMachine() const;
};
