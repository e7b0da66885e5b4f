// SPDX-License-Identifier: MIT
#pragma once

#include <QLatin1StringView>
#include <QString>

#include <array>

/// Where a request, a drop or a dialog sends a job. The numbers are part of the request protocol and dialogs.
enum class Taskmill_Destination
{
    JobTypeDefault = 0,
    Long = 1,
    Short = 2,
    Queueless = 3
};

/// Key of a queue in the database (JobTypes.DefaultQueueID, FinishedJobs.QueueID) and index of the editor's
/// queue choice. Queueless and None have no row in Queues.
enum class Taskmill_QueueKey
{
    None = -1,
    Long = 0,
    Short = 1,
    Queueless = 2
};

/// Every name of a queue, or of the list of the jobs that have none.
struct Taskmill_QueueNames
{
    Taskmill_Destination Destination;
    Taskmill_QueueKey Key;
    QLatin1StringView Stored; ///< in project files, and in records that are read from them
    /// In records of this session and, in lower case, at the console and in answers.
    QLatin1StringView OfNewJob;
    QLatin1StringView List;   ///< for the user
    QLatin1StringView Tab;    ///< of the window
    QLatin1StringView Choice; ///< as the default queue of a job type
};
/// In the order in which they are shown.
inline constexpr std::array<Taskmill_QueueNames, 3> Taskmill_Queues{{
    {Taskmill_Destination::Long, Taskmill_QueueKey::Long, QLatin1StringView{"Long"},
     QLatin1StringView{"Long"}, QLatin1StringView{"Long Jobs Queue"}, QLatin1StringView{"Long Jobs Queue"},
     QLatin1StringView{"Long Jobs"}},
    {Taskmill_Destination::Short, Taskmill_QueueKey::Short, QLatin1StringView{"Short"},
     QLatin1StringView{"Short"}, QLatin1StringView{"Short Jobs Queue"}, QLatin1StringView{"Short Jobs Queue"},
     QLatin1StringView{"Short Jobs"}},
    {Taskmill_Destination::Queueless, Taskmill_QueueKey::Queueless, QLatin1StringView{"Queueless"},
     QLatin1StringView{"None"}, QLatin1StringView{"Queueless Jobs List"}, QLatin1StringView{"Queueless Jobs"},
     QLatin1StringView{"None (Queueless)"}},
}};

/// Not for JobTypeDefault, which is no queue.
[[nodiscard]] const Taskmill_QueueNames &Taskmill_NamesOf(Taskmill_Destination destination);

/// The one place that compares queue names: a prefix test, ignoring case, of "Long", "Short", "None",
/// "Queueless". New jobs carry "None" where rows read from the database carry "Queueless"; both give
/// Queueless.
[[nodiscard]] Taskmill_QueueKey Taskmill_QueueKeyFromName(const QString &name);

/// "Long", "Short", "Queueless" for 0, 1, 2; an empty text for any other number.
[[nodiscard]] QString Taskmill_QueueNameFromKey(int key);

/// JobTypeDefault for None, which no container takes.
[[nodiscard]] Taskmill_Destination Taskmill_DestinationFromQueueKey(Taskmill_QueueKey key);

/// Name that a job submitted in this session carries: "Long", "Short", "None"; empty for JobTypeDefault.
[[nodiscard]] QString Taskmill_QueueNameOfNewJob(Taskmill_Destination destination);
