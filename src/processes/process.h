// SPDX-License-Identifier: MIT
#pragma once

#include "processes/processrun.h"

#include <memory>

class KilnUtil_RunKeepers;

/// One run of a program, which a keeper runs where there are keepers, else this program itself. It ends
/// exactly once, whichever of failed start, crash, kill or normal end comes.
class KilnUtil_Process : public QObject
{
    Q_OBJECT

public:
    /// The exit code of a program that could not be started.
    static constexpr int ExitCodeOfFailedStart = 255;
    /// How long KillSlot() waits for a killed process to be gone, in ms, beyond its grace.
    static constexpr int KillWaitMs = 5000;
    /// The grace of a kill in ms, where nobody has set another.
    static constexpr int DefaultGraceMs = 2000;

    KilnUtil_Process(QObject *parent, const QString &title);
    /// Ends the program, and everything it started, when it still runs.
    ~KilnUtil_Process() override;
    Q_DISABLE_COPY_MOVE(KilnUtil_Process)

    /// The environment that the manager itself was started with. Taken at the first call, which start-up
    /// makes.
    [[nodiscard]] static QProcessEnvironment StartEnvironment();

    /// The title is the object's name.
    void SetTitle(const QString &title);

    /// Path of the program; never split.
    void SetProgramText(const QString &program);
    [[nodiscard]] QString Program() const { return m_order.Program; }
    /// The arguments as one text, quoted as KilnUtil_FileSys::ConvertFilename does it.
    void SetArgumentText(const QString &arguments);
    void SetEnvironment(const QProcessEnvironment &environment);
    void SetWorkingDirectory(const QString &directory);
    /// Input comes from this file. Like the one for output it has to be a regular file or the null device:
    /// the start fails otherwise.
    void SetStandardInputFilePath(const QString &path);
    /// Output goes to this file, which is truncated, and is not captured.
    void SetStandardOutputFilePath(const QString &path);
    /// How long what a keeper runs has between SIGTERM and SIGKILL.
    void SetGrace(int graceMs);
    /// Has it, and everything it starts, give way to what else the computer does.
    void SetLowPriority(bool isLow);
    /// Adds what is to be said of the run behind what it wrote.
    void Say(const QString &text);
    /// Has it run by a keeper, under a number from NewRunID().
    void SetKeeper(KilnUtil_RunKeepers &keepers, const QString &runID);

    /// Starts the program without waiting. A start that fails is reported by FinishedSignal, like any other
    /// end.
    void Start();
    /// Does what can be done before Start(), which is quicker then. False where that cannot be had, and then
    /// nothing was done.
    bool Prepare();
    /// False when what was done counts no longer: Start() is to have another number then.
    [[nodiscard]] bool IsPrepared() const { return m_isPrepared && m_run->IsPrepared(); }
    /// In place of a start: a run that was found again. Its end is reported as that of any other.
    void TakeOver(std::unique_ptr<KilnUtil_ProcessRun> run);

    /// The operating system's number of the running process; 0 when there is none.
    [[nodiscard]] qint64 ProcessID() const;
    /// Whether the program goes on when this one ends.
    [[nodiscard]] bool IsKept() const { return m_run && m_run->IsKept(); }

    [[nodiscard]] bool HasEnded() const { return m_ended; }
    [[nodiscard]] bool WasKilled() const;
    /// False for a normal end and for a program that could not be started.
    [[nodiscard]] bool HasCrashed() const;
    /// ExitCodeOfFailedStart for a program that could not be started.
    [[nodiscard]] int ExitCode() const;
    /// How the run ended, with what was measured of it; valid when it has ended.
    [[nodiscard]] const KilnUtil_RunEnd &End() const { return m_end; }

    /// What was written so far.
    [[nodiscard]] const KilnUtil_ProcessOutput &Output() const;

    /// Ends everything the program has started, but not the program. A caller that ends some of it in its
    /// own way before KillSlot() calls this first, or the rest may not be found any more.
    void KillDescendants();

    /// The first half of KillSlot() for a program that a keeper runs: FinishedSignal comes when nothing of it
    /// is left, or RemainsSignal.
    void BeginKill();
    /// The program goes on without this object, which reports nothing more. Nothing for one that is not kept.
    void LetGoOn();

    /// deleteLater(), but not before the process is really gone.
    void DeleteWhenEnded();

public Q_SLOTS:
    /// Ends the program and everything it started, and waits at most KillWaitMs and the grace. FinishedSignal
    /// is emitted before this returns, even when the process could not be ended.
    void KillSlot();

Q_SIGNALS:
    /// Emitted once; apart from KillSlot() always from the event loop, never from within Start(). The
    /// argument is true for a normal end.
    void FinishedSignal(bool normal);
    /// What was to be ended has not ended for KillWaitMs beyond the grace, after BeginKill().
    void RemainsSignal(const QList<qint64> &processIDs);

private Q_SLOTS:
    void EndSlot();

private:
    void Use(std::unique_ptr<KilnUtil_ProcessRun> run);
    void FailToStart(const QString &reason);

    KilnUtil_RunOrder m_order;
    KilnUtil_RunKeepers *m_keepers = nullptr;
    QString m_runID;
    std::unique_ptr<KilnUtil_ProcessRun> m_run;
    KilnUtil_RunEnd m_end;
    bool m_isPrepared = false;
    bool m_killed = false;
    bool m_ended = false;
};
