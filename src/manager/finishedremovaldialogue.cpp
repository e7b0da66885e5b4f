// SPDX-License-Identifier: MIT
#include "manager/finishedremovaldialogue.h"

#include "manager/finishedjobs.h"
#include "manager/namelist.h"

#include <utility>

using namespace Qt::Literals::StringLiterals;

Taskmill_FinishedRemovalDialogue::Taskmill_FinishedRemovalDialogue(Taskmill_FinishedJobs &jobs,
                                                                   QList<int> positions)
    : m_jobs{jobs}
    , m_positions{std::move(positions)}
    , m_generation{jobs.Generation()}
{
}

std::optional<Taskmill_Question> Taskmill_FinishedRemovalDialogue::Next()
{
    if (m_positions.isEmpty() || m_generation != m_jobs.Generation())
        return std::nullopt;
    QStringList names;
    for (const int position : m_positions.first(qMin(m_positions.size(), Taskmill_MostNamesListed)))
        names.append(m_jobs.JobAt(position).Name);
    return Taskmill_Question{
        .title = u"Remove Selected Finished Jobs"_s,
        .text = u"Are you sure you want to remove the following %1 selected finished jobs?\n\n"_s.arg(
                    m_positions.size()) +
                Taskmill_NameList(names, m_positions.size())};
}

void Taskmill_FinishedRemovalDialogue::Answer(const Taskmill_Answer &answer)
{
    // Jobs that are added while the question stands come behind; after anything else the positions are those
    // of other jobs.
    if (answer.IsYes() && m_generation == m_jobs.Generation())
        m_jobs.Remove(m_positions);
    m_positions.clear();
}
