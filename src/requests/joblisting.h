// SPDX-License-Identifier: MIT
#pragma once

#include "manager/finishedjobs.h"

#include <QByteArray>
#include <QList>
#include <QSet>
#include <QString>

class Taskmill_Manager;
class Taskmill_QueueOwner;
struct Taskmill_RequestMessage;

/// The jobs that a request asks for as a JSON array with a line for each, in pieces: a long history is never
/// in memory as a whole, and the event loop goes on in between. What comes and goes meanwhile may be missing,
/// but no job stands there twice.
class Taskmill_JobListing
{
public:
    /// The manager outlives this.
    Taskmill_JobListing(Taskmill_Manager &manager, const Taskmill_RequestMessage &request);

    /// Takes some milliseconds; empty at the end.
    [[nodiscard]] QByteArray Next();

    /// What the lists are called in requests: as the client's option for a project file.
    [[nodiscard]] static QString NameOf(const Taskmill_QueueOwner &owner);
    [[nodiscard]] static QString FinishedName();
    [[nodiscard]] static bool IsNamed(const QString &wanted, const QString &name);

private:
    /// One of a queue.
    struct Waiting
    {
        const Taskmill_QueueOwner *owner;
        int jobID;
    };

    void AddWaiting();
    void AddFinished();
    void Add(const Taskmill_JobRecord &job, const QString &list);

    Taskmill_Manager &m_manager;
    const int m_since;
    QList<Waiting> m_waiting;
    qsizetype m_nextWaiting = 0;
    QSet<int> m_listed; ///< of those that may be among the finished ones by now
    Taskmill_FinishedPlace m_place;
    bool m_hasFinished; ///< more of them
    bool m_hasBegun = false;
    bool m_isEnded = false;
    QByteArray m_piece;
};
