// SPDX-License-Identifier: MIT
#include "manager/leavingdialogue.h"

#include "manager/destinations.h"
#include "manager/jobsgoon.h"

using namespace Qt::Literals::StringLiterals;

namespace {
Taskmill_Question JobsQuestion(int running, bool canGoOn)
{
    const QString text = running == 1 ? u"1 job is running."_s : u"%1 jobs are running."_s.arg(running);
    const QString ending = u"Those that you end wait in the project, if you save it, and begin anew."_s;
    const QString goingOn =
        u"Those that go on are there again, running or ended, when this project is opened the next time."_s;
    return {.title = u"Close Current Project?"_s,
            .text = text,
            .detail = (canGoOn ? goingOn : u"Closing this project ends them."_s) + u"\n\n"_s + ending,
            .yes = u"&End them"_s,
            .no = canGoOn ? u"&Let them go on"_s : u"Cancel"_s,
            .kind = canGoOn ? Taskmill_Question::Kind::YesNoCancel : Taskmill_Question::Kind::YesNo,
            .defaultAnswer =
                canGoOn ? KilnUtil_UserPrompt::WarnAnswer::Cancel : KilnUtil_UserPrompt::WarnAnswer::No,
            .isWarning = true};
}
} // namespace

Taskmill_LeavingDialogue::Taskmill_LeavingDialogue(Taskmill_SavableProject &project,
                                                   Taskmill_Destinations &destinations, Jobs jobs)
    : m_destinations{destinations}
    , m_closing{project}
    , m_jobs{jobs}
    , m_isDecided{jobs == Jobs::End}
{
}

std::optional<Taskmill_Question> Taskmill_LeavingDialogue::Next()
{
    if (m_stays)
        return std::nullopt;
    // Counted anew each time: a job may have started while another question was open.
    const int running = m_isDecided ? 0 : m_destinations.RunningCount();
    m_asksAboutJobs = running > 0;
    if (!m_asksAboutJobs)
        return m_closing.Next();
    m_canJobsGoOn = m_jobs == Jobs::MayGoOn && Taskmill_JobsGoOn(Taskmill_Ending::AskedToKeep) &&
                    m_destinations.IsAnyJobKept();
    return JobsQuestion(running, m_canJobsGoOn);
}

void Taskmill_LeavingDialogue::Answer(const Taskmill_Answer &answer)
{
    if (!m_asksAboutJobs) {
        m_closing.Answer(answer);
        return;
    }
    m_isDecided = true;
    m_doJobsGoOn = m_canJobsGoOn && answer.IsNo();
    m_stays = !answer.IsYes() && !m_doJobsGoOn;
}
