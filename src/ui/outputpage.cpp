// SPDX-License-Identifier: MIT
#include "ui/outputpage.h"

#include "processes/process.h"
#include "ui/jobviewers.h"
#include "viewer/tailsource.h"
#include "viewer/textsearch.h"
#include "viewer/textview.h"

#include <QDir>
#include <QLocale>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int intervalMs = 500;
}

Taskmill_OutputPage::Taskmill_OutputPage(QWidget *parent)
    : Taskmill_OutputPage{parent, new KilnUtil_TailSource{[this] {
                              Refresh();
                          }}}
{
}

Taskmill_OutputPage::Taskmill_OutputPage(QWidget *parent, KilnUtil_TailSource *source)
    : Taskmill_TextPage{parent, std::unique_ptr<KilnUtil_TextSource>{source}, u"Output"_s,
                        u"Last lines of the output"_s}
    , m_source{source}
{
    View().SetFollowsEnd(true);
    m_timer.setInterval(intervalMs);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        m_source->LookAgain();
        Refresh();
    });
}

void Taskmill_OutputPage::ShowJob(const Taskmill_ShownJob &job)
{
    const Origin origin{.jobID = job.Record.JobID,
                        .file = job.Record.OutputFilePath(),
                        .process = job.Process,
                        .isFinished = job.Record.IsFinished(),
                        .isWaiting = job.Record.Status == Taskmill_JobStatus::Pending};
    const bool isAnother = !m_job || origin != m_origin || !m_job->Is(job.Record);
    // It may be known a little later than that the job has ended.
    const bool hasNewResult = !isAnother && m_job->Record.Result != job.Record.Result;
    m_job = job;
    if (isAnother) {
        m_origin = origin;
        Begin();
    } else if (!m_timer.isActive()) {
        m_source->LookAgain();
    }
    // Others may still write to the file of a job that has ended.
    if (!m_timer.isActive())
        m_timer.start();
    Refresh();
    if (hasNewResult)
        MarkLine();
}

void Taskmill_OutputPage::Rest()
{
    m_timer.stop();
}

void Taskmill_OutputPage::Begin()
{
    m_showsPrinted = m_origin.file.isEmpty() || m_origin.isWaiting;
    if (m_showsPrinted)
        ShowPrinted();
    else
        m_source->ShowFile(m_origin.file);
}

void Taskmill_OutputPage::ShowPrinted()
{
    m_showsPrinted = true;
    if (m_job->Process)
        m_source->ShowProcess(m_job->Process);
    else if (m_job->Record.IsFinished() && m_job->Printed)
        m_source->ShowText(m_job->Printed());
    else
        m_source->ShowNothing();
}

void Taskmill_OutputPage::Refresh()
{
    if (!m_job)
        return;
    // A program that could not begin its work says why without a file.
    if (m_source->IsMissing() && !m_showsPrinted && m_job->Record.IsFinished())
        ShowPrinted();
    const KilnUtil_TextSource::Change change = m_source->Refresh();
    if (change == KilnUtil_TextSource::Change::Replaced)
        View().SetFollowsEnd(true);
    View().SourceChanged(change);
    if (change != KilnUtil_TextSource::Change::None)
        MarkLine();
    UpdateCaption();
}

void Taskmill_OutputPage::MarkLine()
{
    const Taskmill_JobResult &result = m_job->Record.Result;
    const bool hasLine =
        result.Verdict == Taskmill_Verdict::Error || result.Verdict == Taskmill_Verdict::NotConverged;
    if (!hasLine || result.Message.isEmpty() || m_source->End() == m_source->Begin())
        return;
    KilnUtil_TextSearch search{*m_source, result.Message, Qt::CaseSensitive,
                               KilnUtil_TextSearch::Direction::Backward, m_source->End()};
    auto found = KilnUtil_TextSearch::Result::Searching;
    while (found == KilnUtil_TextSearch::Result::Searching)
        found = search.Step();
    if (found != KilnUtil_TextSearch::Result::Found)
        return;
    View().SetMark(search.FoundBegin(), search.FoundEnd());
    View().ScrollToMarkSlot();
}

void Taskmill_OutputPage::UpdateCaption()
{
    const QLocale locale;
    const qint64 shown = m_source->End() - m_source->Begin();
    if (m_origin.isWaiting) {
        SetCaption({u"The job has not been started."_s}, false);
        return;
    }
    QStringList parts{m_showsPrinted ? u"What the job printed"_s : QDir::toNativeSeparators(m_origin.file)};
    if (m_source->IsReading())
        parts += u"reading..."_s;
    else if (m_source->IsMissing())
        parts += u"not there"_s;
    else if (shown == 0)
        parts += u"empty"_s;
    else if (shown < m_source->WholeSize())
        parts += u"the last %1 of %2"_s.arg(locale.formattedDataSize(shown),
                                            locale.formattedDataSize(m_source->WholeSize()));
    else
        parts += locale.formattedDataSize(shown);
    if (!m_source->StateText().isEmpty())
        parts += m_source->StateText();
    if (const QString later = Taskmill_TextOfLaterOutput(m_job->Record, m_source->Changed());
        !m_showsPrinted && !later.isEmpty())
        parts += later;
    SetCaption(parts, shown > 0 && !m_source->IsReading());
}
