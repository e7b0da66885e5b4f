// SPDX-License-Identifier: MIT
#pragma once

#include "wire/keeperclient.h"
#include "wire/runjournals.h"
#include "wire/runoutput.h"

#include <QList>
#include <QString>
#include <QTemporaryDir>

#include <memory>

/// The keepers of one test, in a folder of its own, and the manager's side of them. In the end nothing is
/// left.
class KeeperFixture
{
public:
    using Kind = Taskmill_RunReport::Kind;
    /// Everything is waited for; nothing takes so long.
    static constexpr int WaitMs = 30'000;

    KeeperFixture();
    ~KeeperFixture();
    Q_DISABLE_COPY_MOVE(KeeperFixture)

    [[nodiscard]] static std::string Program();
    /// False when the program does not get ready.
    [[nodiscard]] bool StartNursery();
    [[nodiscard]] Taskmill_Nursery &Nursery() { return *m_nursery; }
    /// As when the manager is killed: all its connections close at once.
    void LoseManager();
    [[nodiscard]] long long NurseryID() const { return m_nurseryID; }

    /// Of the program that stands in for a calculation, with this test's environment.
    [[nodiscard]] Taskmill_RunOrder Order(const QList<std::string> &arguments) const;
    [[nodiscard]] Taskmill_RunOrder Script(const std::string &text) const;
    [[nodiscard]] Taskmill_RunOrder HostileJob(bool keepsEnvironment = false) const;
    void Start(const Taskmill_RunOrder &order);
    [[nodiscard]] Taskmill_RunConnection &Run() { return m_run; }
    /// The next report of that kind, or one that nothing follows.
    [[nodiscard]] Taskmill_RunReport Wait(Kind kind);
    /// The process of the keeper.
    [[nodiscard]] static long long KeeperOf(const Taskmill_RunReport &started);

    [[nodiscard]] std::string Folder() const { return m_folder; }
    /// Of the runs, where they may write.
    [[nodiscard]] std::string JobFolder() const { return m_jobFolder; }
    [[nodiscard]] bool Exists(const std::string &name) const;
    void Touch(const std::string &name) const;
    [[nodiscard]] QByteArray Output(const std::string &runID) const;
    /// What the journals say.
    [[nodiscard]] std::optional<Taskmill_RunEnd> RecordedEnd(const std::string &runID) const;

    /// How many processes have the folder of the runs as their directory.
    [[nodiscard]] int ProcessCount() const;
    [[nodiscard]] bool IsHostileJobReady() const;
    /// Also when it has no parent any more.
    [[nodiscard]] static bool IsProcessThere(long long id);

private:
    QTemporaryDir m_directory;
    std::string m_folder;
    std::string m_jobFolder;
    std::optional<Taskmill_Nursery> m_nursery;
    Taskmill_RunConnection m_run;
    long long m_nurseryID = 0;
};
