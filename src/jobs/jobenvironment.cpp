// SPDX-License-Identifier: MIT
#include "jobs/jobenvironment.h"

#include "jobs/commandline.h"

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
    if (name.contains("GAUSS_MEMDEF"_L1, Qt::CaseInsensitive) && !IsPositiveNumber(value))
        environment.remove(name);
    else
        environment.insert(name, value);
}
} // namespace

QProcessEnvironment Taskmill_JobEnvironment(const Taskmill_JobRecord &job,
                                            const QProcessEnvironment &inherited)
{
    QProcessEnvironment environment = inherited;
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
