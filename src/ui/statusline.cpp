// SPDX-License-Identifier: MIT
#include "ui/statusline.h"

#include "manager/timetext.h"
#include "ui/statusicon.h"
#include "widgets/elidedlabel.h"

#include <QEvent>
#include <QLabel>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int markSize = 16;
constexpr int gap = 10;

/// Of a job that ended today the time of day will do.
QString EndText(const Taskmill_JobCounts::Ended &job)
{
    const QDateTime time = job.time.ClockTime();
    const bool isToday = time.date() == QDate::currentDate();
    const QString status = Taskmill_JobStatusText(job.status);
    return u"Last ended: %1, %2, %3"_s.arg(
        job.name, job.result.isEmpty() ? status : status + u", "_s + job.result.toLower(),
        isToday ? time.toString(u"hh:mm"_s) : Taskmill_TimeText(job.time));
}
} // namespace

Taskmill_StatusLine::Taskmill_StatusLine(QWidget *parent)
    : QStatusBar{parent}
    , m_counts{new QLabel{this}}
    , m_mark{new QLabel{this}}
    , m_lastEnded{new KilnUtil_ElidedLabel{this}}
    , m_saved{new QLabel{this}}
{
    setAccessibleName(u"Status Line"_s);
    // The button row has one.
    setSizeGripEnabled(false);
    m_counts->setContentsMargins(gap, 0, gap, 0);
    m_saved->setContentsMargins(gap, 0, gap, 0);
    addWidget(m_counts);
    addWidget(m_mark);
    addWidget(m_lastEnded, 1);
    addPermanentWidget(m_saved);
    ShowCounts({});
}

void Taskmill_StatusLine::ShowCounts(const Taskmill_JobCounts &counts)
{
    m_counts->setText(Taskmill_CountsText(counts.Running(), counts.Waiting()));
    const bool hasLast = !counts.lastEnded.name.isEmpty();
    m_lastEnded->SetText(hasLast ? EndText(counts.lastEnded) : QString{});
    m_mark->setVisible(hasLast);
    if (m_lastStatus == counts.lastEnded.status && m_lastVerdict == counts.lastEnded.verdict)
        return;
    m_lastStatus = counts.lastEnded.status;
    m_lastVerdict = counts.lastEnded.verdict;
    DrawMark();
}

void Taskmill_StatusLine::ShowSaved(bool hasFile, bool hasUnsavedChanges)
{
    m_saved->setText(hasUnsavedChanges ? u"Changes not saved"_s : hasFile ? u"Saved"_s : QString{});
    m_saved->setToolTip(hasUnsavedChanges ? u"Ctrl+S saves the project"_s : QString{});
}

void Taskmill_StatusLine::changeEvent(QEvent *event)
{
    QStatusBar::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        DrawMark();
}

void Taskmill_StatusLine::DrawMark()
{
    m_mark->setPixmap(Taskmill_StatusIcon(m_lastStatus, m_lastVerdict)
                          .pixmap(QSize{markSize, markSize}, devicePixelRatioF()));
}
