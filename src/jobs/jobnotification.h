#pragma once

#include <QByteArray>
#include <QString>

struct Taskmill_JobRecord;

/// How long the sender waits for the connection, and then for the bytes to be written, in ms.
constexpr int Taskmill_NotificationWaitMs = 30000;

/// Whether the client of the job asked to be told, can be reached, and is not this manager itself.
[[nodiscard]] bool Taskmill_WantsNotification(const Taskmill_JobRecord &job, const QString &serverName);

/// The "jobfinished" message: lines key=value in UTF-8, without a line feed at the end.
[[nodiscard]] QByteArray Taskmill_JobFinishedMessage(const Taskmill_JobRecord &job, int exitCode,
                                                     const QString &serverName);

/// Sends one message over a connection of its own and reads no answer. Blocks for at most twice waitMs. False
/// when the address is none or nobody took the message; nothing is tried again.
bool Taskmill_SendMessage(const QString &address, int port, const QByteArray &message,
                          int waitMs = Taskmill_NotificationWaitMs);
