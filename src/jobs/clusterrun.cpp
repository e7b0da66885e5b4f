// SPDX-License-Identifier: MIT
#include "jobs/clusterrun.h"

#include "kilnutil/filesys.h"
#include "kilnutil/logging.h"
#include "wire/privatefolder.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr QLatin1StringView followerName{Taskmill_SlurmProgram.data(), Taskmill_SlurmProgram.size()};

void StartAlone(const QStringList &arguments, const QString &directory)
{
    const QString program = Taskmill_ClusterRun::Program({});
    if (!QProcess::startDetached(program, arguments, directory))
        qCWarning(Taskmill_JobsLog, "%ls cannot be started", qUtf16Printable(program));
}
} // namespace

Taskmill_ClusterRun::Taskmill_ClusterRun(QString workFolder, QString runID)
    : m_workFolder{std::move(workFolder)}
    , m_runID{std::move(runID)}
{
}

QString Taskmill_ClusterRun::WorkFolderOf(const QString &inputFile)
{
    return inputFile.isEmpty() ? QDir::currentPath() : QFileInfo{inputFile}.absolutePath();
}

std::string Taskmill_ClusterRun::Folder() const
{
    return Taskmill_ClusterRunFolder(QFile::encodeName(m_workFolder).toStdString(), m_runID.toStdString());
}

std::optional<Taskmill_ClusterState> Taskmill_ClusterRun::State() const
{
    return m_runID.isEmpty() ? std::nullopt : Taskmill_ReadClusterState(Folder());
}

bool Taskmill_ClusterRun::IsToBeFollowed() const
{
    const std::optional<Taskmill_ClusterState> state = State();
    return state && state->IsToBeFollowed();
}

bool Taskmill_ClusterRun::PassTo(const QString &runID) const
{
    return Taskmill_LinkClusterRun(QFile::encodeName(m_workFolder).toStdString(), m_runID.toStdString(),
                                   runID.toStdString());
}

QString Taskmill_ClusterRun::Program(const QString &programOfJob)
{
    const QString beside = KilnUtil_FileSys::m_appDirPath + u'/' + followerName;
    return QFile::exists(beside) || !IsFollower(programOfJob) ? beside : programOfJob;
}

bool Taskmill_ClusterRun::IsFollower(const QString &program)
{
    // Asked for each job that runs or waits, again and again.
    const qsizetype rest = program.size() - followerName.size();
    return program.endsWith(followerName) && (rest == 0 || program[rest - 1] == u'/');
}

/// The folder as it is seen from the job's: without whatever stands in the names above it.
QString Taskmill_ClusterRun::Arguments() const
{
    return u"--resume "_s + QString::fromStdString(Taskmill_ClusterRunFolder(".", m_runID.toStdString()));
}

void Taskmill_ClusterRun::Cancel() const
{
    StartAlone({u"--cancel"_s, QString::fromStdString(Taskmill_ClusterRunFolder(".", m_runID.toStdString()))},
               m_workFolder);
}

QString Taskmill_ClusterText(const Taskmill_ClusterState &state)
{
    using Phase = Taskmill_ClusterState::Phase;
    const auto text = [](const std::string &bytes) {
        return QString::fromStdString(bytes);
    };
    QStringList parts;
    if (!state.job.empty())
        parts += u"job "_s + text(state.job);
    if (state.phase != Phase::Submitted)
        parts += state.phase == Phase::Ended ? text(state.reason) : u"not submitted yet"_s;
    else if (!state.state.empty())
        parts += text(state.state) +
                 (state.reason.empty() ? QString{} : u" ("_s + text(state.reason) + u')') +
                 (state.node.empty() ? QString{} : u" on "_s + text(state.node));
    if (state.isCancelled && state.phase != Phase::Ended)
        parts += u"being cancelled"_s;
    QString line = parts.join(u", "_s);
    if (state.since > 0)
        line += QDateTime::fromSecsSinceEpoch(state.since).toString(u" 'since' yyyy-MM-dd hh:mm"_s);
    return state.host.empty() ? line : line + u" ("_s + text(state.host) + u')';
}

void Taskmill_RepeatCancellations()
{
    const QDir folder{QString::fromStdString(Taskmill_StateFolderPath()) + u"/slurm/cancel"_s};
    if (!folder.entryList({u"taskmill-*"_s}, QDir::Files).isEmpty())
        StartAlone({u"--cancellations"_s}, QDir::rootPath());
}
