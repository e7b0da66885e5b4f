// SPDX-License-Identifier: MIT
#include "manager/finishedranking.h"

#include "db/finishedjobreader.h"
#include "db/jobfields.h"
#include "manager/listings.h"

using namespace Qt::Literals::StringLiterals;

Taskmill_FinishedRanking::Taskmill_FinishedRanking(int column, qsizetype count)
    : m_column{column}
    , m_values{count}
{
}

Taskmill_FinishedJobReading Taskmill_FinishedRanking::WhatIsRead(int column)
{
    struct Source
    {
        QString header;
        Taskmill_FinishedJobReading reading;
    };
    static const QList<Source> sources{
        {u"Name"_s, {{u"Name"_s}, {}}},
        {u"Status"_s, {{u"Status"_s}, {}}},
        {u"Queue"_s, {{u"QueueID"_s}, {}}},
        {u"Submitted"_s, {{u"Submitted"_s}, {}}},
        {u"Started"_s, {{u"Started"_s}, {}}},
        {u"Finished"_s, {{u"Finished"_s}, {}}},
        {u"Elapsed"_s, {{u"Status"_s, u"Started"_s, u"Finished"_s}, {}}},
        {u"Folder"_s, {{u"InputFilePath"_s}, {}}},
        {u"Result"_s, {{u"Status"_s}, {QString{Taskmill_ResultField}}}},
        {u"Processor Time"_s, {{u"Status"_s}, {QString{Taskmill_ProcessorTimeField}}}},
        {u"Peak Memory"_s, {{u"Status"_s}, {QString{Taskmill_PeakMemoryField}}}},
        {u"Exit Code"_s, {{u"Status"_s}, {QString{Taskmill_ExitCodeField}}}},
    };
    for (const Source &source : sources) {
        if (Taskmill_Listings::FinishedJobsTable().WithHeader(source.header) == column)
            return source.reading;
    }
    return {{u"JobTypeID"_s, u"ApplicationName"_s, u"ExecutablePath"_s, u"CommandLine"_s}, {}};
}

void Taskmill_FinishedRanking::Take(qsizetype position, const Taskmill_JobRecord &job)
{
    const auto &columns = Taskmill_Listings::FinishedJobsTable();
    if (const auto number = columns.SortNumber(job, m_column))
        m_values.SetNumber(position, *number);
    else
        m_values.SetText(position, columns.Text(job, m_column));
}
