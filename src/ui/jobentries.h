// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobrecord.h"

#include <QList>

#include <functional>
#include <optional>

class QAction;
class Taskmill_TabMenu;

/// The entries about jobs that all tabs of jobs have behind those of their own.
class Taskmill_JobEntries
{
public:
    /// Copies are made of so many jobs at most.
    static constexpr qsizetype MostCopied = 1000;

    /// The jobs that are selected, else the current one; more than MostCopied are not listed.
    struct Jobs
    {
        QList<int> jobIDs;
        /// As a job is now; nothing when it has gone.
        std::function<std::optional<Taskmill_JobRecord>(int jobID)> find;
    };

    /// Adds them, each as far as it can be chosen.
    Taskmill_JobEntries(Taskmill_TabMenu &menu, Jobs jobs);

    /// Does what was chosen; false when it is not one of these.
    bool Act(const QAction &chosen) const;

private:
    [[nodiscard]] QList<Taskmill_JobRecord> Records() const;

    Jobs m_jobs;
    QAction *m_openFolder;
    QAction *m_copyPath;
    QAction *m_copyCommandLine;
};
