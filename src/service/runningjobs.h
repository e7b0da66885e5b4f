#pragma once

#include "jobs/processinspector.h"

#include <QList>
#include <QObject>

class Taskmill_JobTypeList;

/// The half of the running-processes tab that needs no window: the processes of this computer, as last read,
/// all of them or only those whose program is the executable of a known job type.
class Taskmill_RunningJobs : public QObject
{
    Q_OBJECT

public:
    /// Both outlive this.
    Taskmill_RunningJobs(Taskmill_ProcessInspector &inspector, Taskmill_JobTypeList &jobTypes);

    [[nodiscard]] const QList<Taskmill_ProcessRecord> &Processes() const { return m_processes; }

    [[nodiscard]] bool OnlyShowsKnownJobTypes() const { return m_onlyKnown; }
    /// Takes effect with the next Refresh().
    void SetOnlyShowKnownJobTypes(bool onlyKnown) { m_onlyKnown = onlyKnown; }

    /// Reads the processes afresh. Nothing follows them on its own.
    void Refresh();

    /// Refreshes and returns the listing that the console prints.
    [[nodiscard]] QString ListingText();

private:
    Taskmill_ProcessInspector &m_inspector;
    Taskmill_JobTypeList &m_jobTypes;
    QList<Taskmill_ProcessRecord> m_processes;
    bool m_onlyKnown = true;
};

/// The processes whose executable is that of one of the job types, in their order.
[[nodiscard]] QList<Taskmill_ProcessRecord>
Taskmill_ProcessesOfJobTypes(const QList<Taskmill_ProcessRecord> &processes,
                             const QStringList &jobTypeExecutables);
