// SPDX-License-Identifier: MIT
#include "ui/startlaterdialog.h"

#include <QCheckBox>
#include <QDateTimeEdit>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>

#include <limits>

using namespace Qt::Literals::StringLiterals;

Taskmill_StartLaterDialog::Taskmill_StartLaterDialog(QWidget *parent,
                                                     const Taskmill_StartConditions &conditions,
                                                     const NameOf &nameOf)
    : QDialog{parent}
    , m_conditions{conditions}
    , m_nameOf{nameOf}
    , m_notBefore{new QCheckBox{u"&Not before"_s}}
    , m_time{new QDateTimeEdit}
    , m_after{new QCheckBox{u"&After the end of job"_s}}
    , m_job{new QSpinBox}
    , m_jobName{new QLabel}
    , m_buttons{new QDialogButtonBox{QDialogButtonBox::Ok | QDialogButtonBox::Cancel}}
{
    setWindowTitle(u"Start Later"_s);
    constexpr int anHour = 3600;
    const Taskmill_JobTime time = conditions.NotBefore.isValid()
                                      ? conditions.NotBefore
                                      : Taskmill_JobTime{QDateTime::currentDateTime().addSecs(anHour)};
    m_time->setDisplayFormat(u"yyyy-MM-dd hh:mm"_s);
    m_time->setCalendarPopup(true);
    m_time->setDateTime({time.ClockTime().date(), time.ClockTime().time()});
    m_time->setAccessibleName(u"Not before"_s);
    m_job->setRange(1, std::numeric_limits<int>::max());
    m_job->setValue(conditions.AfterJobID);
    m_job->setAccessibleName(u"Number of the job to wait for"_s);
    m_notBefore->setChecked(conditions.NotBefore.isValid());
    m_after->setChecked(conditions.AfterJobID != 0);

    auto *layout = new QGridLayout{this};
    layout->addWidget(m_notBefore, 0, 0);
    layout->addWidget(m_time, 0, 1);
    layout->addWidget(m_after, 1, 0);
    layout->addWidget(m_job, 1, 1);
    layout->addWidget(m_jobName, 2, 1);
    layout->addWidget(m_buttons, 3, 0, 1, 2);
    connect(m_buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(m_buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(m_notBefore, &QCheckBox::toggled, this, &Taskmill_StartLaterDialog::Update);
    connect(m_after, &QCheckBox::toggled, this, &Taskmill_StartLaterDialog::Update);
    connect(m_job, &QSpinBox::valueChanged, this, &Taskmill_StartLaterDialog::Update);
    Update();
}

void Taskmill_StartLaterDialog::Update()
{
    m_time->setEnabled(m_notBefore->isChecked());
    m_job->setEnabled(m_after->isChecked());
    constexpr qsizetype longestName = 40;
    const QString name = m_nameOf(m_job->value());
    const bool isThere = !name.isEmpty();
    m_jobName->setText(isThere ? name.left(longestName) : u"No such job waits or runs."_s);
    m_jobName->setVisible(m_after->isChecked());
    m_buttons->button(QDialogButtonBox::Ok)->setEnabled(isThere || !m_after->isChecked());
}

Taskmill_StartConditions Taskmill_StartLaterDialog::Conditions() const
{
    Taskmill_StartConditions conditions = m_conditions;
    conditions.NotBefore =
        m_notBefore->isChecked() ? Taskmill_JobTime{m_time->dateTime()} : Taskmill_JobTime{};
    conditions.AfterJobID = m_after->isChecked() ? m_job->value() : 0;
    return conditions;
}
