// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/destination.h"
#include "jobs/jobtype.h"
#include "manager/jobsgoon.h"
#include "manager/removaldialogue.h"
#include "manager/savedialogue.h"

#include <QObject>
#include <QStringList>

#include <atomic>
#include <functional>
#include <optional>

class Taskmill_Console;
class Taskmill_ConsoleActions;
class Taskmill_ConsoleTerminal;

/// The dialogue with the user of the console: reads a line, has it carried out on the main thread, prints
/// what comes of it. Lives on the console's thread or, without an event loop, on the main one.
class Taskmill_Console_Worker : public QObject
{
    Q_OBJECT

public:
    /// Pause between two rounds, in ms.
    static constexpr int RoundPauseMs = 100;

    /// The console outlives the worker.
    explicit Taskmill_Console_Worker(Taskmill_Console &console);

    /// Rounds without an event loop, until the input is interrupted.
    void InteractUntilInterrupted();

    /// Carries out one command line; an unknown one does nothing, but at a terminal a line says so.
    void Execute(const QString &line);

Q_SIGNALS:
    void QuitSignal();

public Q_SLOTS:
    /// One round; schedules the next.
    void InteractSlot();

private:
    /// Nothing once the console ends.
    [[nodiscard]] std::optional<QString> Ask(const QString &prompt);
    /// The answer to a question that "cancel" ends: asks again until `accepts` takes it, behind what
    /// `complaint` says of the answer that was no good.
    [[nodiscard]] bool AskUntil(const QString &prompt, const std::function<bool(const QString &)> &accepts,
                                const std::function<QString(const QString &)> &complaint = {});
    /// Goes through a dialogue, which lives on the main thread, with the questions asked here. `begin` makes
    /// it there, or returns nullptr for none. A file that is given answers the first question.
    void Converse(const std::function<Taskmill_Dialogue *()> &begin, QString firstFile = {});
    [[nodiscard]] Taskmill_Answer AnswerTo(const Taskmill_Question &question);
    [[nodiscard]] Taskmill_Answer AskForChoice(const QString &prompt, const Taskmill_Question &question);
    /// Absolute; empty when the user gives up.
    [[nodiscard]] QString AskForFile(const QString &prompt);
    void Print(const QString &text);
    /// Of the terminal; 0 for any number.
    [[nodiscard]] int Columns();
    /// Runs the function on the main thread and waits for it; false when the console ends before.
    bool OnMainThread(const std::function<void()> &function);
    void PrintFromMainThread(const std::function<QString(Taskmill_ConsoleActions &)> &text);
    bool Round();

    /// One command: words that are typed exactly so and, where argumentName is given, something behind them.
    struct Command
    {
        QLatin1StringView words;
        QLatin1StringView argumentName; ///< as the help shows it
        QLatin1StringView help;
        void (*run)(Taskmill_Console_Worker &worker, const QString &argument);
    };
    static QList<Command> Commands();
    [[nodiscard]] QStringList CommandWords() const;
    void ExplainUnknown(const QString &line);
    void OfferCommands();
    void OfferWords(const QStringList &words);
    void OfferFiles();

    void Help();
    void ListQueue(Taskmill_Destination destination);
    void ListRunning(bool onlyKnown);
    void ListFinished();
    void ListJobTypes();
    void AddJob(Taskmill_Destination destination);
    void AddJobToAskedQueue();
    void SetPaused(Taskmill_Destination queue, bool paused);
    void SetLimit(Taskmill_Destination queue, const QString &argument);
    void RemoveJob(const QString &argument);
    void KillJob(const QString &argument);
    void ShowJob(const QString &argument);
    void FollowJob(const QString &argument);
    struct FollowedJob;
    /// Why the job cannot be followed; empty when it can.
    [[nodiscard]] QString BeginToFollow(FollowedJob &followed);
    bool PrintWhatFollows(FollowedJob &followed);
    void Save();
    void SaveTo(const QString &argument);
    void RunHeldJobs();
    void RunHeldJob(const QString &argument);
    void PrintDirectory();
    void ChangeDirectory(const QString &argument);
    void GoHome();
    void Clear();
    void ListDirectory(const QString &line);
    void Quit(Taskmill_Ending ending = Taskmill_Ending::AskedToEnd);
    void QuitAndKeep();

    /// Until nothing is left of a job that is being killed, or some of it withstands.
    void WaitForKill(int jobID);
    void EndJob(int jobID, Taskmill_RemovalDialogue::Begin begin, const QString &doneText);
    [[nodiscard]] bool SaveProject(Taskmill_SaveDialogue::Target target, const QString &firstFile = {});
    void PrintSavedTo(const QString &file);
    [[nodiscard]] bool MayClose();
    void AskAtStart();
    [[nodiscard]] std::optional<int> JobNumber(const QString &argument);

    Taskmill_Console &m_console;
    bool m_hasAskedAtStart = false;
};
