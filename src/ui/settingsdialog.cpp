// SPDX-License-Identifier: MIT
#include "ui/settingsdialog.h"

#include "jobs/jobneeds.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QSpinBox>
#include <QThread>
#include <QTimeEdit>

#include <algorithm>
#include <limits>

using namespace Qt::Literals::StringLiterals;

namespace {
QSpinBox *NumberBox(const QString &name, const QString &toolTip)
{
    auto *box = new QSpinBox;
    box->setSpecialValueText(u"any number"_s);
    box->setGroupSeparatorShown(false);
    box->setAccessibleName(name);
    box->setToolTip(u"<qt>"_s + toolTip + u"</qt>"_s);
    box->setAccessibleDescription(toolTip);
    return box;
}
} // namespace

Taskmill_SettingsDialog::Taskmill_SettingsDialog(QWidget *parent)
    : QDialog{parent}
    , m_budget{new QGroupBox{u"Start jobs only as long as the computer has &room for them"_s}}
    , m_cores{NumberBox(u"Cores"_s, u"What all running jobs may take together."_s)}
    , m_memory{NumberBox(u"Memory"_s,
                         u"What all running jobs may take together, in megabytes of 2^20 bytes."_s)}
    , m_quiet{new QGroupBox{u"&Quiet hours: the queues start no jobs"_s}}
    , m_quietFrom{new QTimeEdit}
    , m_quietTo{new QTimeEdit}
    , m_lowPriority{new QCheckBox{u"Jobs that start from now on have &low priority"_s}}
    , m_loginStart{new QCheckBox{u"&Start at log-in"_s}}
{
    setWindowModality(Qt::WindowModal);
    setWindowTitle(u"Settings"_s);
    if (parent)
        setWindowIcon(parent->windowIcon());
    auto *layout = new QVBoxLayout{this};
    AddBudget(*layout);
    AddScheduling(*layout);
    m_loginStart->setToolTip(
        u"<qt>The desktop then starts Taskmill when you log in: put away, and with the project "
        u"that was open last.</qt>"_s);
    layout->addWidget(m_loginStart);
    layout->addStretch();
    auto *buttons = new QDialogButtonBox{QDialogButtonBox::Ok | QDialogButtonBox::Cancel};
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
}

void Taskmill_SettingsDialog::AddBudget(QBoxLayout &layout)
{
    m_cores->setRange(0, Taskmill_MostCores);
    m_memory->setRange(0, std::numeric_limits<int>::max());
    m_memory->setSingleStep(1024);
    m_memory->setSuffix(u" MB"_s);
    auto *explanation = new QLabel{u"Jobs of both queues then start as soon as what they need is free, up to "
                                   u"the limits of their queues; "
                                   "smaller ones overtake a larger one for at most ten minutes. What a job "
                                   "needs is read from its input. "
                                   "Jobs without a queue start at once all the same, and count."_s};
    explanation->setWordWrap(true);
    m_budget->setCheckable(true);
    m_budget->setAccessibleDescription(explanation->text());
    auto *form = new QFormLayout{m_budget};
    form->addRow(explanation);
    form->addRow(u"&Cores:"_s, m_cores);
    form->addRow(u"&Memory:"_s, m_memory);
    layout.addWidget(m_budget);
}

void Taskmill_SettingsDialog::Load(const Taskmill_BudgetLimits &budget)
{
    m_budget->setChecked(budget.IsOn());
    // What somebody who turns it on most likely wants.
    m_cores->setValue(budget.IsOn() ? budget.Cores : std::max(QThread::idealThreadCount(), 1));
    m_memory->setValue(static_cast<int>(std::min<qint64>(budget.MemoryMB, m_memory->maximum())));
}

Taskmill_BudgetLimits Taskmill_SettingsDialog::Budget() const
{
    if (!m_budget->isChecked())
        return {};
    return {.Cores = m_cores->value(), .MemoryMB = m_memory->value()};
}

void Taskmill_SettingsDialog::AddScheduling(QBoxLayout &layout)
{
    m_quiet->setCheckable(true);
    m_quietFrom->setDisplayFormat(u"hh:mm"_s);
    m_quietTo->setDisplayFormat(u"hh:mm"_s);
    auto *form = new QFormLayout{m_quiet};
    form->addRow(u"&From:"_s, m_quietFrom);
    form->addRow(u"&To:"_s, m_quietTo);
    layout.addWidget(m_quiet);
    m_lowPriority->setToolTip(
        u"<qt>They give way to what else the computer does, and are as quick when it does nothing else.</qt>"_s);
    layout.addWidget(m_lowPriority);
}

void Taskmill_SettingsDialog::LoadScheduling(const Taskmill_QuietHours &quietHours, bool hasLowPriority)
{
    // The night, until somebody chooses other hours.
    constexpr Taskmill_QuietHours night{.From = 22 * 60, .To = 6 * 60};
    const Taskmill_QuietHours shown = quietHours.AreAny() ? quietHours : night;
    const auto timeOf = [](int minute) {
        return QTime{minute / 60, minute % 60};
    };
    m_quiet->setChecked(quietHours.AreAny());
    m_quietFrom->setTime(timeOf(shown.From));
    m_quietTo->setTime(timeOf(shown.To));
    m_lowPriority->setChecked(hasLowPriority);
}

Taskmill_QuietHours Taskmill_SettingsDialog::QuietHours() const
{
    const auto minuteOf = [](QTime time) {
        return time.hour() * 60 + time.minute();
    };
    if (!m_quiet->isChecked())
        return {};
    return {.From = minuteOf(m_quietFrom->time()), .To = minuteOf(m_quietTo->time())};
}

bool Taskmill_SettingsDialog::HasLowPriority() const
{
    return m_lowPriority->isChecked();
}

void Taskmill_SettingsDialog::LoadLoginStart(bool isStarted)
{
    m_loginStart->setChecked(isStarted);
}

bool Taskmill_SettingsDialog::StartsAtLogin() const
{
    return m_loginStart->isChecked();
}
