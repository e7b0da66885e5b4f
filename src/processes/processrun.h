// SPDX-License-Identifier: MIT
#pragma once

#include "processes/processoutput.h"

#include <QList>
#include <QObject>
#include <QProcessEnvironment>
#include <QString>

#include <optional>

/// What is to be run.
struct KilnUtil_RunOrder
{
    QString Program;  ///< path, or a name to be looked up; never split
    QString Argument; ///< the arguments as one text, quoted as KilnUtil_FileSys::ConvertFilename does it
    QString Directory;
    QProcessEnvironment Environment;
    QString InputPath;           ///< a regular file or the null device
    QString OutputPath;          ///< a regular file, which is truncated; with it nothing is captured
    bool HasLowPriority = false; ///< gives way to what else the computer does
    int GraceMs = 0;             ///< between SIGTERM and SIGKILL where nobody is there to say
};

/// How a run ended.
struct KilnUtil_RunEnd
{
    enum class Kind
    {
        Exit,       ///< Code is the exit code
        Crash,      ///< Code is what the system says
        NotStarted, ///< Reason says why
        Unknown,    ///< nobody knows, Reason says why
    };

    Kind How = Kind::Exit;
    int Code = 0;
    QString Reason;
    bool IsForLack = false;              ///< NotStarted, as the system had too little of something then
    bool WasEnded = false;               ///< somebody asked for it, although perhaps not this program
    qint64 EndMs = 0;                    ///< since 1970; 0 for now
    std::optional<qint64> ProcessorMs{}; ///< of everything that the run started; nothing when nobody measured
    std::optional<qint64> PeakMemoryKB{}; ///< of its largest process; nothing when nobody measured
};

/// One run of a program: a process of this program, or one that a keeper started for it. What starts and ends
/// it and what holds its output is behind this; KilnUtil_Process is in front.
class KilnUtil_ProcessRun : public QObject
{
    Q_OBJECT

public:
    /// False when this way of running programs is out of order: nothing was started. Any other failure is an
    /// end.
    [[nodiscard]] virtual bool Start(const KilnUtil_RunOrder &order) = 0;
    /// In place of Start(): does all that can be done before the program starts with Go(). Nothing but a loss
    /// of time comes of an object that is destroyed in between. False where that cannot be had.
    [[nodiscard]] virtual bool Prepare(const KilnUtil_RunOrder &) { return false; }
    /// Whether Go() can be expected to start it.
    [[nodiscard]] virtual bool IsPrepared() const { return false; }
    /// After Prepare(). False when Start() of another object has to do it.
    [[nodiscard]] virtual bool Go() { return false; }
    /// The operating system's number of the program; 0 when it does not run, or not yet.
    [[nodiscard]] virtual qint64 ProcessID() const = 0;
    /// Until the program and what a kill has to end are gone.
    [[nodiscard]] virtual bool IsRunning() const = 0;
    /// Valid from EndedSignal on.
    [[nodiscard]] virtual const KilnUtil_RunEnd &End() const = 0;
    [[nodiscard]] virtual KilnUtil_ProcessOutput &Output() = 0;

    /// Whether the run goes on when this program ends.
    [[nodiscard]] virtual bool IsKept() const { return false; }
    /// Asks everything that the run has started to end, and makes it end after that time. The end comes as
    /// always. Of a run that is not kept everything ends at once.
    virtual void BeginKill(int graceMs) = 0;
    /// After BeginKill(): waits for the end without an event loop. False when it takes longer.
    virtual bool WaitForEnd(int waitMs) = 0;
    /// Where there is no grace: ends what the program has started, but not the program.
    virtual void KillDescendants() {}
    /// The run goes on without this object, which says no more of it.
    virtual void LetGoOn() {}

Q_SIGNALS:
    /// Once, from the event loop or from WaitForEnd().
    void EndedSignal();
    /// A kill has not ended these processes for 5 s beyond its grace, and goes on.
    void RemainsSignal(const QList<qint64> &processIDs);
};
