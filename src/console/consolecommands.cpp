// SPDX-License-Identifier: MIT
#include "console/consolecommands.h"

#include "console/consoleactions.h"
#include "console/consoleconversation.h"
#include "console/consolefollower.h"
#include "console/consolepath.h"
#include "console/consoleshell.h"
#include "console/consoleterminal.h"
#include "kilnutil/standardstreams.h"
#include "manager/budget.h"
#include "manager/exitdialogue.h"
#include "manager/manager.h"

#include <QDir>
#include <QEventLoop>
#include <QFileInfo>
#include <QProcess>
#include <QTimer>

#include <algorithm>
#include <limits>
#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int childRoundMs = 100;
const QString notSavedText = u"\n<Taskmill> The project was not saved.\n\n"_s;
} // namespace

Taskmill_ConsoleCommands::Taskmill_ConsoleCommands(Taskmill_ConsoleConversation &conversation)
    : m_conversation{conversation}
{
}

void Taskmill_ConsoleCommands::PrintFitted(QString (*text)(int columns))
{
    Print(text(Columns()));
}

void Taskmill_ConsoleCommands::Print(const QString &text)
{
    m_conversation.Print(text);
}

void Taskmill_ConsoleCommands::PrintFromMainThread(
    const std::function<QString(Taskmill_ConsoleActions &)> &text)
{
    m_conversation.PrintFromMainThread(text);
}

int Taskmill_ConsoleCommands::Columns()
{
    return m_conversation.Terminal().Columns();
}

void Taskmill_ConsoleCommands::ListQueue(Taskmill_Destination destination)
{
    PrintFromMainThread(
        [=, this](Taskmill_ConsoleActions &actions) { return actions.QueueListing(destination, Columns()); });
}

void Taskmill_ConsoleCommands::ListRunning(bool onlyKnown)
{
    Taskmill_RunningJobs::Reading read;
    const auto prepare = [&](Taskmill_ConsoleActions &actions) {
        read = actions.ProcessReading(onlyKnown);
    };
    if (!m_conversation.OnMainThread(prepare))
        return;
    // A slow tool holds up nothing but the console.
    const QList<Taskmill_ProcessRecord> processes = read();
    PrintFromMainThread(
        [&](Taskmill_ConsoleActions &actions) { return actions.ProcessListing(processes, Columns()); });
}

void Taskmill_ConsoleCommands::ListFinished()
{
    PrintFromMainThread(
        [this](Taskmill_ConsoleActions &actions) { return actions.FinishedListing(Columns()); });
}

void Taskmill_ConsoleCommands::ListJobTypes()
{
    PrintFromMainThread(
        [this](Taskmill_ConsoleActions &actions) { return actions.JobTypeListing(Columns()); });
}

void Taskmill_ConsoleCommands::AddJobToAskedQueue()
{
    QStringList words;
    for (const Taskmill_QueueNames &queue : Taskmill_Queues)
        words += QString{queue.OfNewJob}.toLower();
    m_conversation.Offer(words + QStringList{u"cancel"_s});
    const auto *chosen = Taskmill_Queues.end();
    const bool answered =
        m_conversation.AskUntil(u"\n<Taskmill> Enter Queue:  "_s, [&chosen](const QString &answer) {
            chosen = std::ranges::find_if(Taskmill_Queues, [&answer](const Taskmill_QueueNames &queue) {
                return answer.compare(queue.OfNewJob, Qt::CaseInsensitive) == 0;
            });
            return chosen != Taskmill_Queues.end();
        });
    if (answered)
        AddJob(chosen->Destination);
}

void Taskmill_ConsoleCommands::AddJob(Taskmill_Destination destination)
{
    const Taskmill_JobType jobType = AskForJobType();
    const QString inputFile = jobType.IsEmpty() ? QString{} : AskForInputFile();
    if (inputFile.isEmpty())
        return;
    PrintFromMainThread(
        [&](Taskmill_ConsoleActions &actions) { return actions.AddFile(inputFile, jobType, destination); });
}

Taskmill_JobType Taskmill_ConsoleCommands::AskForJobType()
{
    QStringList names;
    m_conversation.OnMainThread([&](Taskmill_ConsoleActions &actions) { names = actions.JobTypeNames(); });
    m_conversation.Offer(names);
    const auto listTypes = [&names](const QString &answer) {
        const QString problem =
            answer.isEmpty() ? QString{} : u"There is no job type \"%1\".  "_s.arg(answer);
        return u"\n<Taskmill> "_s + problem +
               (names.isEmpty() ? u"The project has no job types.\n"_s
                                : u"The job types are: %1.\n"_s.arg(names.join(u", "_s)));
    };
    Taskmill_JobType jobType;
    const bool answered = m_conversation.AskUntil(
        u"\n<Taskmill> Enter Job Type:  "_s,
        [&](const QString &answer) {
            m_conversation.OnMainThread(
                [&](Taskmill_ConsoleActions &actions) { jobType = actions.FindJobType(answer); });
            return !jobType.IsEmpty();
        },
        listTypes);
    return answered ? jobType : Taskmill_JobType{};
}

QString Taskmill_ConsoleCommands::AskForInputFile()
{
    m_conversation.OfferFiles();
    const auto explain = [](const QString &answer) {
        return QFileInfo{Taskmill_PathOfUser(answer)}.isDir() ? Taskmill_DirectoryComplaint(answer) : u"\n"_s;
    };
    QString inputFile;
    const bool answered = m_conversation.AskUntil(
        u"\n<Taskmill> Enter Input File:  "_s,
        [&inputFile](const QString &answer) {
            inputFile = Taskmill_PathOfUser(answer);
            return QFileInfo{inputFile}.isFile();
        },
        explain);
    return answered ? inputFile : QString{};
}

void Taskmill_ConsoleCommands::SetPaused(Taskmill_Destination queue, bool paused)
{
    PrintFromMainThread([=](Taskmill_ConsoleActions &actions) { return actions.SetPaused(queue, paused); });
}

void Taskmill_ConsoleCommands::PauseWhenEnded(Taskmill_Destination queue)
{
    PrintFromMainThread([=](Taskmill_ConsoleActions &actions) { return actions.PauseWhenEnded(queue); });
}

void Taskmill_ConsoleCommands::ShowEstimate()
{
    PrintFromMainThread([](Taskmill_ConsoleActions &actions) {
        QString text = u"\n"_s;
        for (const Taskmill_QueueOwner *owner : actions.Destinations().All()) {
            if (owner->Queue())
                text += u"<Taskmill> "_s + owner->EstimateText() + u'\n';
        }
        return text + u'\n';
    });
}

void Taskmill_ConsoleCommands::SetQuietHours(const QString &argument)
{
    PrintFromMainThread([&](Taskmill_ConsoleActions &actions) { return actions.SetQuietHours(argument); });
}

void Taskmill_ConsoleCommands::SetPriority(const QString &argument)
{
    PrintFromMainThread([&](Taskmill_ConsoleActions &actions) { return actions.SetPriority(argument); });
}

void Taskmill_ConsoleCommands::SetLimit(Taskmill_Destination queue, const QString &argument)
{
    bool isNumber = false;
    const int limit = argument.toInt(&isNumber);
    if (!isNumber || limit < 1)
        Print(u"\n<Taskmill> The limit must be a number from 1 to %1.\n\n"_s.arg(
            std::numeric_limits<int>::max()));
    else
        PrintFromMainThread([=](Taskmill_ConsoleActions &actions) { return actions.SetLimit(queue, limit); });
}

void Taskmill_ConsoleCommands::ShowBudget()
{
    PrintFromMainThread([](Taskmill_ConsoleActions &actions) { return actions.BudgetText(); });
}

void Taskmill_ConsoleCommands::SetBudget(const QString &argument)
{
    if (const auto limits = Taskmill_BudgetFromText(argument))
        PrintFromMainThread(
            [limits](Taskmill_ConsoleActions &actions) { return actions.SetBudget(*limits); });
    else
        Print(u"\n<Taskmill> A budget is "_s + Taskmill_BudgetForms() + u".\n\n"_s);
}

std::optional<int> Taskmill_ConsoleCommands::JobNumber(const QString &argument)
{
    bool isNumber = false;
    const int jobID = argument.toInt(&isNumber);
    bool isKnown = false;
    if (isNumber)
        m_conversation.OnMainThread(
            [&](Taskmill_ConsoleActions &actions) { isKnown = actions.OwnerOfJob(jobID) != nullptr; });
    if (isKnown)
        return jobID;
    Print(u"\n<Taskmill> There is no waiting or running job %1.\n\n"_s.arg(argument));
    return std::nullopt;
}

void Taskmill_ConsoleCommands::RemoveJob(const QString &argument)
{
    const std::optional<int> jobID = JobNumber(argument);
    if (jobID)
        EndJob(*jobID, Taskmill_RemovalDialogue::Begin::AskWhether,
               u"\n<Taskmill> Job %1 was removed.\n\n"_s);
}

void Taskmill_ConsoleCommands::KillJob(const QString &argument)
{
    const std::optional<int> jobID = JobNumber(argument);
    if (!jobID)
        return;
    bool isRunning = false;
    m_conversation.OnMainThread([&](Taskmill_ConsoleActions &actions) {
        Taskmill_QueueOwner *owner = actions.OwnerOfJob(*jobID);
        const Taskmill_Job *job = owner ? owner->Jobs().FindByJobID(*jobID) : nullptr;
        isRunning = job && job->Process();
    });
    if (isRunning)
        EndJob(*jobID, Taskmill_RemovalDialogue::Begin::WarnOfRunning,
               u"\n<Taskmill> Job %1 was killed.\n\n"_s);
    else
        Print(u"\n<Taskmill> Job %1 does not run; it can be removed.\n\n"_s.arg(*jobID));
}

void Taskmill_ConsoleCommands::MoveJobs(const QString &argument)
{
    const QString word = argument.section(u' ', -1);
    const std::optional<Taskmill_Move> move = Taskmill_MoveFromWord(word);
    const QList<int> jobIDs = Taskmill_WaitingJobs::NumbersFromText(argument.chopped(word.size()));
    if (!move || jobIDs.isEmpty())
        Print(u"\n<Taskmill> move job needs the number of a job, and up, down, top or bottom.\n\n"_s);
    else
        ChangeWaiting([=](Taskmill_WaitingJobs &waiting) { return waiting.Move(jobIDs, *move); });
}

void Taskmill_ConsoleCommands::HoldJobs(const QString &argument)
{
    const auto part = [&argument](const QString &word) {
        return argument.contains(word) ? argument.section(word, 1).trimmed() : QString{};
    };
    const QString until = part(u" until "_s);
    const QString after = part(u" after "_s);
    const QList<int> jobIDs = Taskmill_WaitingJobs::NumbersFromText(
        argument.section(u" until "_s, 0, 0).section(u" after "_s, 0, 0));
    bool isNumber = after.isEmpty();
    const int other = isNumber ? 0 : after.toInt(&isNumber);
    if (jobIDs.isEmpty() || !isNumber)
        Print(u"\n<Taskmill> hold job needs the number of a job; until TIME or after N may follow.\n\n"_s);
    else if (!until.isEmpty())
        ChangeWaiting([=](Taskmill_WaitingJobs &waiting) { return waiting.NotBefore(jobIDs, until); });
    else if (!after.isEmpty())
        ChangeWaiting([=](Taskmill_WaitingJobs &waiting) { return waiting.After(jobIDs, other); });
    else
        ChangeWaiting([=](Taskmill_WaitingJobs &waiting) { return waiting.Hold(jobIDs); });
}

void Taskmill_ConsoleCommands::ReleaseJobs(const QString &argument)
{
    const QList<int> jobIDs = Taskmill_WaitingJobs::NumbersFromText(argument);
    if (jobIDs.isEmpty())
        Print(u"\n<Taskmill> release job needs the number of a job.\n\n"_s);
    else
        ChangeWaiting([=](Taskmill_WaitingJobs &waiting) { return waiting.Release(jobIDs); });
}

void Taskmill_ConsoleCommands::ChangeWaiting(
    const std::function<Taskmill_WaitingJobs::Outcome(Taskmill_WaitingJobs &)> &change)
{
    PrintFromMainThread([&change](Taskmill_ConsoleActions &actions) {
        Taskmill_WaitingJobs waiting{actions.Destinations()};
        const Taskmill_WaitingJobs::Outcome outcome = change(waiting);
        return u"\n<Taskmill> "_s + outcome.Problem + outcome.Text + u"\n\n"_s;
    });
}

void Taskmill_ConsoleCommands::WaitForKill(int jobID)
{
    bool isWaiting = true;
    while (isWaiting && !m_conversation.IsEnding() && !m_conversation.Terminal().IsBrokenOff()) {
        isWaiting = false;
        m_conversation.OnMainThread([&](Taskmill_ConsoleActions &actions) {
            Taskmill_QueueOwner *owner = actions.OwnerOfJob(jobID);
            const Taskmill_Job *job = owner ? owner->Jobs().FindByJobID(jobID) : nullptr;
            isWaiting = job && job->IsBeingKilled();
        });
        // This may be the main thread, whose event loop must go on for the kill to end.
        constexpr int pauseMs = 5;
        QEventLoop pause;
        QTimer::singleShot(pauseMs, &pause, &QEventLoop::quit);
        if (isWaiting)
            pause.exec();
    }
}

void Taskmill_ConsoleCommands::EndJob(int jobID, Taskmill_RemovalDialogue::Begin begin,
                                      const QString &doneText)
{
    std::optional<Taskmill_RemovalDialogue> removal;
    m_conversation.Converse([&](Taskmill_ConsoleActions &actions) -> Taskmill_Dialogue * {
        Taskmill_QueueOwner *owner = actions.OwnerOfJob(jobID);
        return owner ? &removal.emplace(*owner, QList{jobID}, begin) : nullptr;
    });
    WaitForKill(jobID);
    const bool isDeclined = removal && (!removal->IsCarriedOut() || removal->Wanted().isEmpty());
    if (m_conversation.IsEnding() || isDeclined)
        return;
    // It may have ended by itself while the questions stood.
    const bool wasThere = removal && !removal->Removed().isEmpty();
    Print((wasThere ? doneText : u"\n<Taskmill> Job %1 has ended meanwhile.\n\n"_s).arg(jobID));
}

void Taskmill_ConsoleCommands::RunHeldJobs()
{
    PrintFromMainThread([](Taskmill_ConsoleActions &actions) { return actions.RunHeldJobs(); });
}

void Taskmill_ConsoleCommands::RunHeldJob(const QString &argument)
{
    if (const std::optional<int> jobID = JobNumber(argument))
        PrintFromMainThread([jobID](Taskmill_ConsoleActions &actions) { return actions.RunHeldJob(*jobID); });
}

void Taskmill_ConsoleCommands::ShowJob(const QString &argument)
{
    bool isNumber = false;
    const int jobID = argument.toInt(&isNumber);
    if (isNumber)
        PrintFromMainThread([jobID](Taskmill_ConsoleActions &actions) { return actions.JobText(jobID); });
    else
        Print(u"\n<Taskmill> There is no job %1.\n\n"_s.arg(argument));
}

void Taskmill_ConsoleCommands::FollowJob(const QString &argument)
{
    bool isNumber = false;
    const int jobID = argument.toInt(&isNumber);
    if (isNumber)
        Taskmill_ConsoleFollower{m_conversation, jobID}.Run();
    else
        Print(u"\n<Taskmill> There is no job %1.\n\n"_s.arg(argument));
}

bool Taskmill_ConsoleCommands::SaveProject(Taskmill_SaveDialogue::Target target, const QString &firstFile)
{
    std::optional<Taskmill_SaveDialogue> saving;
    m_conversation.Converse(
        [&](Taskmill_ConsoleActions &actions) { return &saving.emplace(actions.Project(), target); },
        firstFile);
    if (!saving || !saving->IsSaved())
        return false;
    PrintSavedTo(saving->File());
    return true;
}

void Taskmill_ConsoleCommands::PrintSavedTo(const QString &file)
{
    Print(u"\n<Taskmill> The project was saved to %1.\n\n"_s.arg(file));
}

void Taskmill_ConsoleCommands::Save()
{
    if (!SaveProject(Taskmill_SaveDialogue::Target::OwnFile))
        Print(notSavedText);
}

void Taskmill_ConsoleCommands::SaveTo(const QString &argument)
{
    QString file;
    if (Taskmill_IsDirectoryOfUser(argument))
        Print(Taskmill_DirectoryComplaint(argument));
    else
        file = Taskmill_AbsolutePathOfUser(argument);
    if (!SaveProject(Taskmill_SaveDialogue::Target::AskedFile, file))
        Print(notSavedText);
}

bool Taskmill_ConsoleCommands::MayClose(std::optional<Taskmill_ClosingDialogue> &closing)
{
    m_conversation.Converse(
        [&](Taskmill_ConsoleActions &actions) { return &closing.emplace(actions.Project()); });
    if (closing && closing->IsSaved())
        PrintSavedTo(closing->File());
    return closing && closing->MayClose();
}

void Taskmill_ConsoleCommands::QuitAndKeep()
{
    QString problem;
    m_conversation.OnMainThread([&](Taskmill_ConsoleActions &actions) {
        problem = actions.HasKeepers()
                      ? Taskmill_JobsThatCannotGoOn(actions.Destinations())
                      : u"Running jobs cannot go on without Taskmill here; the debug log says why."_s;
    });
    if (problem.isEmpty())
        Quit(Taskmill_Ending::AskedToKeep);
    else
        Print(u"\n<Taskmill> "_s + problem + u"\n\n"_s);
}

void Taskmill_ConsoleCommands::Quit(Taskmill_Ending ending)
{
    std::optional<Taskmill_ExitDialogue> exit;
    m_conversation.Converse(
        [&](Taskmill_ConsoleActions &actions) { return &exit.emplace(actions.Destinations()); });
    std::optional<Taskmill_ClosingDialogue> closing;
    const bool ends = exit && exit->IsConfirmed() && MayClose(closing);
    // Printed before the program ends: without an event loop the call that ends it does not return here.
    Print(u"\n"_s);
    if (!ends)
        return;
    m_conversation.OnMainThread([&closing, ending](Taskmill_ConsoleActions &actions) {
        // A job may have ended since it was saved, while nobody took what is printed.
        if (!closing->IsGivenUp() && actions.Project().HasUnsavedChanges())
            (void)actions.Project().SaveUnattended();
        actions.Exit(ending);
    });
}

void Taskmill_ConsoleCommands::PrintDirectory()
{
    PrintFromMainThread([](Taskmill_ConsoleActions &) {
        return u"\nCurrent Directory:  %1\n\n"_s.arg(QDir::toNativeSeparators(QDir::currentPath()));
    });
}

void Taskmill_ConsoleCommands::ChangeDirectory(const QString &argument)
{
    m_conversation.OnMainThread(
        [&](Taskmill_ConsoleActions &) { QDir::setCurrent(Taskmill_PathOfUser(argument)); });
    PrintDirectory();
}

void Taskmill_ConsoleCommands::GoHome()
{
    ChangeDirectory(QDir::homePath());
}

void Taskmill_ConsoleCommands::Clear()
{
    Taskmill_ConsoleShell::ClearConsole(m_conversation.Terminal());
}

void Taskmill_ConsoleCommands::ListDirectory(const QString &line)
{
    constexpr int mostKills = 20;
    auto process = std::make_unique<QProcess>();
    Taskmill_ConsoleShell::StartDirectoryCommand(*process, line);
    for (int kills = 0;
         process->state() != QProcess::NotRunning && !process->waitForFinished(childRoundMs);) {
        if (m_conversation.IsEnding() || m_conversation.Terminal().IsBrokenOff()) {
            process->kill();
            // On a drive that does not answer it stays as long as that does, and so does what waits for it.
            if (++kills > mostKills) {
                (void)process.release();
                return;
            }
        }
        // What was posted meanwhile does not wait for the end.
        Print({});
    }
    QString listing = KilnUtil_StandardStreams::TextOfTool(process->readAllStandardOutput());
    Print(u'\n' + listing.replace("\r\n"_L1, "\n"_L1) + u"\n\n"_s);
}
