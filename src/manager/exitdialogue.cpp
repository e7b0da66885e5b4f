// SPDX-License-Identifier: MIT
#include "manager/exitdialogue.h"

#include "manager/destinations.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {
/// How many jobs run and wait, for who is about to end them.
QString JobCountsText(Taskmill_Destinations &destinations)
{
    qsizetype running = 0;
    qsizetype waiting = 0;
    for (Taskmill_QueueOwner *owner : destinations.All()) {
        const QList<Taskmill_Job *> &jobs = owner->Jobs().Jobs();
        running += std::ranges::count(jobs, Taskmill_JobStatus::Running, &Taskmill_Job::Status);
        waiting += std::ranges::count(jobs, Taskmill_JobStatus::Pending, &Taskmill_Job::Status);
    }
    const QString ends = running == 0   ? u"No job is running."_s
                         : running == 1 ? u"1 job is running and will be ended."_s
                                        : u"%1 jobs are running and will be ended."_s.arg(running);
    const QString waits = waiting == 0   ? u"No job is waiting."_s
                          : waiting == 1 ? u"1 job is waiting."_s
                                         : u"%1 jobs are waiting."_s.arg(waiting);
    return ends + u'\n' + waits;
}
} // namespace

Taskmill_ExitDialogue::Taskmill_ExitDialogue(Taskmill_Destinations &destinations)
    : m_destinations{destinations}
{
}

std::optional<Taskmill_Question> Taskmill_ExitDialogue::Next()
{
    if (m_isAnswered)
        return std::nullopt;
    return Taskmill_Question{.title = u"Exit Taskmill"_s,
                             .text = u"Are you sure you want to completely exit Taskmill?"_s,
                             .detail = JobCountsText(m_destinations),
                             .kind = Taskmill_Question::Kind::YesNoCancel,
                             .defaultAnswer = KilnUtil_UserPrompt::WarnAnswer::No,
                             .isWarning = true,
                             .isAskedOnce = true};
}

void Taskmill_ExitDialogue::Answer(const Taskmill_Answer &answer)
{
    m_isAnswered = true;
    m_isConfirmed = answer.IsYes();
}
