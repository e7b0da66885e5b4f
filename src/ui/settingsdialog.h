// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/startdecision.h"

#include <QDialog>

class QBoxLayout;
class QGroupBox;
class QSpinBox;

/// The settings of the manager that belong to this computer, not to a project. The caller reads them when
/// the dialog was accepted.
class Taskmill_SettingsDialog final : public QDialog
{
    Q_OBJECT

public:
    explicit Taskmill_SettingsDialog(QWidget *parent);

    void Load(const Taskmill_BudgetLimits &budget);
    [[nodiscard]] Taskmill_BudgetLimits Budget() const;

private:
    void AddBudget(QBoxLayout &layout);

    QGroupBox *m_budget;
    QSpinBox *m_cores;
    QSpinBox *m_memory; ///< in units of 2^20 bytes
};
