// SPDX-License-Identifier: MIT
#include "manager/runningjobs.h"

#include "jobs/jobtypelist.h"
#include "manager/listings.h"
#include "manager/processesofjobtypes.h"
#include "manager/processworker.h"

using namespace Qt::Literals::StringLiterals;

Taskmill_RunningJobs::Taskmill_RunningJobs(Taskmill_ProcessInspector &inspector,
                                           Taskmill_JobTypeList &jobTypes)
    : m_inspector{inspector}
    , m_jobTypes{jobTypes}
{
}

Taskmill_RunningJobs::~Taskmill_RunningJobs() = default;

std::optional<QStringList> Taskmill_RunningJobs::ExecutablesToShow() const
{
    if (!m_onlyKnown)
        return std::nullopt;
    QStringList executables;
    const QList<Taskmill_JobType> jobTypes = m_jobTypes.GetAll();
    for (const Taskmill_JobType &jobType : jobTypes)
        executables += jobType.ExecutablePath;
    return executables;
}

Taskmill_RunningJobs::Reading Taskmill_RunningJobs::PrepareReading() const
{
    return [&inspector = m_inspector, executables = ExecutablesToShow()] {
        const QList<Taskmill_ProcessRecord> processes = inspector.ListProcessesUnlessInterrupted();
        return executables ? Taskmill_ProcessesOfJobTypes(processes, *executables) : processes;
    };
}

Taskmill_ProcessWorker &Taskmill_RunningJobs::Worker()
{
    if (!m_worker) {
        m_worker = std::make_unique<Taskmill_ProcessWorker>(m_inspector);
        connect(m_worker.get(), &Taskmill_ProcessWorker::ListedSignal, this,
                &Taskmill_RunningJobs::ListedSlot);
    }
    return *m_worker;
}

void Taskmill_RunningJobs::RefreshInBackground()
{
    if (m_reading)
        m_readAgain = true;
    else
        StartReading();
}

void Taskmill_RunningJobs::StartReading()
{
    m_reading = true;
    m_readAgain = false;
    Worker().List(ExecutablesToShow());
}

void Taskmill_RunningJobs::KillInBackground(const Taskmill_ProcessRecord &process, Taskmill_Kill kill)
{
    Worker().Kill(process, kill);
}

void Taskmill_RunningJobs::ListedSlot(const QList<Taskmill_ProcessRecord> &processes)
{
    m_reading = false;
    m_processes = processes;
    if (m_readAgain)
        StartReading();
    Q_EMIT RefreshedSignal();
}

QString Taskmill_RunningJobs::ListingText(const QList<Taskmill_ProcessRecord> &processes, int width)
{
    m_processes = processes;
    QList<QStringList> rows;
    for (const Taskmill_ProcessRecord &process : m_processes)
        rows.append(Taskmill_Listings::Processes().Row(process));
    return Taskmill_Listings::Processes().Listing(u"Running Jobs"_s, u"Running Jobs List"_s, rows, width);
}
