// SPDX-License-Identifier: MIT
#include "jobs/destination.h"

#include <algorithm>

namespace {
/// nullptr for None.
const Taskmill_QueueNames *Find(Taskmill_QueueKey key)
{
    const auto *found = std::ranges::find(Taskmill_Queues, key, &Taskmill_QueueNames::Key);
    return found == Taskmill_Queues.end() ? nullptr : found;
}
} // namespace

const Taskmill_QueueNames &Taskmill_NamesOf(Taskmill_Destination destination)
{
    const auto *found = std::ranges::find(Taskmill_Queues, destination, &Taskmill_QueueNames::Destination);
    Q_ASSERT(found != Taskmill_Queues.end());
    return *found;
}

Taskmill_QueueKey Taskmill_QueueKeyFromName(const QString &name)
{
    for (const Taskmill_QueueNames &queue : Taskmill_Queues) {
        if (name.startsWith(queue.Stored, Qt::CaseInsensitive) ||
            name.startsWith(queue.OfNewJob, Qt::CaseInsensitive))
            return queue.Key;
    }
    return Taskmill_QueueKey::None;
}

QString Taskmill_QueueNameFromKey(int key)
{
    const Taskmill_QueueNames *queue = Find(static_cast<Taskmill_QueueKey>(key));
    return queue ? QString{queue->Stored} : QString{};
}

Taskmill_Destination Taskmill_DestinationFromQueueKey(Taskmill_QueueKey key)
{
    const Taskmill_QueueNames *queue = Find(key);
    return queue ? queue->Destination : Taskmill_Destination::JobTypeDefault;
}

QString Taskmill_QueueNameOfNewJob(Taskmill_Destination destination)
{
    return destination == Taskmill_Destination::JobTypeDefault
               ? QString{}
               : QString{Taskmill_NamesOf(destination).OfNewJob};
}
