// SPDX-License-Identifier: MIT
#include "jobs/jobenvironment.h"

#include "jobs/commandline.h"
#include "wire/clusterrun.h"

#include <QStringList>

using namespace Qt::Literals::StringLiterals;

namespace {
bool IsPositiveNumber(const QString &text)
{
    bool isNumber = false;
    return text.toLongLong(&isNumber) >= 1 && isNumber;
}

void SetVariable(QProcessEnvironment &environment, const QString &name, const QString &value)
{
    if (name.isEmpty() || name.contains(u'='))
        return;
    // What is as it should be is left alone, as a change makes a copy of everything.
    if (name.contains("GAUSS_MEMDEF"_L1, Qt::CaseInsensitive) && !IsPositiveNumber(value)) {
        if (environment.contains(name))
            environment.remove(name);
    } else if (environment.value(name) != value || !environment.contains(name)) {
        environment.insert(name, value);
    }
}
/// A cluster gives a job what it takes here, where the type's options say so.
void SetNeeds(QProcessEnvironment &environment, const Taskmill_JobRecord &job)
{
    const auto set = [&environment](std::string_view variable, qint64 number) {
        const auto name = QString::fromLatin1(variable.data(), static_cast<qsizetype>(variable.size()));
        if (number > 0)
            environment.insert(name, QString::number(number));
        else
            environment.remove(name);
    };
    set(Taskmill_CoresVariable, job.Cores());
    set(Taskmill_MemoryVariable, job.MemoryMB());
}
} // namespace

QProcessEnvironment Taskmill_JobEnvironment(const Taskmill_JobRecord &job,
                                            const QProcessEnvironment &inherited)
{
    QProcessEnvironment environment = inherited;
    if (job.JobType.RunsOnCluster())
        SetNeeds(environment, job);
    for (const QString &line : job.JobType.EnvironmentVariables.split(u'\n', Qt::SkipEmptyParts)) {
        QStringList pieces = line.split(u'=', Qt::SkipEmptyParts);
        if (pieces.size() != 2)
            continue;
        for (QString &piece : pieces)
            Taskmill_ApplyPlaceholders(piece, job.PlaceholderValues);
        SetVariable(environment, pieces.first(), pieces.last());
    }
    return environment;
}
