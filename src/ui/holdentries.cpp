// SPDX-License-Identifier: MIT
#include "ui/holdentries.h"

#include "kilnutil/error.h"
#include "manager/destinations.h"
#include "manager/waitingjobs.h"
#include "ui/startlaterdialog.h"
#include "ui/tabmenu.h"

#include <QPointer>

using namespace Qt::Literals::StringLiterals;

namespace {
void Report(const Taskmill_WaitingJobs::Outcome &outcome)
{
    if (!outcome.Problem.isEmpty())
        KilnUtil_Error::ReportError(u"Holding Jobs"_s, outcome.Problem);
}
} // namespace

Taskmill_HoldEntries::Taskmill_HoldEntries(Taskmill_TabMenu &menu, Taskmill_Destinations &destinations,
                                           const QList<int> &jobIDs)
    : m_destinations{destinations}
    , m_hold{menu.AddEntry(u"&Hold"_s)}
    , m_release{menu.AddEntry(u"&Release"_s)}
    , m_later{menu.AddEntry(u"Start La&ter..."_s)}
{
    bool isAnyFree = false;
    bool isAnyBound = false;
    for (const int jobID : jobIDs) {
        const Taskmill_JobRecord *job = Waiting(jobID);
        if (!job)
            continue;
        m_jobIDs.append(jobID);
        isAnyFree = isAnyFree || !job->Conditions.IsHeld;
        isAnyBound = isAnyBound || job->Conditions.AreAny() || !job->WaitReason.OfFiles.isEmpty();
    }
    m_hold->setEnabled(isAnyFree);
    m_release->setEnabled(isAnyBound);
    m_later->setEnabled(!m_jobIDs.isEmpty());
}

const Taskmill_JobRecord *Taskmill_HoldEntries::Waiting(int jobID) const
{
    const Taskmill_QueueOwner *owner = m_destinations.OwnerOfJob(jobID);
    const Taskmill_Job *job = owner ? owner->Jobs().FindByJobID(jobID) : nullptr;
    const bool waits = job && job->Status() == Taskmill_JobStatus::Pending && !job->IsHeld();
    return waits ? &job->Record() : nullptr;
}

bool Taskmill_HoldEntries::Act(const QAction &chosen, QWidget &parent) const
{
    // Some may have started while the menu was open.
    QList<int> jobIDs = m_jobIDs;
    jobIDs.removeIf([this](int jobID) { return !Waiting(jobID); });
    Taskmill_WaitingJobs waiting{m_destinations};
    if (&chosen == m_hold)
        Report(waiting.Hold(jobIDs));
    else if (&chosen == m_release)
        Report(waiting.Release(jobIDs));
    else if (&chosen == m_later)
        AskWhen(parent);
    else
        return false;
    return true;
}

void Taskmill_HoldEntries::AskWhen(QWidget &parent) const
{
    const Taskmill_JobRecord *first = Waiting(m_jobIDs.first());
    const auto nameOf = [this](int jobID) {
        const Taskmill_QueueOwner *owner = m_destinations.OwnerOfJob(jobID);
        return owner ? owner->Jobs().FindByJobID(jobID)->Record().Name : QString{};
    };
    // The program may end while the dialog is open.
    const QPointer<Taskmill_StartLaterDialog> dialog = new Taskmill_StartLaterDialog{
        &parent, first ? first->Conditions : Taskmill_StartConditions{}, nameOf};
    const bool isAccepted = dialog->exec() == QDialog::Accepted;
    if (!dialog)
        return;
    const Taskmill_StartConditions conditions = dialog->Conditions();
    delete dialog;
    if (!isAccepted)
        return;
    QList<int> jobIDs = m_jobIDs;
    jobIDs.removeIf([this](int jobID) { return !Waiting(jobID); });
    Report(Taskmill_WaitingJobs{m_destinations}.StartLater(jobIDs, conditions));
}
