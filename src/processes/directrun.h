// SPDX-License-Identifier: MIT
#pragma once

#include "processes/outputbuffer.h"
#include "processes/processrun.h"

#include <QProcess>

/// A run whose process is a child of this program, and ends with it. What it writes (standard error merged
/// into standard output) is kept in memory.
class KilnUtil_DirectRun final : public KilnUtil_ProcessRun
{
    Q_OBJECT

public:
    KilnUtil_DirectRun();
    /// Ends the program, and everything it started, when it still runs.
    ~KilnUtil_DirectRun() override;
    Q_DISABLE_COPY_MOVE(KilnUtil_DirectRun)

    [[nodiscard]] bool Start(const KilnUtil_RunOrder &order) override;
    [[nodiscard]] qint64 ProcessID() const override { return m_process.processId(); }
    [[nodiscard]] bool IsRunning() const override { return m_process.state() != QProcess::NotRunning; }
    [[nodiscard]] const KilnUtil_RunEnd &End() const override { return m_end; }
    [[nodiscard]] KilnUtil_ProcessOutput &Output() override { return m_output; }
    void BeginKill(int graceMs) override;
    bool WaitForEnd(int waitMs) override;
    void KillDescendants() override;

private Q_SLOTS:
    void StartedSlot();
    void ErrorOccurredSlot(QProcess::ProcessError error);
    void ReadOutputSlot();
    void FinishedSlot();

private:
    [[nodiscard]] QString ReasonOfFailedStart() const;

    QProcess m_process;
    KilnUtil_OutputBuffer m_output;
    KilnUtil_RunEnd m_end;
    QString m_inputPath;
    QString m_outputPath;
    qint64 m_registeredID = 0;
    bool m_hasEnded = false;
};
