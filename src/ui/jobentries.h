// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobrecord.h"

#include <QList>

#include <functional>

class QAction;
class Taskmill_TabMenu;

/// The entries about jobs that all tabs of jobs have behind those of their own.
class Taskmill_JobEntries
{
public:
    /// Of more jobs nothing is copied.
    static constexpr qsizetype MostJobs = 1000;

    /// The jobs that are selected, else the current one.
    struct Jobs
    {
        qsizetype count = 0;
        /// As a job is now; nullptr when it has gone.
        std::function<const Taskmill_JobRecord *(qsizetype place)> at;
    };

    /// Adds them, each as far as it can be chosen.
    Taskmill_JobEntries(Taskmill_TabMenu &menu, Jobs jobs);

    /// Does what was chosen; false when it is not one of these.
    bool Act(const QAction &chosen) const;

private:
    [[nodiscard]] QStringList OfEach(QString (*text)(const Taskmill_JobRecord &job)) const;

    Jobs m_jobs;
    QAction *m_openFolder;
    QAction *m_copyPath;
    QAction *m_copyCommandLine;
};
