// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

struct Taskmill_JobRecord;
struct Taskmill_JobResult;

/// A message to the client of a job that has ended.
struct Taskmill_Notification
{
    qint32 JobID = 0;
    QString Address;
    qint32 Port = 0;
    QByteArray Message;
    qint64 EndMs = 0; ///< when the job ended, in ms since 1970
    qint64 Key = 0;   ///< of its row in the working copy; 0 for none

    bool operator==(const Taskmill_Notification &) const = default;
};

/// Whether the client of the job asked for the notification, can be reached, and is not this manager itself.
[[nodiscard]] bool Taskmill_WantsNotification(const Taskmill_JobRecord &job, const QString &serverName);

/// The "jobfinished" message: lines key=value in UTF-8, without a line feed at the end. The result is in the
/// last line, for a client that asked for it.
[[nodiscard]] QByteArray Taskmill_JobFinishedMessage(const Taskmill_JobRecord &job,
                                                     const QString &serverName);

/// Whether its client asked for it.
[[nodiscard]] bool Taskmill_SaysResult(const QByteArray &message);
/// Puts another result into a message that says one.
void Taskmill_SetResult(QByteArray &message, const Taskmill_JobResult &result);

/// The whole of it; nothing for a job whose client does not want to know.
[[nodiscard]] std::optional<Taskmill_Notification> Taskmill_NotificationOf(const Taskmill_JobRecord &job);
