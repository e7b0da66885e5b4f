// SPDX-License-Identifier: MIT
#include "requests/requestdispatcher.h"

#include "kilnutil/logging.h"
#include "manager/manager.h"
#include "requests/frontend.h"

using namespace Qt::Literals::StringLiterals;

namespace {
QByteArray AnswerLine(std::string_view key, QString value)
{
    // One line each, whatever a project file holds.
    value.replace(u'\n', u' ');
    return QByteArray{key.data(), static_cast<qsizetype>(key.size())} + value.toUtf8() + '\n';
}

QByteArray AnswerLines(const Taskmill_JobRecord &job, const Taskmill_JobQueue *queue)
{
    return AnswerLine(Taskmill_WireJobID, QString::number(job.JobID)) +
           AnswerLine(Taskmill_WireJobTypeName, job.JobType.Name) +
           AnswerLine(Taskmill_WireJobQueue, job.QueueName.toLower()) +
           AnswerLine(Taskmill_WireQueuePaused, queue && queue->IsPaused() ? u"yes"_s : u"no"_s) +
           AnswerLine(Taskmill_WireJobInputFile, job.InputFilePath);
}
} // namespace

Taskmill_RequestDispatcher::Taskmill_RequestDispatcher(Taskmill_Manager &manager, Taskmill_FrontEnd &frontEnd)
    : m_manager{manager}
    , m_frontEnd{frontEnd}
    , m_actions{manager, frontEnd}
{
}

bool Taskmill_RequestDispatcher::CanHandleNow(const Taskmill_RequestMessage &request) const
{
    const Taskmill_JobSubmitter &submitter = m_manager.Submitter();
    const bool userIsBusy = submitter.IsAsking() || m_frontEnd.IsUserBusy();
    return !userIsBusy || !submitter.WouldAsk(request);
}

std::optional<QByteArray> Taskmill_RequestDispatcher::HandleRequest(const Taskmill_RequestMessage &request,
                                                                    const Taskmill_LateAnswer &answerLater)
{
    const auto actionIs = [&request](QLatin1StringView action) {
        return request.Action.compare(action, Qt::CaseInsensitive) == 0;
    };
    if (actionIs("submitjob"_L1))
        return SubmitJob(request);
    if (Taskmill_ManagerActions::Knows(request.Action))
        return m_actions.CarryOut(request, answerLater);
    if (!request.IsForWindow())
        return Taskmill_RefusedReply.toByteArray() + "there is no such action\n";
    if (!m_frontEnd.HasWindow())
        return Taskmill_RefusedReply.toByteArray() + "a manager on a console has no window\n";
    if (actionIs("hide"_L1))
        m_frontEnd.PutAway();
    else if (request.ChoosesFiles)
        m_frontEnd.ChooseFiles();
    else if (request.JobNumber == 0)
        m_frontEnd.ShowInFront();
    else if (m_manager.FindJob(request.JobNumber))
        m_frontEnd.ShowJob(request.JobNumber);
    else
        return Taskmill_RefusedReply.toByteArray() + "there is no job " +
               QByteArray::number(request.JobNumber) + '\n';
    return Taskmill_AcceptedReply.toByteArray() + '\n';
}

QByteArray Taskmill_RequestDispatcher::SubmitJob(const Taskmill_RequestMessage &request)
{
    const Taskmill_SubmitResult result = m_manager.Submitter().Submit(request);
    if (result.JobIDs.isEmpty()) {
        qCInfo(Taskmill_RequestsLog, "Request refused: %ls", qUtf16Printable(result.Refusal));
        return Taskmill_RefusedReply.toByteArray() + result.Refusal.toUtf8() + '\n';
    }
    QByteArrayList numbers;
    QByteArray details;
    for (const int jobID : result.JobIDs) {
        numbers += QByteArray::number(jobID);
        const Taskmill_QueueOwner *owner = m_manager.Destinations().OwnerOfJob(jobID);
        if (owner && request.DetailedReply)
            details += AnswerLines(owner->Jobs().FindByJobID(jobID)->Record(), owner->Queue());
    }
    return Taskmill_AcceptedReply.toByteArray() + numbers.join(' ') + '\n' + details;
}
