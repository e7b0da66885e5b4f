// SPDX-License-Identifier: MIT
#pragma once

#include "processes/runkeepers.h"
#include "wire/keeperclient.h"
#include "wire/runjournals.h"

#include <QElapsedTimer>
#include <QList>
#include <QStringList>

#include <optional>
#include <string>
#include <vector>

class KilnUtil_KeptRun;
class KilnUtil_HandleNotifier;

/// The keepers of this system: taskmill-keeper, which src/keeper/ holds.
class KilnUtil_NurseryRunKeepers final : public KilnUtil_RunKeepers
{
    Q_OBJECT

public:
    KilnUtil_NurseryRunKeepers(const QString &program, const QString &folder);
    ~KilnUtil_NurseryRunKeepers() override;
    Q_DISABLE_COPY_MOVE(KilnUtil_NurseryRunKeepers)

    /// Starts the process that starts keepers, if there is none. False when that fails.
    [[nodiscard]] bool StartNursery();

    [[nodiscard]] QString NewRunID() const override;
    [[nodiscard]] std::unique_ptr<KilnUtil_ProcessRun> NewRun(const QString &runID) override;
    void SetOwner(const QString &identity, const QString &text,
                  const std::function<bool(const QString &ownerText)> &mayTake) override;
    [[nodiscard]] KilnUtil_FoundRun Find(const QString &runID) override;
    [[nodiscard]] std::function<KilnUtil_StoredOutput()> OutputOf(const QString &runID) const override;
    [[nodiscard]] KilnUtil_PrintedReader ReaderOf(const QString &runID) const override;
    void TakeResult(const QString &runID) override;
    void ForgetResults() override;
    void SetForgetsByItself(bool forgets) override { m_forgetsByItself = forgets; }
    void SetStorage(Storage storage) override { m_storage = std::move(storage); }

    // For the runs:
    [[nodiscard]] const std::string &Folder() const { return m_folder; }
    void Add(KilnUtil_KeptRun &run) { m_runs.append(&run); }
    void Remove(KilnUtil_KeptRun &run);
    /// Not open where keepers are out of order, or for the lack that `error` says.
    [[nodiscard]] Taskmill_RunConnection StartRun(Taskmill_RunOrder order, int &error);
    /// False when this turn of the event loop has lasted so long that what keepers report can wait for the
    /// next.
    [[nodiscard]] bool IsTurnShort() const { return m_turn.elapsed() < LongestTurnMs; }
    /// How a run has ended that its keeper did not report; nothing when that was not recorded.
    [[nodiscard]] std::optional<KilnUtil_RunEnd> RecordedEnd(const std::string &runID);
    /// TakeSwept() of the run comes when nothing of it is left.
    void AwaitSweep(KilnUtil_KeptRun &run, bool isFromThisNursery);
    /// False when none has come within that time.
    bool WaitForSweep(int waitMs);

private:
    [[nodiscard]] KilnUtil_FoundRun Adopt(const std::string &runID, const std::string &owner);
    [[nodiscard]] KilnUtil_FoundRun FindRecorded(const std::string &runID);
    void ReadSwept();
    void ForgetSomeResults();
    /// The first so many of those that were taken. False when that has to wait.
    bool Forget(std::ptrdiff_t count);
    void LoseNursery();

    const std::string m_program;
    const std::string m_folder;
    std::string m_identity;
    std::string m_owner; ///< identity and text
    std::function<bool(const QString &ownerText)> m_mayTake;
    std::optional<Taskmill_Nursery> m_nursery;
    std::unique_ptr<KilnUtil_HandleNotifier> m_notifier;
    QList<KilnUtil_KeptRun *> m_runs;
    Taskmill_RunJournals m_journals;
    qint64 m_waitedForAdoptionMs = 0;
    /// A result that is stored elsewhere.
    struct Taken
    {
        std::string runID;
        qint64 change = 0;
    };
    std::vector<Taken> m_taken; ///< in the order in which they were stored
    Storage m_storage;
    static constexpr int LongestTurnMs = 4;
    QElapsedTimer m_turn;
    bool m_forgetsByItself = false;
    bool m_isBusyLogged = false;
};
