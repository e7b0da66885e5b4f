// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/startconditions.h"

#include <QDialog>

#include <functional>

class QCheckBox;
class QDateTimeEdit;
class QLabel;
class QSpinBox;

/// Asks when a waiting job may start: not before a time, or after another job.
class Taskmill_StartLaterDialog final : public QDialog
{
    Q_OBJECT

public:
    /// The name of the job with a number; empty when it neither waits nor runs.
    using NameOf = std::function<QString(int jobID)>;

    Taskmill_StartLaterDialog(QWidget *parent, const Taskmill_StartConditions &conditions,
                              const NameOf &nameOf);

    /// What was chosen; whether the job is held besides is as it was.
    [[nodiscard]] Taskmill_StartConditions Conditions() const;

private:
    void Update();

    Taskmill_StartConditions m_conditions;
    NameOf m_nameOf;
    QCheckBox *m_notBefore;
    QDateTimeEdit *m_time;
    QCheckBox *m_after;
    QSpinBox *m_job;
    QLabel *m_jobName;
    class QDialogButtonBox *m_buttons;
};
