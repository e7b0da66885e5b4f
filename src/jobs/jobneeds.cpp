// SPDX-License-Identifier: MIT
#include "jobs/jobneeds.h"

#include "engines/program.h"
#include "jobs/clustercall.h"
#include "jobs/commandline.h"

#include <QFile>
#include <QFileInfo>

#include <cmath>

namespace {
/// Coordinates of some thousand atoms; what is asked for stands before them as a rule.
constexpr qint64 longestBeginning = 262'144;

std::optional<qint64> NumberUpTo(qint64 most, const QString &text)
{
    bool isNumber = false;
    const qint64 number = text.trimmed().toLongLong(&isNumber);
    return isNumber && number >= 1 && number <= most ? std::optional{number} : std::nullopt;
}

Taskmill_JobNeeds NeedsOf(const Taskmill_ProgramNeeds &said)
{
    Taskmill_JobNeeds needs;
    if (said.Cores && *said.Cores >= 1)
        needs.Cores = std::min<qint32>(*said.Cores, Taskmill_MostCores);
    if (said.MemoryMB && *said.MemoryMB > 0)
        needs.MemoryMB = *said.MemoryMB < static_cast<double>(Taskmill_MostMemoryMB)
                             ? static_cast<qint64>(std::ceil(*said.MemoryMB))
                             : Taskmill_MostMemoryMB;
    for (const std::string &file : said.Written)
        needs.Written.append(QString::fromStdString(file));
    return needs;
}

/// What the job's command line calls, and what it says of it besides.
struct Call
{
    QString Program;
    QString Arguments;
    Taskmill_JobNeeds Needs{};
};

Call CallOf(const Taskmill_JobRecord &job)
{
    const Taskmill_LaunchPlan plan = Taskmill_PlanLaunch(job);
    const auto onCluster = job.JobType.RunsOnCluster()
                               ? Taskmill_ClusterCall::Of(Taskmill_ExecutablePlaceholder + plan.Arguments)
                               : std::nullopt;
    if (!onCluster)
        return {.Program = plan.Program, .Arguments = plan.Arguments};
    Call call{.Program = onCluster->Program, .Arguments = onCluster->Rest};
    call.Needs.Cores = Taskmill_CoresFromText(onCluster->Options.Cores);
    call.Needs.MemoryMB = Taskmill_MemoryFromText(onCluster->Options.Memory);
    return call;
}

/// With the definitions of the environment in front, as a shell has them.
QByteArray TextOf(const Call &call, const Taskmill_JobType &jobType)
{
    return (jobType.EnvironmentVariables + u'\n' + QFileInfo{call.Program}.fileName() + u' ' + call.Arguments)
        .toUtf8();
}
} // namespace

std::optional<qint32> Taskmill_CoresFromText(const QString &text)
{
    const auto cores = NumberUpTo(Taskmill_MostCores, text);
    return cores ? std::optional{static_cast<qint32>(*cores)} : std::nullopt;
}

std::optional<qint64> Taskmill_MemoryFromText(const QString &text)
{
    return NumberUpTo(Taskmill_MostMemoryMB, text);
}

Taskmill_JobNeeds Taskmill_NeedsOfInput(const QString &filePath)
{
    // A pipe would be waited for, a device may never end.
    if (filePath.isEmpty() || filePath.contains(QChar::Null) || !QFileInfo{filePath}.isFile())
        return {};
    QFile file{filePath};
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return {};
    const QByteArray text = file.read(longestBeginning);
    return NeedsOf(Taskmill_ReadNeeds({text.data(), static_cast<std::size_t>(text.size())},
                                      QFileInfo{filePath}.fileName().toStdString()));
}

Taskmill_JobNeeds Taskmill_NeedsOfJob(const Taskmill_JobRecord &job)
{
    Taskmill_JobNeeds needs = Taskmill_NeedsOfInput(job.InputFilePath);
    const Call call = CallOf(job);
    const QByteArray text = TextOf(call, job.JobType);
    const Taskmill_JobNeeds ofCall =
        NeedsOf(Taskmill_ReadCommandLineNeeds({text.data(), static_cast<std::size_t>(text.size())}));
    for (const Taskmill_JobNeeds &said : {ofCall, call.Needs}) {
        if (said.Cores)
            needs.Cores = said.Cores;
        if (said.MemoryMB)
            needs.MemoryMB = said.MemoryMB;
    }
    return needs;
}
