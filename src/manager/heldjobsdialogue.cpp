// SPDX-License-Identifier: MIT
#include "manager/heldjobsdialogue.h"

#include "jobs/queuelessjobslist.h"

using namespace Qt::Literals::StringLiterals;

namespace {
QString CountText(qsizetype count)
{
    return count == 1 ? u"1 queueless job was running when this project was closed."_s
                      : u"%1 queueless jobs were running when this project was closed."_s.arg(count);
}
} // namespace

Taskmill_HeldJobsDialogue::Taskmill_HeldJobsDialogue(Taskmill_QueuelessJobsList &list)
    : m_list{list}
{
}

std::optional<Taskmill_Question> Taskmill_HeldJobsDialogue::Next()
{
    m_jobIDs = m_list.HeldJobIDs();
    if (m_isAnswered || m_jobIDs.isEmpty())
        return std::nullopt;
    const bool isOne = m_jobIDs.size() == 1;
    const QString question =
        CountText(m_jobIDs.size()) + (isOne ? u" Run it again?"_s : u" Run them again?"_s);
    const QString otherwise =
        isOne
            ? u"\n\nIf you choose No, it waits in the tab Queueless Jobs, whose menu runs or removes it."_s
            : u"\n\nIf you choose No, they wait in the tab Queueless Jobs, whose menu runs or removes them."_s;
    return Taskmill_Question{.title = u"Queueless Jobs of the Project"_s,
                             .text = question + otherwise,
                             .consoleText = question,
                             .defaultAnswer = KilnUtil_UserPrompt::WarnAnswer::No};
}

void Taskmill_HeldJobsDialogue::Answer(const Taskmill_Answer &answer)
{
    m_isAnswered = true;
    if (answer.IsYes())
        m_released = m_list.Release(m_jobIDs);
}

QString Taskmill_HeldJobsDialogue::Notice(const Taskmill_QueuelessJobsList &list)
{
    const qsizetype count = list.HeldJobIDs().size();
    if (count == 0)
        return {};
    return CountText(count) + (count == 1 ? u" It waits until it is run again or removed."_s
                                          : u" They wait until they are run again or removed."_s);
}
