#pragma once

#include "jobs/jobrecord.h"
#include "wire/protocol.h"

#include <QByteArray>

#include <optional>

/// One message of a client: lines key=value, the keys recognised by prefix in any case. A key given twice
/// keeps its last value; lines with unknown keys are ignored.
struct Taskmill_RequestMessage
{
    QString ClientName;
    QString ClientAppName;
    QString ClientAddress;
    qint32 ClientPort = 0; ///< 0 when it is no number, as the ids
    qint32 ClientUID = 0;
    qint32 ClientGID = 0;
    std::optional<bool> ClientNotification; ///< nothing when it is absent or no number
    QString Action;
    bool ConfirmAction = false;
    QString JobTypeName;
    /// No other job type will do. This and the next only of a message that asks for an answer.
    bool ExactJobType = false;
    bool DetailedReply = false; ///< the answer is to describe the jobs
    QString JobName;
    QString JobQueue;
    QString JobInputFile;
    QString JobInputFile2;
    QString JobStandardInputFile;
    QString JobOutputFile;
    QString JobStandardOutputFile;
    QString JobChkFile;
    QString JobChkFile1;
    /// The lines @NAME=value, "_;_" in the value being a line feed. A repeated name keeps its first position.
    Taskmill_PlaceholderValues PlaceholderValues;

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
