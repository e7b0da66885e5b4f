// SPDX-License-Identifier: MIT
#pragma once

#include "slurm/slurmcluster.h"

/// The way by ssh to a cluster: a server of its own on the loopback address with keys made for the test, and
/// a program "ssh" for the cluster's environment that knows it as the host "login".
class SshServer
{
public:
    explicit SshServer(const SlurmCluster &cluster);
    ~SshServer();
    Q_DISABLE_COPY_MOVE(SshServer)

    /// False when it does not answer.
    [[nodiscard]] bool Start();
    /// With all connections, as when the network is gone.
    void Vanish();
    /// A connection that the user opens himself, for others to share, where his configuration says; no other
    /// is let in until it is closed. False when that fails.
    [[nodiscard]] bool OpenUsersConnection();
    void CloseUsersConnection();

private:
    void StartDaemon();
    [[nodiscard]] bool Ssh(const QStringList &arguments) const;

    const SlurmCluster &m_cluster;
    QTemporaryDir m_directory;
    QProcess m_daemon;
};
