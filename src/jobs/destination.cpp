// SPDX-License-Identifier: MIT
#include "jobs/destination.h"

#include <array>
#include <utility>

using namespace Qt::Literals::StringLiterals;

Taskmill_QueueKey Taskmill_QueueKeyFromName(const QString &name)
{
    static const std::array<std::pair<QLatin1StringView, Taskmill_QueueKey>, 4> prefixes{{
        {"Long"_L1, Taskmill_QueueKey::Long},
        {"Short"_L1, Taskmill_QueueKey::Short},
        {"None"_L1, Taskmill_QueueKey::Queueless},
        {"Queueless"_L1, Taskmill_QueueKey::Queueless},
    }};
    for (const auto &[prefix, key] : prefixes) {
        if (name.startsWith(prefix, Qt::CaseInsensitive))
            return key;
    }
    return Taskmill_QueueKey::None;
}

QString Taskmill_QueueNameFromKey(int key)
{
    switch (key) {
    case static_cast<int>(Taskmill_QueueKey::Long):
        return u"Long"_s;
    case static_cast<int>(Taskmill_QueueKey::Short):
        return u"Short"_s;
    case static_cast<int>(Taskmill_QueueKey::Queueless):
        return u"Queueless"_s;
    default:
        return {};
    }
}

Taskmill_Destination Taskmill_DestinationFromQueueKey(Taskmill_QueueKey key)
{
    switch (key) {
    case Taskmill_QueueKey::Long:
        return Taskmill_Destination::Long;
    case Taskmill_QueueKey::Short:
        return Taskmill_Destination::Short;
    case Taskmill_QueueKey::Queueless:
        return Taskmill_Destination::Queueless;
    case Taskmill_QueueKey::None:
        break;
    }
    return Taskmill_Destination::JobTypeDefault;
}

QString Taskmill_QueueNameOfNewJob(Taskmill_Destination destination)
{
    switch (destination) {
    case Taskmill_Destination::Long:
        return u"Long"_s;
    case Taskmill_Destination::Short:
        return u"Short"_s;
    case Taskmill_Destination::Queueless:
        return u"None"_s;
    case Taskmill_Destination::JobTypeDefault:
        break;
    }
    return {};
}
