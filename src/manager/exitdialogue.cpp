// SPDX-License-Identifier: MIT
#include "manager/exitdialogue.h"

#include "manager/destinations.h"
#include "manager/jobsgoon.h"

using namespace Qt::Literals::StringLiterals;

namespace {
/// How many jobs run and wait, for those who may be about to end them.
QString JobCountsText(int running, int waiting, bool endsThem)
{
    const QString end = endsThem ? u" and will be ended."_s : u"."_s;
    const QString ends = running == 0   ? u"No job is running."_s
                         : running == 1 ? u"1 job is running"_s + end
                                        : u"%1 jobs are running"_s.arg(running) + end;
    const QString waits = waiting == 0   ? u"No job is waiting."_s
                          : waiting == 1 ? u"1 job is waiting."_s
                                         : u"%1 jobs are waiting."_s.arg(waiting);
    return ends + u'\n' + waits;
}
} // namespace

QString Taskmill_JobsThatCannotGoOn(Taskmill_Destinations &destinations)
{
    QStringList numbers;
    for (const int jobID : destinations.RunningWithoutKeeper())
        numbers += QString::number(jobID);
    if (numbers.isEmpty())
        return {};
    return (numbers.size() == 1 ? u"Job %1 cannot go on without Taskmill."_s
                                : u"Jobs %1 cannot go on without Taskmill."_s)
        .arg(numbers.join(u", "_s));
}

Taskmill_ExitDialogue::Taskmill_ExitDialogue(Taskmill_Destinations &destinations, JobsGoOn jobsGoOn)
    : m_destinations{destinations}
    , m_jobsGoOn{jobsGoOn}
{
}

std::optional<Taskmill_Question> Taskmill_ExitDialogue::Next()
{
    if (m_isAnswered)
        return std::nullopt;
    const int running = m_destinations.RunningCount();
    const int waiting = m_destinations.WaitingCount();
    m_hasChoice = m_jobsGoOn == JobsGoOn::AsChosen && running > 0;
    QString detail = JobCountsText(running, waiting, !m_hasChoice);
    if (const QString others = m_hasChoice ? Taskmill_JobsThatCannotGoOn(m_destinations) : QString{};
        !others.isEmpty())
        detail += u'\n' + others;
    return Taskmill_Question{.title = u"Exit Taskmill"_s,
                             .text = u"Are you sure you want to completely exit Taskmill?"_s,
                             .detail = detail,
                             .checkBox = m_hasChoice ? u"Let &running jobs go on"_s : QString{},
                             .isChecked = m_hasChoice && Taskmill_RememberedJobsGoOn(),
                             .kind = Taskmill_Question::Kind::YesNoCancel,
                             .defaultAnswer = KilnUtil_UserPrompt::WarnAnswer::No,
                             .isWarning = true,
                             .isAskedOnce = true};
}

void Taskmill_ExitDialogue::Answer(const Taskmill_Answer &answer)
{
    m_isAnswered = true;
    m_isConfirmed = answer.IsYes();
    m_doJobsGoOn = m_hasChoice && answer.isChecked;
}
