// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/startconditions.h"
#include "jobs/startdecision.h"

#include <QDialog>

class QBoxLayout;
class QCheckBox;
class QGroupBox;
class QSpinBox;
class QTimeEdit;

/// The settings of the manager that belong to this computer, not to a project. The caller reads them when
/// the dialog was accepted.
class Taskmill_SettingsDialog final : public QDialog
{
    Q_OBJECT

public:
    explicit Taskmill_SettingsDialog(QWidget *parent);

    void Load(const Taskmill_BudgetLimits &budget);
    [[nodiscard]] Taskmill_BudgetLimits Budget() const;

    void LoadScheduling(const Taskmill_QuietHours &quietHours, bool hasLowPriority);
    [[nodiscard]] Taskmill_QuietHours QuietHours() const;
    [[nodiscard]] bool HasLowPriority() const;

    void LoadLoginStart(bool isStarted);
    [[nodiscard]] bool StartsAtLogin() const;

private:
    void AddBudget(QBoxLayout &layout);
    void AddScheduling(QBoxLayout &layout);

    QGroupBox *m_budget;
    QSpinBox *m_cores;
    QSpinBox *m_memory; ///< in units of 2^20 bytes
    QGroupBox *m_quiet;
    QTimeEdit *m_quietFrom;
    QTimeEdit *m_quietTo;
    QCheckBox *m_lowPriority;
    QCheckBox *m_loginStart;
};
