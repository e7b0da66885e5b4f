// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QObject>
#include <QProcess>
#include <QString>

/// A part of a cluster, in the cluster's own words.
struct Taskmill_ClusterPartition
{
    QString Name;
    bool IsDefault = false; ///< where jobs go that name none
    QString State;          ///< such as "up"
    QString TimeLimit;
    QString Nodes;
    QString FreeCores;
    QString Cores;
};

/// Asks a cluster for its partitions, without waiting for the answer. Destroyed, it asks no more.
class Taskmill_ClusterCheck final : public QObject
{
    Q_OBJECT

public:
    explicit Taskmill_ClusterCheck(QObject *parent = nullptr);
    ~Taskmill_ClusterCheck() override;
    Q_DISABLE_COPY_MOVE(Taskmill_ClusterCheck)

    /// USER@LOGIN for ssh; empty where the cluster's commands are here. Nothing happens while it asks.
    void Ask(const QString &host);
    /// Without an answer, and without a signal.
    void Stop();
    [[nodiscard]] bool IsAsking() const { return m_process.state() != QProcess::NotRunning; }

    /// The partitions in what taskmill-slurm --check prints.
    [[nodiscard]] static QList<Taskmill_ClusterPartition> PartitionsIn(const QString &table);

Q_SIGNALS:
    /// The error is empty for an answer.
    void FinishedSignal(const QList<Taskmill_ClusterPartition> &partitions, const QString &error);

private:
    void Report();

    QProcess m_process;
    bool m_isWanted = false;
};
