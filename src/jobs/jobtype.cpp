// SPDX-License-Identifier: MIT
#include "jobs/jobtype.h"

#include "jobs/clusterrun.h"

#include <QFileInfo>
#include <QHash>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

bool Taskmill_JobType::IsNamed(const QString &name) const
{
    return Name.compare(name, Qt::CaseInsensitive) == 0;
}

bool Taskmill_JobType::IsValid() const
{
    return JobTypeID >= 0 && !Name.isEmpty() && !ApplicationName.isEmpty() && !ExecutablePath.isEmpty() &&
           !ExecutablePath.contains(QChar::Null) && QFileInfo{ExecutablePath}.isFile() &&
           GenericCommandLine.contains("@EXEFILE"_L1, Qt::CaseInsensitive);
}

bool Taskmill_JobType::UsesInputFile() const
{
    return GenericCommandLine.contains("@INFILE"_L1, Qt::CaseInsensitive);
}

bool Taskmill_JobType::RunsOnCluster() const
{
    return Taskmill_ClusterRun::IsFollower(ExecutablePath);
}

Taskmill_QueueKey Taskmill_JobType::DefaultQueueIndex() const
{
    return Taskmill_QueueKeyFromName(DefaultQueue);
}

bool Taskmill_JobType::MatchesFile(const QString &filePath) const
{
    const QString suffix = QFileInfo{filePath}.suffix();
    const QStringList pieces = Taskmill_FilterPieces(InputFileFilter);
    return std::ranges::any_of(pieces, [&suffix](QString piece) {
        return piece.startsWith("*."_L1) && piece.remove("*."_L1).compare(suffix, Qt::CaseInsensitive) == 0;
    });
}

QStringList Taskmill_FilterPieces(const QString &filter)
{
    QString text = filter.trimmed();
    text.replace(u'(', u' ').replace(u')', u' ');
    return text.split(u' ', Qt::SkipEmptyParts);
}

namespace {
template <typename Predicate>
Taskmill_JobType FirstOf(const QList<Taskmill_JobType> &jobTypes, Predicate isWanted)
{
    const auto found = std::ranges::find_if(jobTypes, isWanted);
    return found == jobTypes.end() ? Taskmill_JobType{} : *found;
}
} // namespace

Taskmill_JobType Taskmill_JobTypeNamed(const QList<Taskmill_JobType> &jobTypes, const QString &name)
{
    return FirstOf(jobTypes, [&name](const Taskmill_JobType &jobType) { return jobType.IsNamed(name); });
}

Taskmill_JobType Taskmill_JobTypeWithID(const QList<Taskmill_JobType> &jobTypes, int jobTypeID)
{
    return FirstOf(jobTypes,
                   [jobTypeID](const Taskmill_JobType &jobType) { return jobType.JobTypeID == jobTypeID; });
}

Taskmill_JobType Taskmill_JobTypeForFile(const QList<Taskmill_JobType> &jobTypes, const QString &filePath)
{
    return FirstOf(jobTypes,
                   [&filePath](const Taskmill_JobType &jobType) { return jobType.MatchesFile(filePath); });
}

QStringList Taskmill_DistinctNames(const QList<Taskmill_JobType> &jobTypes, const QString &furtherItem)
{
    QHash<QString, int> counts{{furtherItem, 1}};
    for (const Taskmill_JobType &jobType : jobTypes)
        ++counts[jobType.Name];
    QStringList names;
    for (const Taskmill_JobType &jobType : jobTypes) {
        names += counts[jobType.Name] == 1
                     ? jobType.Name
                     : u"%1 (%2)"_s.arg(jobType.Name, QString::number(jobType.JobTypeID));
    }
    return names;
}
