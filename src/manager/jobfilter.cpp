// SPDX-License-Identifier: MIT
#include "manager/jobfilter.h"

#include "db/finishedjobreader.h"
#include "db/jobfields.h"
#include "manager/measuretext.h"

#include <QDir>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

Taskmill_JobFilter::Taskmill_JobFilter(const QString &text, bool failedOnly)
    : m_words{text.simplified().split(u' ', Qt::SkipEmptyParts)}
    , m_failedOnly{failedOnly}
{
}

bool Taskmill_JobFilter::Matches(const Taskmill_JobRecord &job) const
{
    if (m_failedOnly && !job.HasFailed())
        return false;
    if (m_words.isEmpty())
        return true;
    // A word finds its folder with "/" as with the separators of this system.
    const QString folder = QDir::fromNativeSeparators(job.Folder());
    const QString result = Taskmill_ResultText(job.Result);
    return std::ranges::all_of(m_words, [&](const QString &word) {
        return job.Name.contains(word, Qt::CaseInsensitive) ||
               job.JobType.Name.contains(word, Qt::CaseInsensitive) ||
               folder.contains(QDir::fromNativeSeparators(word), Qt::CaseInsensitive) ||
               result.contains(word, Qt::CaseInsensitive);
    });
}

Taskmill_FinishedJobReading Taskmill_JobFilter::WhatIsRead() const
{
    QStringList columns{u"Status"_s};
    if (!m_words.isEmpty())
        columns += {u"Name"_s, u"JobTypeID"_s, u"ApplicationName"_s, u"ExecutablePath"_s, u"InputFilePath"_s};
    return {columns, {QString{Taskmill_ResultField}}};
}
