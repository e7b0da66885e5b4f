#include "service/jobtabs.h"

#include "service/queueowner.h"

Taskmill_QueueOwner *Taskmill_JobTabs::OwnerOf(Taskmill_Destination destination) const
{
    switch (destination) {
    case Taskmill_Destination::Long:
        return &LongJobs;
    case Taskmill_Destination::Short:
        return &ShortJobs;
    case Taskmill_Destination::Queueless:
        return &QueuelessJobs;
    case Taskmill_Destination::JobTypeDefault:
        break;
    }
    return nullptr;
}

Taskmill_JobQueue *Taskmill_JobTabs::LimitedQueue(Taskmill_Destination destination) const
{
    if (destination == Taskmill_Destination::Long)
        return &LongJobs.Jobs();
    return destination == Taskmill_Destination::Short ? &ShortJobs.Jobs() : nullptr;
}
