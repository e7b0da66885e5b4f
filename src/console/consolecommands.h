// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobtype.h"
#include "manager/closingdialogue.h"
#include "manager/jobsgoon.h"
#include "manager/removaldialogue.h"
#include "manager/savedialogue.h"
#include "manager/waitingjobs.h"

#include <QString>

#include <functional>
#include <optional>

class Taskmill_ConsoleActions;
class Taskmill_ConsoleConversation;

/// What the commands of the console do, on its thread. Which there are is said by
/// Taskmill_ConsoleCommandTable.
class Taskmill_ConsoleCommands
{
public:
    /// The conversation outlives this.
    explicit Taskmill_ConsoleCommands(Taskmill_ConsoleConversation &conversation);

    /// For a terminal of so many columns, 0 for any width.
    void PrintFitted(QString (*text)(int columns));
    void ListQueue(Taskmill_Destination destination);
    void ListRunning(bool onlyKnown);
    void ListFinished();
    void ListJobTypes();
    void AddJob(Taskmill_Destination destination);
    void AddJobToAskedQueue();
    void SetPaused(Taskmill_Destination queue, bool paused);
    void PauseWhenEnded(Taskmill_Destination queue);
    void ShowEstimate();
    void SetQuietHours(const QString &argument);
    void SetPriority(const QString &argument);
    void SetLimit(Taskmill_Destination queue, const QString &argument);
    void ShowBudget();
    void SetBudget(const QString &argument);
    void RemoveJob(const QString &argument);
    void KillJob(const QString &argument);
    /// These take numbers of jobs, and behind them what is to be done.
    void MoveJobs(const QString &argument);
    void HoldJobs(const QString &argument);
    void ReleaseJobs(const QString &argument);
    void ShowJob(const QString &argument);
    void FollowJob(const QString &argument);
    void RunHeldJobs();
    void RunHeldJob(const QString &argument);
    void Save();
    void SaveTo(const QString &argument);
    void PrintDirectory();
    void ChangeDirectory(const QString &argument);
    void GoHome();
    void ListDirectory(const QString &line);
    void Clear();
    void Quit(Taskmill_Ending ending = Taskmill_Ending::AskedToEnd);
    void QuitAndKeep();

private:
    void Print(const QString &text);
    void PrintFromMainThread(const std::function<QString(Taskmill_ConsoleActions &)> &text);
    /// Of the terminal; 0 for any number.
    [[nodiscard]] int Columns();
    /// An empty record when the user gives up.
    [[nodiscard]] Taskmill_JobType AskForJobType();
    /// Empty when the user gives up.
    [[nodiscard]] QString AskForInputFile();
    /// Of a waiting or running job; nothing, and a line says so, when there is none.
    [[nodiscard]] std::optional<int> JobNumber(const QString &argument);
    /// Says what has become of the jobs.
    void
    ChangeWaiting(const std::function<Taskmill_WaitingJobs::Outcome(Taskmill_WaitingJobs &waiting)> &change);
    /// Until nothing is left of a job that is being killed, or some of it survives.
    void WaitForKill(int jobID);
    void EndJob(int jobID, Taskmill_RemovalDialogue::Begin begin, const QString &doneText);
    [[nodiscard]] bool SaveProject(Taskmill_SaveDialogue::Target target, const QString &firstFile = {});
    void PrintSavedTo(const QString &file);
    [[nodiscard]] bool MayClose(std::optional<Taskmill_ClosingDialogue> &closing);

    Taskmill_ConsoleConversation &m_conversation;
};
