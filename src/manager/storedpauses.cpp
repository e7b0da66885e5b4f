// SPDX-License-Identifier: MIT
#include "manager/storedpauses.h"

#include "db/database.h"
#include "manager/destinations.h"

using namespace Qt::Literals::StringLiterals;

namespace {
QString NameOf(const Taskmill_JobQueue &queue)
{
    return u"Paused"_s + queue.Name();
}
} // namespace

void Taskmill_StoredPauses::Store(Taskmill_Database &database)
{
    for (std::size_t number = 0; number < m_stored.size(); ++number) {
        const Taskmill_JobQueue &queue = *m_destinations.Queues().at(number);
        if (m_stored.at(number) != queue.IsPaused() &&
            database.WorkingCopy().Set(NameOf(queue), queue.IsPaused() ? u"yes"_s : u"no"_s))
            m_stored.at(number) = queue.IsPaused();
    }
}

void Taskmill_StoredPauses::StoreAllPaused(Taskmill_Database &database)
{
    for (const Taskmill_JobQueue *queue : m_destinations.Queues())
        database.WorkingCopy().Set(NameOf(*queue), u"yes"_s);
}

QList<Taskmill_JobQueue *> Taskmill_StoredPauses::QueuesThatRan(Taskmill_Database &database) const
{
    QList<Taskmill_JobQueue *> queues;
    for (Taskmill_JobQueue *queue : m_destinations.Queues()) {
        if (database.WorkingCopy().Value(NameOf(*queue)) == "no"_L1)
            queues.append(queue);
    }
    return queues;
}
