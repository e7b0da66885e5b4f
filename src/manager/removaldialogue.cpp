// SPDX-License-Identifier: MIT
#include "manager/removaldialogue.h"

#include "manager/namelist.h"
#include "manager/queueowner.h"

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
/// Nothing when there are no jobs or one is unknown.
std::optional<Taskmill_Question> RemovalQuestion(const Taskmill_QueueOwner &owner, const QList<int> &jobIDs)
{
    QStringList names;
    if (jobIDs.isEmpty() || !owner.Jobs().NamesOf(jobIDs, names))
        return std::nullopt;
    return Taskmill_Question{
        .title = u"Remove Selected Jobs from "_s + owner.ListName(),
        .text = u"Are you sure you want to remove the following %1 selected jobs from the %2?\n\n"_s.arg(
                    QString::number(names.size()), owner.ListName()) +
                Taskmill_NameList(names)};
}

Taskmill_Question RunningJobsWarning()
{
    return {
        .title = u"Removal of Selected Running Jobs"_s,
        .text =
            u"At least one Job selected for removal is currently running.  Removal of a Job that is running "
            "requires that it be Killed.\n\nRemove selected jobs that are currently running?"_s,
        .kind = Taskmill_Question::Kind::YesNoCancel,
        .isWarning = true};
}
} // namespace

Taskmill_RemovalDialogue::Taskmill_RemovalDialogue(Taskmill_QueueOwner &owner, QList<int> jobIDs, Begin begin)
    : m_owner{owner}
    , m_jobIDs{std::move(jobIDs)}
    , m_step{begin == Begin::AskWhether ? Step::AskWhether : Step::Confirmed}
{
}

std::optional<Taskmill_Question> Taskmill_RemovalDialogue::Next()
{
    if (m_step == Step::AskWhether) {
        std::optional<Taskmill_Question> question = RemovalQuestion(m_owner, m_jobIDs);
        if (!question)
            m_step = Step::Declined;
        return question;
    }
    // Not sooner: a waiting job may have started while the first question stood.
    if (m_step == Step::Confirmed) {
        m_waiting = m_owner.WithoutRunning(m_jobIDs);
        m_step = m_waiting.size() < m_jobIDs.size() ? Step::WarnOfRunning : Step::Remove;
    }
    if (m_step == Step::WarnOfRunning)
        return RunningJobsWarning();
    if (m_step == Step::Remove)
        Remove();
    return std::nullopt;
}

void Taskmill_RemovalDialogue::Answer(const Taskmill_Answer &answer)
{
    if (m_step == Step::AskWhether) {
        m_step = answer.IsYes() ? Step::Confirmed : Step::Declined;
        return;
    }
    // Nor does one go that has begun to run while the warning stood.
    if (answer.IsNo())
        m_jobIDs = m_owner.WithoutRunning(m_waiting);
    m_step = answer.IsYes() || answer.IsNo() ? Step::Remove : Step::Declined;
}

void Taskmill_RemovalDialogue::Remove()
{
    for (const int jobID : std::as_const(m_jobIDs)) {
        if (m_owner.Jobs().FindByJobID(jobID))
            m_removed.append(jobID);
    }
    m_owner.RemoveNow(m_removed);
    m_step = Step::Removed;
}
