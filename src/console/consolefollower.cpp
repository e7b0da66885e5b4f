// SPDX-License-Identifier: MIT
#include "console/consolefollower.h"

#include "console/consoleactions.h"
#include "console/consoleconversation.h"
#include "console/consoleterminal.h"
#include "jobs/job.h"
#include "manager/manager.h"

#include <QEventLoop>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int roundMs = 200;

void WaitARound()
{
    QEventLoop loop;
    QTimer::singleShot(roundMs, &loop, &QEventLoop::quit);
    loop.exec();
}
} // namespace

Taskmill_ConsoleFollower::Taskmill_ConsoleFollower(Taskmill_ConsoleConversation &conversation, int jobID)
    : m_conversation{conversation}
    , m_jobID{jobID}
{
}

QString Taskmill_ConsoleFollower::Begin()
{
    QString problem = u"There is no job %1."_s.arg(m_jobID);
    m_conversation.OnMainThread([&](Taskmill_ConsoleActions &actions) {
        Taskmill_QueueOwner *owner = actions.OwnerOfJob(m_jobID);
        const Taskmill_Job *job = owner ? owner->Jobs().FindByJobID(m_jobID) : nullptr;
        if (job && job->Process()) {
            problem.clear();
            m_output.reset(new Taskmill_OutputFollower{*job, Taskmill_FollowedFile::MostAtFirst});
            m_file = std::make_unique<Taskmill_FollowedFile>(job->Record());
        } else if (job) {
            problem = u"Job %1 does not run yet."_s.arg(m_jobID);
        } else if (actions.FindRecord(m_jobID)) {
            problem = u"Job %1 has ended; show job %1 shows its output."_s.arg(m_jobID);
        }
    });
    return problem;
}

bool Taskmill_ConsoleFollower::PrintWhatFollows()
{
    QByteArray bytes;
    m_conversation.OnMainThread([&](Taskmill_ConsoleActions &) {
        // In this order: what was written last is there when it has ended.
        m_hasEnded = m_output->HasEnded();
        bytes = m_output->Take();
    });
    if (m_file->Find())
        m_conversation.Print((m_endsLine ? QString{} : u"\n"_s) +
                             u"<Taskmill> %1:\n\n"_s.arg(m_file->Path()));
    // What the program writes into its output file is what counts.
    if (m_file->IsFound())
        bytes = m_file->Take();
    const QString text = m_decoder.decode(bytes);
    if (!text.isEmpty())
        m_endsLine = text.endsWith(u'\n');
    // Printing an empty text, too, writes what other threads have posted meanwhile.
    m_conversation.Print(text);
    return !bytes.isEmpty();
}

void Taskmill_ConsoleFollower::Run()
{
    const QString problem = Begin();
    if (!m_output) {
        m_conversation.Print(u"\n<Taskmill> "_s + problem + u"\n\n"_s);
        return;
    }
    Taskmill_ConsoleTerminal &terminal = m_conversation.Terminal();
    const QString key = terminal.BreakOffKey();
    m_conversation.Print(u"\n<Taskmill> Following job %1%2.\n\n"_s.arg(
        QString::number(m_jobID), key.isEmpty() ? key : u"; %1 ends this"_s.arg(key)));
    while (!m_conversation.IsEnding() && !terminal.IsBrokenOff()) {
        if (PrintWhatFollows())
            continue;
        if (m_hasEnded)
            break;
        WaitARound();
    }
    if (m_hasEnded)
        PrintTheEnd();
}

void Taskmill_ConsoleFollower::PrintTheEnd()
{
    m_conversation.PrintFromMainThread([this](Taskmill_ConsoleActions &actions) {
        const std::optional<Taskmill_JobRecord> job = actions.FindRecord(m_jobID);
        const QString status = job ? u": "_s + Taskmill_JobStatusText(job->Status).toLower() : QString{};
        return (m_endsLine ? u"\n"_s : u"\n\n"_s) +
               u"<Taskmill> Job %1 has ended%2.\n\n"_s.arg(QString::number(m_jobID), status);
    });
}
