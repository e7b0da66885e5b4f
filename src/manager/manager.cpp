// SPDX-License-Identifier: MIT
#include "manager/manager.h"

#include "jobs/queuelessjobslist.h"
#include "kilnutil/registry.h"
#include "manager/changedfiledialogue.h"
#include "manager/heldjobsdialogue.h"
#include "manager/recentprojects.h"
#include "manager/spareproject.h"
#include "processes/processinspector.h"
#include "processes/processtree.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

Taskmill_Manager::Taskmill_Manager(Taskmill_Notifier &notifier, Taskmill_ReadOnlyProjects readOnlyProjects)
    : m_inspector{Taskmill_MakeProcessInspector()}
    , m_jobTypes{m_store}
    , m_destinations{m_finishedJobs,
                     {.Store = m_store,
                      .FinishedJobs = m_finishedJobs,
                      .Inspector = *m_inspector,
                      .Notifier = notifier}}
    , m_project{m_jobTypes, m_jobNumbers, m_finishedJobs, m_destinations, notifier, m_runs, readOnlyProjects}
    , m_submitter{m_store, m_jobNumbers, m_destinations}
    , m_runningJobs{*m_inspector, m_jobTypes}
{
}

Taskmill_Manager::~Taskmill_Manager()
{
    ShutDown();
}

bool Taskmill_Manager::OpenStartUpProject(const QString &startUpFile)
{
    const QString lastDirectory = KilnUtil_Registry::Value(u"/Files/Last_Directory_Path"_s).toString();
    const QString file = startUpFile.isEmpty() ? QString{} : QFileInfo{startUpFile}.absoluteFilePath();
    if (!lastDirectory.isEmpty() && QFileInfo{lastDirectory}.isDir())
        QDir::setCurrent(lastDirectory);
    Taskmill_DropMissingRecentProjects();
    return file.isEmpty() ? m_project.OpenWithoutFile() : m_project.OpenProject(file);
}

QStringList Taskmill_Manager::NoticesAtStart(bool asks)
{
    QStringList notices = m_project.Notices();
    if (!asks)
        notices += {Taskmill_ChangedFileDialogue::Notice(m_project),
                    Taskmill_HeldJobsDialogue::Notice(*m_destinations.Queueless().List())};
    notices.removeAll(QString{});
    const QStringList spareProjects = Taskmill_SpareProjects();
    for (const QString &path : spareProjects) {
        if (path != m_project.FilePath())
            notices += Taskmill_SpareProjectNotice(path);
    }
    return notices;
}

const Taskmill_JobRecord *Taskmill_Manager::FindJob(int jobID)
{
    if (Taskmill_QueueOwner *owner = m_destinations.OwnerOfJob(jobID))
        return &owner->Jobs().FindByJobID(jobID)->Record();
    const QList<Taskmill_JobRecord> &finished = m_finishedJobs.Jobs();
    const auto job = std::ranges::find(finished, jobID, &Taskmill_JobRecord::JobID);
    return job == finished.end() ? nullptr : &*job;
}

void Taskmill_Manager::ShutDown(End end)
{
    if (std::exchange(m_isShutDown, true))
        return;
    if (end == End::InOrder)
        m_project.CloseProject();
    else
        m_project.LeaveProject();
}

void Taskmill_Manager::SaveBeforeAbruptEnd()
{
    if (m_isShutDown)
        return;
    m_project.SaveUnattended();
    KilnUtil_ProcessTree::KillRegisteredChildren();
    m_project.RecordEndedRuns();
}
