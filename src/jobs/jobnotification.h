// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

struct Taskmill_JobRecord;

/// Whether the client of the job asked for the notification, can be reached, and is not this manager itself.
[[nodiscard]] bool Taskmill_WantsNotification(const Taskmill_JobRecord &job, const QString &serverName);

/// The "jobfinished" message: lines key=value in UTF-8, without a line feed at the end.
[[nodiscard]] QByteArray Taskmill_JobFinishedMessage(const Taskmill_JobRecord &job, int exitCode,
                                                     const QString &serverName);
