// SPDX-License-Identifier: MIT
#include "manager/heldjobsdialogue.h"

#include "jobs/queuelessjobslist.h"
#include "manager/destinations.h"

using namespace Qt::Literals::StringLiterals;

namespace {
bool AreAllQueueless(Taskmill_Destinations &destinations)
{
    return destinations.HeldJobIDs() == destinations.Queueless().Jobs().HeldJobIDs();
}

QString CountText(Taskmill_Destinations &destinations)
{
    const qsizetype count = destinations.HeldJobIDs().size();
    if (!AreAllQueueless(destinations))
        return count == 1
                   ? u"1 job was running when this project was saved, and is held."_s
                   : u"%1 jobs were running when this project was closed or saved, and are held."_s.arg(
                         count);
    return count == 1 ? u"1 queueless job was running when this project was closed."_s
                      : u"%1 queueless jobs were running when this project was closed."_s.arg(count);
}
} // namespace

Taskmill_HeldJobsDialogue::Taskmill_HeldJobsDialogue(Taskmill_Destinations &destinations)
    : m_destinations{destinations}
{
}

std::optional<Taskmill_Question> Taskmill_HeldJobsDialogue::Next()
{
    m_jobIDs = m_destinations.HeldJobIDs();
    if (m_isAnswered || m_jobIDs.isEmpty())
        return std::nullopt;
    const bool isOne = m_jobIDs.size() == 1;
    const QString question =
        CountText(m_destinations) + (isOne ? u" Run it again?"_s : u" Run them again?"_s);
    const QString tab = AreAllQueueless(m_destinations) ? u"the tab Queueless Jobs"_s : u"its tab"_s;
    const QString otherwise =
        isOne ? u"\n\nIf you choose No, it waits in %1, whose menu runs or removes it."_s.arg(tab)
              : u"\n\nIf you choose No, they wait in %1, whose menu runs or removes them."_s.arg(
                    AreAllQueueless(m_destinations) ? tab : u"their tabs"_s);
    return Taskmill_Question{.title = AreAllQueueless(m_destinations) ? u"Queueless Jobs of the Project"_s
                                                                      : u"Jobs That Are Held"_s,
                             .text = question + otherwise,
                             .consoleText = question,
                             .defaultAnswer = KilnUtil_UserPrompt::WarnAnswer::No};
}

void Taskmill_HeldJobsDialogue::Answer(const Taskmill_Answer &answer)
{
    m_isAnswered = true;
    if (answer.IsYes())
        m_released = m_destinations.Release(m_jobIDs);
}

QString Taskmill_HeldJobsDialogue::Notice(Taskmill_Destinations &destinations)
{
    const qsizetype count = destinations.HeldJobIDs().size();
    if (count == 0)
        return {};
    return CountText(destinations) + (count == 1 ? u" It waits until it is run again or removed."_s
                                                 : u" They wait until they are run again or removed."_s);
}
