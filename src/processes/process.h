// SPDX-License-Identifier: MIT
#pragma once

#include "processes/outputbuffer.h"

#include <QProcess>
#include <QProcessEnvironment>

/// One run of a program. It ends exactly once, whichever of failed start, crash, kill or normal end comes,
/// and keeps what the program writes (standard error merged into standard output) in a bounded buffer.
class KilnUtil_Process : public QProcess
{
    Q_OBJECT

public:
    /// The exit code of a program that could not be started.
    static constexpr int ExitCodeOfFailedStart = 255;
    /// How long KillSlot() waits for a killed process to be gone, in ms.
    static constexpr int KillWaitMs = 5000;

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
    [[nodiscard]] QString Program() const;
    /// The arguments as one text, quoted as KilnUtil_FileSys::ConvertFilename does it.
    void SetArgumentText(const QString &arguments);
    /// Input comes from this file. Like the one for output it has to be a regular file or the null device:
    /// the start fails otherwise.
    void SetStandardInputFilePath(const QString &path);
    /// Output goes to this file, which is truncated, and is not captured.
    void SetStandardOutputFilePath(const QString &path);

    /// Starts the program without waiting. A start that fails is reported by FinishedSignal, like any other
    /// end.
    void Start();

    /// The operating system's number of the running process; 0 when there is none.
    [[nodiscard]] qint64 ProcessID() const;

    [[nodiscard]] bool WasKilled() const { return m_killed; }
    /// False for a normal end and for a program that could not be started.
    [[nodiscard]] bool HasCrashed() const;
    /// ExitCodeOfFailedStart for a program that could not be started.
    [[nodiscard]] int ExitCode() const;

    /// What has arrived so far.
    [[nodiscard]] const KilnUtil_OutputBuffer &Output() const { return m_output; }

    /// Ends everything the program has started, but not the program. A caller that ends some of it in its
    /// own way before KillSlot() calls this first, or the rest may not be found any more.
    void KillDescendants();

    /// deleteLater(), but not before the process is really gone.
    void DeleteWhenEnded();

public Q_SLOTS:
    /// Ends the program and everything it started, and waits at most KillWaitMs. FinishedSignal is emitted
    /// before this returns, even when the process could not be ended.
    void KillSlot();

Q_SIGNALS:
    /// Emitted once; apart from KillSlot() always from the event loop, never from within Start(). The
    /// argument is true for a normal end.
    void FinishedSignal(bool normal);
    /// More was written; see Output().
    void OutputSignal();

private Q_SLOTS:
    void StartedSlot();
    void ErrorOccurredSlot(QProcess::ProcessError error);
    void ReadOutputSlot();
    void EndSlot();

private:
    void EndProcess();
    [[nodiscard]] QString ReasonOfFailedStart() const;
    void FailToStart(const QString &reason);

    QString m_argumentText;
    QString m_standardInputPath;
    QString m_standardOutputPath;
    KilnUtil_OutputBuffer m_output;
    qint64 m_registeredID = 0;
    bool m_killed = false;
    bool m_failedToStart = false;
    bool m_ended = false;
};
