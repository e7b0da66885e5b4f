// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobrecord.h"

#include <optional>

/// What a client says about the job that it wants to be run; empty where it says nothing.
struct Taskmill_JobRequest
{
    QString ClientName;
    QString ClientAppName;
    QString ClientAddress;
    qint32 ClientPort = 0; ///< 0 when it is no number, as the ids
    qint32 ClientUID = 0;
    qint32 ClientGID = 0;
    std::optional<bool> ClientNotification; ///< nothing when it is absent or no number
    bool ClientResult = false;              ///< the notification is to say the result
    bool ConfirmAction = false;
    QString JobTypeName;
    QString NotBefore; ///< when it may start, see Taskmill_StartTimeFromText()
    QString AfterJob;  ///< the number of the job that has to end before
    /// No other job type will do. This and the next only of a message that asks for an answer.
    bool ExactJobType = false;
    bool DetailedReply = false; ///< the answer is to describe the jobs
    QString JobCores;           ///< see Taskmill_CoresFromText()
    QString JobMemory;          ///< in units of 2^20 bytes; see Taskmill_MemoryFromText()
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
};
