// SPDX-License-Identifier: MIT
#include "jobs/clustercheck.h"

#include "jobs/clusterrun.h"

#include <QRegularExpression>
#include <QStringList>

#include <utility>

using namespace Qt::Literals::StringLiterals;

Taskmill_ClusterCheck::Taskmill_ClusterCheck(QObject *parent)
    : QObject{parent}
{
    connect(&m_process, &QProcess::finished, this, &Taskmill_ClusterCheck::Report);
    connect(&m_process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            Report();
    });
}

Taskmill_ClusterCheck::~Taskmill_ClusterCheck()
{
    Stop();
}

void Taskmill_ClusterCheck::Ask(const QString &host)
{
    if (IsAsking())
        return;
    m_isWanted = true;
    m_process.setStandardInputFile(QProcess::nullDevice());
    m_process.start(Taskmill_ClusterRun::Program({}), host.isEmpty()
                                                          ? QStringList{u"--check"_s}
                                                          : QStringList{u"--check"_s, u"--host="_s + host});
}

void Taskmill_ClusterCheck::Stop()
{
    m_isWanted = false;
    // It has nothing to lose, and takes along what it has started.
    m_process.kill();
    m_process.waitForFinished();
}

void Taskmill_ClusterCheck::Report()
{
    if (!std::exchange(m_isWanted, false))
        return;
    const bool isAnswer = m_process.exitStatus() == QProcess::NormalExit && m_process.exitCode() == 0 &&
                          m_process.error() != QProcess::FailedToStart;
    QString error;
    if (!isAnswer) {
        error = QString::fromLocal8Bit(m_process.readAllStandardError()).trimmed();
        error.remove(QRegularExpression{u"^taskmill-slurm: "_s});
        if (error.isEmpty())
            error = m_process.errorString();
    }
    Q_EMIT FinishedSignal(PartitionsIn(QString::fromLocal8Bit(m_process.readAllStandardOutput())), error);
}

QList<Taskmill_ClusterPartition> Taskmill_ClusterCheck::PartitionsIn(const QString &table)
{
    static const QRegularExpression gap{u"  +"_s};
    constexpr qsizetype columnCount = 6;
    QList<Taskmill_ClusterPartition> partitions;
    for (const QString &line : table.split(u'\n').mid(1)) {
        const QStringList cells = line.split(gap, Qt::SkipEmptyParts);
        if (cells.size() != columnCount)
            continue;
        Taskmill_ClusterPartition partition{.Name = cells[0],
                                            .IsDefault = cells[0].endsWith(u'*'),
                                            .State = cells[1],
                                            .TimeLimit = cells[2],
                                            .Nodes = cells[3],
                                            .FreeCores = cells[4],
                                            .Cores = cells[5]};
        if (partition.IsDefault)
            partition.Name.chop(1);
        partitions.append(partition);
    }
    return partitions;
}
