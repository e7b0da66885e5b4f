// SPDX-License-Identifier: MIT
#pragma once

#include "processes/processrun.h"
#include "processes/runoutputfile.h"
#include "wire/runconnection.h"

#include <QPointer>

class KilnUtil_NurseryRunKeepers;
class QDeadlineTimer;
class KilnUtil_HandleNotifier;

/// A run of a keeper.
class KilnUtil_KeptRun final : public KilnUtil_ProcessRun
{
    Q_OBJECT

public:
    /// A run that is to be started.
    KilnUtil_KeptRun(KilnUtil_NurseryRunKeepers &keepers, const std::string &runID);
    /// A run that goes on already.
    KilnUtil_KeptRun(KilnUtil_NurseryRunKeepers &keepers, const std::string &runID,
                     Taskmill_RunConnection connection);
    /// A run that has ended; EndedSignal comes from the event loop.
    KilnUtil_KeptRun(KilnUtil_NurseryRunKeepers &keepers, const std::string &runID, KilnUtil_RunEnd end);
    ~KilnUtil_KeptRun() override;
    Q_DISABLE_COPY_MOVE(KilnUtil_KeptRun)

    /// What a keeper has recorded.
    [[nodiscard]] static KilnUtil_RunEnd EndOf(const Taskmill_RunEnd &end);

    [[nodiscard]] bool Start(const KilnUtil_RunOrder &order) override;
    [[nodiscard]] bool Prepare(const KilnUtil_RunOrder &order) override;
    [[nodiscard]] bool IsPrepared() const override
    {
        return m_state == State::Prepared && m_connection.IsOpen();
    }
    [[nodiscard]] bool Go() override;
    [[nodiscard]] qint64 ProcessID() const override { return m_state == State::Running ? m_processID : 0; }
    [[nodiscard]] bool IsRunning() const override
    {
        return m_state == State::Running || m_state == State::Lost;
    }
    [[nodiscard]] const KilnUtil_RunEnd &End() const override { return m_end; }
    [[nodiscard]] KilnUtil_ProcessOutput &Output() override { return m_output; }
    [[nodiscard]] bool IsKept() const override { return true; }
    void BeginKill(int graceMs) override;
    bool WaitForEnd(int waitMs) override;
    void LetGoOn() override;

    void SetOwner(const std::string &owner);
    /// Nothing is left of the run, whose keeper is gone.
    void TakeSwept();
    [[nodiscard]] bool IsLost() const { return m_state == State::Lost; }
    /// The process has ended that started its keeper, if it was of this program.
    void LoseNursery();
    [[nodiscard]] const std::string &RunID() const { return m_runID; }

private:
    enum class State
    {
        Prepared,
        Running,
        Lost, ///< its keeper is gone, and what is left of it is being ended
        Ended,
    };

    /// An error of the system in `error`.
    void Connect(const KilnUtil_RunOrder &order, bool waits, int &error);
    void Listen();
    void ReadSlot();
    /// False when there is none yet.
    bool TakeReport(const Taskmill_RunReport &report);
    [[nodiscard]] QString ReasonOfFailedStart(const Taskmill_RunReport &report, bool isForLack) const;
    void Finish(KilnUtil_RunEnd end);

    QPointer<KilnUtil_NurseryRunKeepers> m_keepers;
    const std::string m_runID;
    Taskmill_RunConnection m_connection;
    std::unique_ptr<KilnUtil_HandleNotifier> m_notifier;
    KilnUtil_RunOutputFile m_output;
    KilnUtil_RunEnd m_end;
    qint64 m_processID = 0;
    State m_state = State::Running;
    bool m_isFromThisNursery = true; ///< which reports its sweep without being asked
    bool m_isSwept = false;
    std::string m_inputPath;
    std::string m_outputPath;
};
