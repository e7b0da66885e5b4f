// SPDX-License-Identifier: MIT
#pragma once

#include "ui/jobsummary.h"

#include <QStatusBar>

class KilnUtil_ElidedLabel;
class QLabel;

/// The line at the bottom of the window: how many jobs run and wait, the one that ended last, and whether the
/// project is saved.
class Taskmill_StatusLine final : public QStatusBar
{
    Q_OBJECT

public:
    explicit Taskmill_StatusLine(QWidget *parent);

    void ShowCounts(const Taskmill_JobCounts &counts);
    void ShowSaved(bool hasFile, bool hasUnsavedChanges);

protected:
    void changeEvent(QEvent *event) override;

private:
    void DrawMark();

    QLabel *m_counts;
    QLabel *m_mark; ///< of the status of the job that ended last
    KilnUtil_ElidedLabel *m_lastEnded;
    QLabel *m_saved;
    Taskmill_JobStatus m_lastStatus = Taskmill_JobStatus::Unknown;
    Taskmill_Verdict m_lastVerdict = Taskmill_Verdict::None;
};
