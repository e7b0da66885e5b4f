// SPDX-License-Identifier: MIT
#pragma once

#include "manager/waitingjobs.h"
#include "requests/reply.h"
#include "requests/requestmessage.h"

#include <QByteArray>
#include <QObject>

#include <functional>
#include <optional>

class Taskmill_FrontEnd;
class Taskmill_Job;
class Taskmill_Manager;
class Taskmill_QueueOwner;
struct Taskmill_JobRecord;

/// What a client that shows the manager's key may see and do besides submitting jobs. Nobody is asked: what
/// the window would ask about, such a request has to say, or it is refused.
class Taskmill_ManagerActions
{
public:
    /// Both outlive this.
    Taskmill_ManagerActions(Taskmill_Manager &manager, Taskmill_FrontEnd &frontEnd);

    /// Whether that is one of these actions, in any case.
    [[nodiscard]] static bool Knows(const QString &action);
    /// The answer to a known action: "accepted=" and a line feed, and then text for people or, where the
    /// request says so, a JSON value; or "refused=" with the reason. With nothing, it comes by `answerLater`:
    /// a job that keepers run is killed when nothing of it is left, and the jobs are listed piece by piece.
    [[nodiscard]] std::optional<QByteArray> CarryOut(const Taskmill_RequestMessage &request,
                                                     const Taskmill_LateAnswer &answerLater);

private:
    struct Outcome;
    struct Action;
    static const Action *Find(const QString &action);

    [[nodiscard]] static Outcome OutcomeOf(const Taskmill_WaitingJobs::Outcome &outcome,
                                           const Taskmill_RequestMessage &request, const QList<int> &jobIDs);
    [[nodiscard]] Outcome List(const Taskmill_RequestMessage &request);
    [[nodiscard]] Outcome ShowJob(const Taskmill_RequestMessage &request);
    /// Answers when nothing of the job is left, or which of its processes survive.
    void AnswerWhenKilled(const Taskmill_Job &job, const Taskmill_RequestMessage &request,
                          const Outcome &outcome, const Taskmill_LateAnswer &answerLater);
    [[nodiscard]] static QByteArray AnswerOf(const Taskmill_RequestMessage &request, Outcome outcome);
    [[nodiscard]] Outcome RemoveNow(Taskmill_QueueOwner &owner, const Taskmill_RequestMessage &request,
                                    const QString &doneText);
    [[nodiscard]] Outcome Kill(const Taskmill_RequestMessage &request);
    [[nodiscard]] Outcome Remove(const Taskmill_RequestMessage &request);
    [[nodiscard]] Outcome Move(const Taskmill_RequestMessage &request);
    [[nodiscard]] Outcome Hold(const Taskmill_RequestMessage &request);
    [[nodiscard]] Outcome Release(const Taskmill_RequestMessage &request);
    [[nodiscard]] Outcome Pause(const Taskmill_RequestMessage &request);
    [[nodiscard]] Outcome Unpause(const Taskmill_RequestMessage &request);
    [[nodiscard]] Outcome Estimate(const Taskmill_RequestMessage &request);
    [[nodiscard]] Outcome SetQuietHours(const Taskmill_RequestMessage &request);
    [[nodiscard]] Outcome SetPriority(const Taskmill_RequestMessage &request);
    [[nodiscard]] Outcome Limit(const Taskmill_RequestMessage &request);
    [[nodiscard]] Outcome Budget(const Taskmill_RequestMessage &request);
    [[nodiscard]] Outcome Save(const Taskmill_RequestMessage &request);
    [[nodiscard]] Outcome OpenProject(const Taskmill_RequestMessage &request);
    [[nodiscard]] Outcome Types(const Taskmill_RequestMessage &request);
    [[nodiscard]] Outcome Quit(const Taskmill_RequestMessage &request);

    /// The queue "long" or "short"; nullptr for any other name.
    [[nodiscard]] Taskmill_QueueOwner *QueueNamed(const QString &name);
    [[nodiscard]] Outcome SetPaused(const Taskmill_RequestMessage &request, bool isPaused);

    [[nodiscard]] bool IsUserAsked() const;

    Taskmill_Manager &m_manager;
    Taskmill_FrontEnd &m_frontEnd;
    QObject m_waiting; ///< parent of what waits for the end of a job
};
