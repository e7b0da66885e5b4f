// SPDX-License-Identifier: MIT
#include "requests/manageractions.h"

#include "kilnutil/logging.h"
#include "manager/budget.h"
#include "manager/exitdialogue.h"
#include "manager/jobsgoon.h"
#include "manager/jobtext.h"
#include "manager/listings.h"
#include "manager/manager.h"
#include "manager/queueestimate.h"
#include "requests/frontend.h"
#include "requests/joblisting.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
QString WasChangedText(const QString &projectFile)
{
    return projectFile + u" was changed by another program"_s;
}

QByteArray Json(const QJsonObject &object)
{
    return QJsonDocument{object}.toJson(QJsonDocument::Compact);
}

/// An array with a line for each element.
QByteArray JsonArray(const QByteArrayList &elements)
{
    return elements.isEmpty() ? "[]"_ba : "[\n" + elements.join(",\n") + "\n]";
}

constexpr auto &NameOf = Taskmill_JobListing::NameOf;
constexpr auto &IsNamed = Taskmill_JobListing::IsNamed;
const QString finishedName = Taskmill_JobListing::FinishedName();
const QString questionIsOpen = u"a question is open in the manager; answer it first"_s;
} // namespace

/// One of the first four is set: why it is refused, or what is answered.
struct Taskmill_ManagerActions::Outcome
{
    QString Refusal{};
    QString Text{};
    QByteArray Json{};
    std::function<QByteArray()> More{};        ///< pieces of JSON, until one is empty
    const Taskmill_Job *BeingKilled = nullptr; ///< it is answered when nothing of it is left

    static Outcome Refused(const QString &reason) { return {.Refusal = reason}; }
    /// Of something that was done: a line for people, or the action and what it was done to.
    static Outcome Done(const Taskmill_RequestMessage &request, const QString &line, QJsonObject details)
    {
        if (!request.AnswersJson)
            return {.Text = line + u'\n'};
        details.insert(u"action"_s, request.Action.toLower());
        return {.Json = ::Json(details)};
    }
};

struct Taskmill_ManagerActions::Action
{
    QLatin1StringView name;
    Outcome (Taskmill_ManagerActions::*carryOut)(const Taskmill_RequestMessage &request);
};

Taskmill_ManagerActions::Taskmill_ManagerActions(Taskmill_Manager &manager, Taskmill_FrontEnd &frontEnd)
    : m_manager{manager}
    , m_frontEnd{frontEnd}
{
}

const Taskmill_ManagerActions::Action *Taskmill_ManagerActions::Find(const QString &action)
{
    using Self = Taskmill_ManagerActions;
    static constexpr std::array actions{
        Action{"listjobs"_L1, &Self::List},
        Action{"showjob"_L1, &Self::ShowJob},
        Action{"killjob"_L1, &Self::Kill},
        Action{"removejob"_L1, &Self::Remove},
        Action{"movejob"_L1, &Self::Move},
        Action{"holdjob"_L1, &Self::Hold},
        Action{"releasejob"_L1, &Self::Release},
        Action{"pausequeue"_L1, &Self::Pause},
        Action{"unpausequeue"_L1, &Self::Unpause},
        Action{"setquiethours"_L1, &Self::SetQuietHours},
        Action{"setpriority"_L1, &Self::SetPriority},
        Action{"estimatequeue"_L1, &Self::Estimate},
        Action{"limitqueue"_L1, &Self::Limit},
        Action{"budget"_L1, &Self::Budget},
        Action{"saveproject"_L1, &Self::Save},
        Action{"listjobtypes"_L1, &Self::Types},
        Action{"openproject"_L1, &Self::OpenProject},
        Action{"quit"_L1, &Self::Quit},
    };
    const auto found = std::ranges::find_if(
        actions, [&action](const Action &one) { return action.compare(one.name, Qt::CaseInsensitive) == 0; });
    return found == actions.end() ? nullptr : &*found;
}

bool Taskmill_ManagerActions::Knows(const QString &action)
{
    return Find(action) != nullptr;
}

std::optional<QByteArray> Taskmill_ManagerActions::CarryOut(const Taskmill_RequestMessage &request,
                                                            const Taskmill_LateAnswer &answerLater)
{
    const Action *action = Find(request.Action);
    Q_ASSERT(action);
    const Outcome outcome = (this->*action->carryOut)(request);
    if (outcome.BeingKilled) {
        AnswerWhenKilled(*outcome.BeingKilled, request, outcome, answerLater);
        return std::nullopt;
    }
    if (outcome.More) {
        Taskmill_Reply answer{Taskmill_AcceptedReply.toByteArray() + '\n'};
        answer.More = outcome.More;
        answerLater(answer);
        return std::nullopt;
    }
    return AnswerOf(request, outcome);
}

QByteArray Taskmill_ManagerActions::AnswerOf(const Taskmill_RequestMessage &request, Outcome outcome)
{
    if (!outcome.Refusal.isEmpty()) {
        qCInfo(Taskmill_RequestsLog, "%ls is refused: %ls", qUtf16Printable(request.Action),
               qUtf16Printable(outcome.Refusal));
        return Taskmill_RefusedReply.toByteArray() + outcome.Refusal.replace(u'\n', u' ').toUtf8() + '\n';
    }
    if (!outcome.Json.isEmpty())
        outcome.Json += '\n';
    return Taskmill_AcceptedReply.toByteArray() + '\n' +
           (outcome.Json.isEmpty() ? outcome.Text.toUtf8() : outcome.Json);
}

Taskmill_ManagerActions::Outcome
Taskmill_ManagerActions::OutcomeOf(const Taskmill_WaitingJobs::Outcome &outcome,
                                   const Taskmill_RequestMessage &request, const QList<int> &jobIDs)
{
    if (!outcome.Problem.isEmpty()) {
        const QString &problem = outcome.Problem;
        return Outcome::Refused(problem.first(1).toLower() +
                                problem.sliced(1).chopped(problem.endsWith(u'.') ? 1 : 0));
    }
    QJsonArray numbers;
    for (const int jobID : jobIDs)
        numbers.append(jobID);
    return Outcome::Done(request, outcome.Text,
                         jobIDs.isEmpty() ? QJsonObject{} : QJsonObject{{u"ids"_s, numbers}});
}

Taskmill_ManagerActions::Outcome Taskmill_ManagerActions::List(const Taskmill_RequestMessage &request)
{
    QString text;
    bool isKnown = request.List.isEmpty();
    for (Taskmill_QueueOwner *owner : m_manager.Destinations().All()) {
        if (!request.List.isEmpty() && !IsNamed(request.List, NameOf(*owner)))
            continue;
        isKnown = true;
        if (request.AnswersJson)
            continue;
        QList<QStringList> rows;
        for (const Taskmill_Job *job : owner->Jobs().Jobs()) {
            if (job->JobID() > request.Since)
                rows.append(Taskmill_Listings::Queue().Row(job->Record()));
        }
        text += Taskmill_Listings::Queue().Listing(owner->ListName(), owner->ListName(), rows, request.Width);
    }
    if (request.List.isEmpty() || IsNamed(request.List, finishedName)) {
        isKnown = true;
        if (!request.AnswersJson)
            text += m_manager.FinishedJobs().ListingText(request.Width, request.Since);
    }
    if (!isKnown)
        return Outcome::Refused(u"there is no list \"%1\""_s.arg(request.List));
    if (request.AnswersJson)
        return {.More = [listing = std::make_shared<Taskmill_JobListing>(m_manager, request)] {
            return listing->Next();
        }};
    // Listings begin with an empty line, which belongs to a console.
    return {.Text = text.sliced(1)};
}

Taskmill_ManagerActions::Outcome Taskmill_ManagerActions::ShowJob(const Taskmill_RequestMessage &request)
{
    const Taskmill_QueueOwner *owner = m_manager.Destinations().OwnerOfJob(request.JobNumber);
    const std::optional<Taskmill_JobRecord> job = m_manager.FindJobWithOutput(request.JobNumber);
    if (!job)
        return Outcome::Refused(u"there is no job %1"_s.arg(request.JobNumber));
    if (!request.AnswersJson)
        return {.Text = Taskmill_JobText(*job, job->StdOutAndStdErr)};
    QJsonObject object = Taskmill_Listings::JobFields().Json(*job);
    object.insert(u"list"_s, owner ? NameOf(*owner) : finishedName);
    object.insert(u"output"_s, job->StdOutAndStdErr);
    return {.Json = Json(object)};
}

Taskmill_ManagerActions::Outcome Taskmill_ManagerActions::RemoveNow(Taskmill_QueueOwner &owner,
                                                                    const Taskmill_RequestMessage &request,
                                                                    const QString &doneText)
{
    owner.RemoveNow({request.JobNumber});
    if (owner.IsRowKept(request.JobNumber))
        return Outcome::Refused(
            u"job %1 could not be removed from the project; saving it tries that again"_s.arg(
                request.JobNumber));
    Outcome outcome = Outcome::Done(request, doneText.arg(request.JobNumber), {{u"id"_s, request.JobNumber}});
    const Taskmill_Job *job = owner.Jobs().FindByJobID(request.JobNumber);
    if (job && job->IsBeingKilled())
        outcome.BeingKilled = job;
    return outcome;
}

void Taskmill_ManagerActions::AnswerWhenKilled(const Taskmill_Job &job,
                                               const Taskmill_RequestMessage &request, const Outcome &outcome,
                                               const Taskmill_LateAnswer &answerLater)
{
    auto *waiting = new QObject{&m_waiting};
    const auto answer = [waiting, request, answerLater](const Outcome &said) {
        answerLater(AnswerOf(request, said));
        waiting->deleteLater();
    };
    const auto answerDone = [answer, outcome] {
        answer(outcome);
    };
    // Queued: when it is answered, the job stands in the history.
    QObject::connect(&job, &Taskmill_Job::JobFinishedSignal, waiting, answerDone, Qt::QueuedConnection);
    // The job object is destroyed without a signal when the project is closed.
    QObject::connect(&job, &QObject::destroyed, waiting, answerDone, Qt::QueuedConnection);
    QObject::connect(&job, &Taskmill_Job::RemainsSignal, waiting,
                     [answer, number = request.JobNumber](const QList<qint64> &processIDs) {
                         QStringList numbers;
                         for (const qint64 processID : processIDs)
                             numbers += QString::number(processID);
                         answer(
                             Outcome::Refused(u"job %1 cannot be ended yet: its processes %2 still run"_s.arg(
                                 QString::number(number), numbers.join(u", "_s))));
                     });
}

Taskmill_ManagerActions::Outcome Taskmill_ManagerActions::Kill(const Taskmill_RequestMessage &request)
{
    Taskmill_QueueOwner *owner = m_manager.Destinations().OwnerOfJob(request.JobNumber);
    if (!owner)
        return Outcome::Refused(u"there is no waiting or running job %1"_s.arg(request.JobNumber));
    if (owner->WithoutRunning({request.JobNumber}).contains(request.JobNumber))
        return Outcome::Refused(u"job %1 does not run; it can be removed"_s.arg(request.JobNumber));
    return RemoveNow(*owner, request, u"Job %1 was killed."_s);
}

Taskmill_ManagerActions::Outcome Taskmill_ManagerActions::Remove(const Taskmill_RequestMessage &request)
{
    Taskmill_QueueOwner *owner = m_manager.Destinations().OwnerOfJob(request.JobNumber);
    if (!owner)
        return Outcome::Refused(u"there is no waiting or running job %1"_s.arg(request.JobNumber));
    const bool isRunning = !owner->WithoutRunning({request.JobNumber}).contains(request.JobNumber);
    if (isRunning && !request.TakesRunning)
        return Outcome::Refused(u"job %1 runs; to remove it is to kill it"_s.arg(request.JobNumber));
    return RemoveNow(*owner, request, u"Job %1 was removed."_s);
}

Taskmill_ManagerActions::Outcome Taskmill_ManagerActions::Move(const Taskmill_RequestMessage &request)
{
    const std::optional<Taskmill_Move> move = Taskmill_MoveFromWord(request.Move);
    if (!move)
        return Outcome::Refused(u"a job is moved up, down, top or bottom"_s);
    const QList<int> jobIDs = Taskmill_WaitingJobs::NumbersFromText(request.JobNumbers);
    return OutcomeOf(Taskmill_WaitingJobs{m_manager.Destinations()}.Move(jobIDs, *move), request, jobIDs);
}

Taskmill_ManagerActions::Outcome Taskmill_ManagerActions::Hold(const Taskmill_RequestMessage &request)
{
    const QList<int> jobIDs = Taskmill_WaitingJobs::NumbersFromText(request.JobNumbers);
    Taskmill_WaitingJobs waiting{m_manager.Destinations()};
    Taskmill_WaitingJobs::Outcome outcome;
    if (!request.NotBefore.isEmpty())
        outcome = waiting.NotBefore(jobIDs, request.NotBefore);
    if (!request.AfterJob.isEmpty() && outcome.Problem.isEmpty())
        outcome = waiting.After(jobIDs, request.AfterJob.toInt());
    if (request.NotBefore.isEmpty() && request.AfterJob.isEmpty())
        outcome = waiting.Hold(jobIDs);
    return OutcomeOf(outcome, request, jobIDs);
}

Taskmill_ManagerActions::Outcome Taskmill_ManagerActions::Release(const Taskmill_RequestMessage &request)
{
    const QList<int> jobIDs = Taskmill_WaitingJobs::NumbersFromText(request.JobNumbers);
    return OutcomeOf(Taskmill_WaitingJobs{m_manager.Destinations()}.Release(jobIDs), request, jobIDs);
}

Taskmill_QueueOwner *Taskmill_ManagerActions::QueueNamed(const QString &name)
{
    const auto owners = m_manager.Destinations().All();
    const auto named = std::ranges::find_if(owners, [&name](const Taskmill_QueueOwner *owner) {
        return owner->Queue() && IsNamed(name, NameOf(*owner));
    });
    return named == owners.end() ? nullptr : *named;
}

Taskmill_ManagerActions::Outcome Taskmill_ManagerActions::SetPaused(const Taskmill_RequestMessage &request,
                                                                    bool isPaused)
{
    const Taskmill_QueueOwner *owner = QueueNamed(request.QueueName);
    if (!owner)
        return Outcome::Refused(u"there is no queue \"%1\""_s.arg(request.QueueName));
    owner->Queue()->SetPaused(isPaused);
    const QString line = isPaused ? u"The %1 is paused."_s : u"The %1 is no longer paused."_s;
    return Outcome::Done(request, line.arg(owner->ListName()), {{u"queue"_s, NameOf(*owner)}});
}

Taskmill_ManagerActions::Outcome Taskmill_ManagerActions::Estimate(const Taskmill_RequestMessage &request)
{
    const Taskmill_QueueOwner *owner = QueueNamed(request.QueueName);
    if (!owner)
        return Outcome::Refused(u"there is no queue \"%1\""_s.arg(request.QueueName));
    const QString estimate = Taskmill_EstimateOf(*owner->Queue(), Taskmill_JobTime::Now());
    return Outcome::Done(request, owner->EstimateText(),
                         {{u"queue"_s, NameOf(*owner)}, {u"estimate"_s, estimate}});
}

Taskmill_ManagerActions::Outcome
Taskmill_ManagerActions::SetQuietHours(const Taskmill_RequestMessage &request)
{
    return OutcomeOf(m_manager.StartRules().SetQuietHoursFrom(request.QuietHours), request, {});
}

Taskmill_ManagerActions::Outcome Taskmill_ManagerActions::SetPriority(const Taskmill_RequestMessage &request)
{
    return OutcomeOf(m_manager.StartRules().SetPriorityFrom(request.JobPriority), request, {});
}

Taskmill_ManagerActions::Outcome Taskmill_ManagerActions::Pause(const Taskmill_RequestMessage &request)
{
    if (Taskmill_QueueOwner *owner = request.PausesLater ? QueueNamed(request.QueueName) : nullptr)
        return Outcome::Done(request, owner->PauseWhenJobsHaveEnded(), {{u"queue"_s, NameOf(*owner)}});
    return SetPaused(request, true);
}

Taskmill_ManagerActions::Outcome Taskmill_ManagerActions::Unpause(const Taskmill_RequestMessage &request)
{
    return SetPaused(request, false);
}

Taskmill_ManagerActions::Outcome Taskmill_ManagerActions::Limit(const Taskmill_RequestMessage &request)
{
    if (request.QueueLimit < 1)
        return Outcome::Refused(u"a limit is a number from 1 on"_s);
    Taskmill_QueueOwner *owner = QueueNamed(request.QueueName);
    if (!owner)
        return Outcome::Refused(u"there is no queue \"%1\""_s.arg(request.QueueName));
    if (const std::optional<QString> problem = owner->SetLimit(request.QueueLimit))
        return Outcome::Refused(*problem);
    return Outcome::Done(request,
                         u"The %1 runs at most %2 jobs at a time."_s.arg(owner->ListName(),
                                                                         QString::number(request.QueueLimit)),
                         {{u"queue"_s, NameOf(*owner)}, {u"limit"_s, request.QueueLimit}});
}

Taskmill_ManagerActions::Outcome Taskmill_ManagerActions::Budget(const Taskmill_RequestMessage &request)
{
    Taskmill_JobBudget &budget = m_manager.Destinations().Budget();
    if (!request.Budget.isEmpty()) {
        const auto limits = Taskmill_BudgetFromText(request.Budget);
        if (!limits)
            return Outcome::Refused(u"a budget is "_s + Taskmill_BudgetForms());
        Taskmill_SetBudget(budget, *limits);
    }
    return request.AnswersJson ? Outcome{.Json = Json(Taskmill_BudgetJson(budget))}
                               : Outcome{.Text = Taskmill_BudgetText(budget) + u'\n'};
}

Taskmill_ManagerActions::Outcome Taskmill_ManagerActions::Save(const Taskmill_RequestMessage &request)
{
    Taskmill_Project &project = m_manager.Project();
    if (!project.IsOpen())
        return Outcome::Refused(u"no project is open"_s);
    if (IsUserAsked())
        return Outcome::Refused(questionIsOpen);
    if (!request.SaveFile.isEmpty() && QDir::isRelativePath(request.SaveFile))
        return Outcome::Refused(u"the name of the file is not absolute"_s);
    const QString wanted = Taskmill_Project::ProjectFileName(request.SaveFile);
    const QString file = wanted.isEmpty() ? project.FilePath() : QDir::cleanPath(wanted);
    if (file.isEmpty())
        return Outcome::Refused(u"the project was never saved; name a file"_s);
    const bool isOwn = file == project.FilePath();
    if (!request.Replaces && isOwn && project.FileHasChanged())
        return Outcome::Refused(WasChangedText(file));
    if (QFileInfo{request.SaveFile}.isDir())
        return Outcome::Refused(request.SaveFile + u" is a folder"_s);
    if (!request.Replaces && !isOwn && QFileInfo::exists(file))
        return Outcome::Refused(file + u" exists already"_s);
    if (const std::optional<QString> error = project.TrySaveProjectAs(file))
        return Outcome::Refused(u"the project could not be written to %1: %2"_s.arg(file, *error));
    return Outcome::Done(request, u"The project was saved to %1."_s.arg(QDir::toNativeSeparators(file)),
                         {{u"file"_s, file}});
}

/// The user decides: another project is open, with jobs that may run.
Taskmill_ManagerActions::Outcome Taskmill_ManagerActions::OpenProject(const Taskmill_RequestMessage &request)
{
    if (!m_frontEnd.HasWindow())
        return Outcome::Refused(u"a manager on a console has no window to ask in"_s);
    if (QDir::isRelativePath(request.ProjectFile))
        return Outcome::Refused(u"the name of the file is not absolute"_s);
    m_frontEnd.ShowInFront();
    const QString file = QDir::cleanPath(request.ProjectFile);
    if (file == m_manager.Project().FilePath())
        return Outcome::Done(request, u"The project is open."_s, {{u"file"_s, file}});
    if (IsUserAsked())
        return Outcome::Refused(questionIsOpen);
    m_frontEnd.OfferProject(file);
    return Outcome::Done(request, u"The window asks whether the project is to be opened."_s,
                         {{u"file"_s, file}});
}

bool Taskmill_ManagerActions::IsUserAsked() const
{
    return m_frontEnd.IsUserBusy() || m_manager.Submitter().IsAsking();
}

Taskmill_ManagerActions::Outcome Taskmill_ManagerActions::Types(const Taskmill_RequestMessage &request)
{
    m_manager.JobTypes().Refresh();
    QByteArrayList elements;
    QList<QStringList> rows;
    for (const Taskmill_JobType &jobType : m_manager.JobTypes().GetAll()) {
        if (request.AnswersJson)
            elements.append(Json(Taskmill_Listings::JobTypes().Json(jobType)));
        else
            rows.append(Taskmill_Listings::JobTypes().Row(jobType));
    }
    if (request.AnswersJson)
        return {.Json = JsonArray(elements)};
    return {.Text = Taskmill_Listings::JobTypes()
                        .Listing(u"Job Types"_s, u"Job Types List"_s, rows, request.Width)
                        .sliced(1)};
}

Taskmill_ManagerActions::Outcome Taskmill_ManagerActions::Quit(const Taskmill_RequestMessage &request)
{
    Taskmill_Project &project = m_manager.Project();
    if (IsUserAsked())
        return Outcome::Refused(questionIsOpen);
    // A project that has a file is saved to it. While its jobs go on, one that has none stays for the next
    // start.
    const bool isToBeSaved = !request.Replaces && project.HasUnsavedChanges();
    if (isToBeSaved && project.FilePath().isEmpty() &&
        !(request.KeepsJobs && m_manager.Destinations().IsAnyJobKept()))
        return Outcome::Refused(u"the project was never saved and would be lost; save it to a file first"_s);
    if (isToBeSaved && project.FileHasChanged())
        return Outcome::Refused(WasChangedText(project.FilePath()));
    if (request.KeepsJobs && !Taskmill_JobsGoOn(Taskmill_Ending::AskedToKeep) &&
        m_manager.Destinations().RunningCount() > 0)
        return Outcome::Refused(
            u"TASKMILL_END_JOBS has the manager end its jobs; quit without --keep ends what runs"_s);
    if (const QString others = Taskmill_JobsThatCannotGoOn(m_manager.Destinations());
        request.KeepsJobs && !others.isEmpty())
        return Outcome::Refused(others.first(1).toLower() + others.sliced(1).chopped(1) +
                                u"; quit without --keep ends what runs"_s);
    m_frontEnd.QuitLater(request.KeepsJobs);
    return Outcome::Done(request, u"The manager ends."_s, {});
}
