// SPDX-License-Identifier: MIT
#pragma once

#include "manager/jobrequest.h"
#include "wire/protocol.h"

#include <QByteArray>

/// What a client says that wants to see or change the manager's lists, queues or project; see
/// Taskmill_ManagerActions. Only of a message that asks for an answer.
struct Taskmill_ActionRequest
{
    QString List; ///< "long", "short", "queueless" or "finished"; empty for all
    qint32 Since = 0;
    qint32 JobNumber = 0;
    QString JobNumbers; ///< those of several jobs
    QString Move;
    QString QueueName; ///< "long" or "short"
    qint32 QueueLimit = 0;
    bool PausesLater = false;
    QString QuietHours;
    QString JobPriority;
    QString Budget;   ///< see Taskmill_WireBudget
    QString SaveFile; ///< absolute; empty for the project's own
    QString ProjectFile;
    bool Replaces = false;
    bool TakesRunning = false;
    bool KeepsJobs = false;
    bool ChoosesFiles = false;
    bool AnswersJson = false;
    qint32 Width = 0; ///< of a terminal, in columns; 0 for any
};

/// One message of a client: lines key=value, the keys recognised by prefix in any case. A key given twice
/// keeps its last value; lines with unknown keys are ignored.
struct Taskmill_RequestMessage : Taskmill_JobRequest, Taskmill_ActionRequest
{
    QString Action;

    /// Whether the action is "show" or "hide", in any case.
    [[nodiscard]] bool IsForWindow() const;
    /// Bytes that are not valid UTF-8 are read as Latin-1. Any bytes make a message, if an empty one.
    [[nodiscard]] static Taskmill_RequestMessage Parse(const QByteArray &bytes);
};

/// The parts of the protocol that the client's side shares; see wire/protocol.h.
constexpr QByteArrayView Taskmill_ReplyRequestLine{Taskmill_WireReplyRequest.data(),
                                                   Taskmill_WireReplyRequest.size()};
constexpr QByteArrayView Taskmill_AcceptedReply{Taskmill_WireAccepted.data(), Taskmill_WireAccepted.size()};
constexpr QByteArrayView Taskmill_RefusedReply{Taskmill_WireRefused.data(), Taskmill_WireRefused.size()};

/// Whether the message so far ends with Taskmill_ReplyRequestLine.
[[nodiscard]] bool Taskmill_AsksForReply(QByteArrayView bytes);

/// Whether a browser has sent it: any page that the user looks at can send requests to this computer.
[[nodiscard]] bool Taskmill_IsHttp(QByteArrayView message);
/// Whether the message shows that key in one of its lines "clientkey="; never when there is no key.
[[nodiscard]] bool Taskmill_ShowsClientKey(QByteArrayView message, QByteArrayView key);
