// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

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
