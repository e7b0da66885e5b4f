// SPDX-License-Identifier: MIT
#include "manager/ownjobnumbers.h"

#include "db/database.h"
#include "kilnutil/idmanager.h"
#include "kilnutil/logging.h"
#include "manager/finishedjobs.h"

#include <QHash>
#include <QSet>

using namespace Qt::Literals::StringLiterals;

void Taskmill_GiveOwnJobNumbers(Taskmill_Database &database, std::array<QList<Taskmill_JobRecord>, 3> &jobs,
                                const Taskmill_FinishedJobs &finishedJobs, KilnUtil_IDManager &numbers)
{
    // The one that ran has the number's run, else the first.
    QHash<int, const Taskmill_JobRecord *> owners;
    for (QList<Taskmill_JobRecord> &some : jobs) {
        for (Taskmill_JobRecord &job : some) {
            const Taskmill_JobRecord *&owner = owners[job.JobID];
            if (!owner ||
                (owner->Status != Taskmill_JobStatus::Running && job.Status == Taskmill_JobStatus::Running))
                owner = &job;
        }
    }
    QSet<int> taken;
    for (qsizetype position = 0; position < finishedJobs.Count() && !owners.isEmpty(); ++position) {
        if (const int number = finishedJobs.JobIDAt(position); owners.contains(number))
            taken.insert(number);
    }
    QSet<int> renumbered;
    for (QList<Taskmill_JobRecord> &some : jobs) {
        for (Taskmill_JobRecord &job : some) {
            const bool isOwner = owners.value(job.JobID) == &job;
            if (isOwner && !taken.contains(job.JobID))
                continue;
            if (!isOwner)
                job.Run.clear();
            // A new number puts it behind all others.
            job.Place = job.OrderNumber();
            do
                job.JobID = numbers.NewID();
            while (owners.contains(job.JobID));
            renumbered.insert(job.JobID);
        }
    }
    if (renumbered.isEmpty())
        return;
    qCInfo(Taskmill_ManagerLog, "%lld waiting jobs had the numbers of others and have new ones",
           static_cast<long long>(renumbered.size()));
    const bool isStored = database.Untracked([&] {
        return database.RenumberJobs(jobs, renumbered) &&
               database.SetGeneralData(u"LastJobID"_s, QString::number(numbers.LastID())) != 0;
    });
    if (!isStored)
        qCWarning(Taskmill_ManagerLog, "The new numbers of jobs cannot be stored: %ls",
                  qUtf16Printable(database.LastErrorMessage()));
}
