// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>
#include <vector>

/// A real Slurm cluster with one node of eight cores: this computer, as whoever runs the test, in a temporary
/// folder, on the loopback address alone. Everything of it is ended when this is destroyed.
class SlurmCluster
{
public:
    SlurmCluster();
    ~SlurmCluster();
    Q_DISABLE_COPY_MOVE(SlurmCluster)

    /// False, with a warning that says why, when it does not come up.
    [[nodiscard]] bool Start();
    /// The controller alone, as when its machine is started anew. It comes back with what it knew before,
    /// unless it has forgotten everything.
    void StopController();
    void ForgetJobs() const;
    [[nodiscard]] bool StartController();

    /// Runs a command of the cluster; returns what it prints.
    [[nodiscard]] QByteArray Command(const QStringList &words) const;
    /// What of it are children of this process.
    [[nodiscard]] QList<int> Processes() const;
    /// For programs that use the cluster.
    [[nodiscard]] QProcessEnvironment Environment() const { return m_environment; }
    /// How often squeue was called through that environment.
    [[nodiscard]] int Queries() const;
    /// A folder whose programs come before those of the system there.
    [[nodiscard]] QString ProgramFolder() const { return m_directory.filePath(QStringLiteral("bin")); }
    /// Makes a shell script in that folder.
    void AddProgram(const QString &name, const QByteArray &lines) const;

private:
    [[nodiscard]] bool WriteConfiguration() const;
    [[nodiscard]] bool IsNodeIdle() const;
    QProcess *StartDaemon(const QStringList &words);

    QTemporaryDir m_directory;
    QProcessEnvironment m_environment;
    std::vector<std::unique_ptr<QProcess>> m_daemons;
    std::unique_ptr<QProcess> m_controller;
};

/// One run of taskmill-slurm.
class SlurmFollower
{
public:
    /// In that folder, which is also the one for its state; the environment is the cluster's. Another program
    /// in its place is to become it.
    SlurmFollower(const SlurmCluster &cluster, const QString &folder, const QStringList &arguments,
                  const QString &program = Program());
    ~SlurmFollower();
    Q_DISABLE_COPY_MOVE(SlurmFollower)

    [[nodiscard]] static QString Program();
    /// Waits until it has printed that; false, with a warning, when it does not.
    [[nodiscard]] bool Says(const QByteArray &text, int waitMs = 120'000);
    /// Waits for its end: the exit code, or 1000 and the signal; -1 when it does not end.
    [[nodiscard]] int End(int waitMs = 120'000);
    void Signal(int signal) const;
    [[nodiscard]] QByteArray Output();

private:
    QProcess m_process;
    QByteArray m_output;
};

/// What SlurmFollower::End() returns for a signal.
constexpr int endedBySignal = 1000;
