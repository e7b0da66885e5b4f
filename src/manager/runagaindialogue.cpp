// SPDX-License-Identifier: MIT
#include "manager/runagaindialogue.h"

#include "kilnutil/error.h"
#include "kilnutil/filesys.h"
#include "manager/jobsubmitter.h"
#include "manager/namelist.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {
const QString title = u"Run Again"_s;
const QString noInputFile = u"The input file is no longer there."_s;
const QString noJobType = u"The job type is no longer there."_s;

/// A command line in a box, which is not to fill the screen.
QString Shortened(const QString &command)
{
    constexpr qsizetype longest = 400;
    return command.size() > longest ? command.first(longest) + u" ..."_s : command;
}

/// A job type that gives the command line that the job had, which is all that is known of the type of a
/// stored job.
Taskmill_JobType TypeAsItWas(Taskmill_JobRecord job)
{
    const QString command = job.CommandLine();
    job.RecordedCommandLine.clear();
    Taskmill_JobType type = job.JobType;
    if (job.CommandLine() == command)
        return type;
    const QString program = KilnUtil_FileSys::ConvertFilename(type.ExecutablePath, true, false);
    type.GenericCommandLine =
        command.startsWith(program) ? u"@EXEFILE"_s + command.sliced(program.size()) : command;
    return type;
}

/// What the program writes over; empty for nothing that is known before.
QString OutputOf(const Taskmill_JobRecord &job)
{
    const QString file = job.OutputFile.isEmpty() ? job.DerivedOutputFile() : job.OutputFilePath();
    return file.isEmpty() ? job.StandardOutputFile : QDir::cleanPath(file);
}

/// "one" with the name in it, or "several" with the number.
QString Of(const QStringList &names, const QString &one, const QString &several)
{
    return names.size() == 1 ? one.arg(names.first()) : several.arg(names.size());
}
} // namespace

Taskmill_RunAgainDialogue::Taskmill_RunAgainDialogue(Taskmill_JobSubmitter &submitter,
                                                     Taskmill_FinishedSelection jobs)
    : m_submitter{submitter}
    , m_jobs{std::move(jobs)}
{
    for (qsizetype place = 0; place < m_jobs.Count(); ++place) {
        if (const Taskmill_JobRecord *job = m_jobs.At(place))
            Prepare(place, *job);
    }
}

void Taskmill_RunAgainDialogue::Prepare(qsizetype place, const Taskmill_JobRecord &job)
{
    const Taskmill_JobType today = m_submitter.JobTypeOfToday(job);
    if (today.IsEmpty()) {
        m_refused[noJobType].append(job.Name);
        return;
    }
    if (!job.InputFilePath.isEmpty() && !QFileInfo::exists(job.InputFilePath)) {
        m_refused[noInputFile].append(job.Name);
        return;
    }
    m_runs.append({.place = place,
                   .job = job,
                   .asNow = Taskmill_JobSubmitter::SameAgain(job, today),
                   .asThen = Taskmill_JobSubmitter::SameAgain(job, TypeAsItWas(job))});
}

void Taskmill_RunAgainDialogue::FindReplaced()
{
    QSet<QString> outputs;
    for (Run &run : m_runs) {
        const QString output = OutputOf(run.Job());
        run.replaces = !output.isEmpty() && (QFileInfo::exists(output) || outputs.contains(output));
        outputs.insert(output);
    }
}

std::optional<Taskmill_Question> Taskmill_RunAgainDialogue::JobTypesQuestion() const
{
    QStringList names;
    for (const Run &run : m_runs) {
        if (run.IsChanged())
            names.append(run.job.Name);
    }
    if (names.isEmpty())
        return std::nullopt;
    const Run &first = *std::ranges::find_if(m_runs, &Run::IsChanged);
    const QString what = Of(names, u"The job type of \"%1\" has been changed since the job ran."_s,
                            u"The job types of %1 of the jobs have been changed since these ran."_s);
    const QString list = names.size() == 1 ? QString{} : u"\n\n"_s + Taskmill_NameList(names);
    return Taskmill_Question{
        .title = title,
        .text = what + list,
        .detail = u"%1then: %2\nnow: %3"_s.arg(names.size() == 1 ? QString{} : first.job.Name + u", "_s,
                                               Shortened(first.job.CommandLine()),
                                               Shortened(first.asNow.CommandLine())),
        .yes = u"As It Is &Now"_s,
        .no = u"As It &Was"_s,
        .consoleText = what + u"  Run with the job type as it is now (yes), or as it was (no)?"_s,
        .kind = Taskmill_Question::Kind::YesNoCancel,
        .defaultAnswer = KilnUtil_UserPrompt::WarnAnswer::Cancel,
        .isWarning = true};
}

std::optional<Taskmill_Question> Taskmill_RunAgainDialogue::OutputsQuestion() const
{
    QStringList names;
    QString file;
    for (const Run &run : m_runs) {
        if (!run.replaces)
            continue;
        names.append(run.job.Name);
        file = QDir::toNativeSeparators(OutputOf(run.Job()));
    }
    if (names.isEmpty())
        return std::nullopt;
    const bool isOne = names.size() == 1;
    const QString what =
        Of(names, u"The output of \"%1\" will be replaced."_s, u"The outputs of %1 jobs will be replaced."_s);
    const auto others = m_runs.size() - names.size();
    return Taskmill_Question{
        .title = title,
        .text = what,
        .detail = isOne ? file : Taskmill_NameList(names),
        .yes = u"&Replace"_s,
        .no = others > 0 ? u"Run Only the &Others"_s : u"Do &Not Run"_s,
        .consoleText =
            what + (others > 0 ? u"  Replace (yes), or run only the others (no)?"_s : u"  Replace?"_s),
        .kind = others > 0 ? Taskmill_Question::Kind::YesNoCancel : Taskmill_Question::Kind::YesNo,
        .defaultAnswer =
            others > 0 ? KilnUtil_UserPrompt::WarnAnswer::Cancel : KilnUtil_UserPrompt::WarnAnswer::No,
        .isWarning = true};
}

std::optional<Taskmill_Question> Taskmill_RunAgainDialogue::Next()
{
    if (m_step == Step::AskAboutJobTypes) {
        if (auto question = JobTypesQuestion())
            return question;
        m_step = Step::AskAboutOutputs;
    }
    if (m_step == Step::AskAboutOutputs) {
        FindReplaced();
        if (auto question = OutputsQuestion())
            return question;
        m_step = Step::Submit;
    }
    if (m_step == Step::Submit) {
        m_step = Step::End;
        Submit();
    }
    return std::nullopt;
}

void Taskmill_RunAgainDialogue::Answer(const Taskmill_Answer &answer)
{
    if (!answer.IsYes() && !answer.IsNo()) {
        m_step = Step::End;
    } else if (m_step == Step::AskAboutJobTypes) {
        for (Run &run : m_runs)
            run.isThen = answer.IsNo() && run.IsChanged();
        m_step = Step::AskAboutOutputs;
    } else {
        if (answer.IsNo())
            m_runs.removeIf([](const Run &run) { return run.replaces; });
        m_step = Step::Submit;
    }
}

bool Taskmill_RunAgainDialogue::IsStillThere(const Run &run)
{
    const Taskmill_JobRecord *job = m_jobs.At(run.place);
    return job && job->Name == run.job.Name && job->Submitted == run.job.Submitted;
}

void Taskmill_RunAgainDialogue::Submit()
{
    m_runs.removeIf([this](const Run &run) { return !IsStillThere(run); });
    for (const Run &run : std::as_const(m_runs)) {
        QString reason;
        if (const auto jobID = m_submitter.SubmitAgain(run.Job(), reason))
            m_jobIDs.append(*jobID);
        else
            m_refused[reason].append(run.job.Name);
    }
    for (const auto &[reason, names] : m_refused.asKeyValueRange())
        KilnUtil_Error::ReportError(title, reason + u"\n\nNot run again:\n"_s + Taskmill_NameList(names));
}
