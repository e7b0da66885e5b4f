// SPDX-License-Identifier: MIT
#include "ui/openfileschoices.h"

#include "jobs/jobstore.h"
#include "manager/submitdialog.h"
#include "ui/openfilescontrols.h"
#include "ui/openfilessettings.h"
#include "widgets/widgetutil.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>

using namespace Qt::Literals::StringLiterals;
using namespace Taskmill_OpenFilesControls;

namespace {
constexpr int charactersOfAChoice = 18;

const QString destinationKey = u"Destination Queue"_s;
const QString openAsKey = u"Open as"_s;

void SelectValue(QComboBox &box, int value)
{
    if (const int index = box.findData(value); index >= 0)
        box.setCurrentIndex(index);
}
} // namespace

Taskmill_OpenFilesChoices::Taskmill_OpenFilesChoices(QWidget *parent)
    : QWidget{parent}
    , m_openAs{new QComboBox}
    , m_destQueue{new QComboBox}
{
    m_destQueue->addItem(u"Auto"_s, static_cast<int>(Taskmill_Destination::JobTypeDefault));
    for (const Taskmill_QueueNames &queue : Taskmill_Queues)
        m_destQueue->addItem(queue.Tab, static_cast<int>(queue.Destination));
    auto *row = new QHBoxLayout{this};
    row->setContentsMargins({});
    const auto add = [row](const QString &text, QComboBox *box) {
        // The name of a job type may be as long as it likes.
        box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
        box->setMinimumContentsLength(charactersOfAChoice);
        row->addWidget(MakeLabel(text, box));
        row->addWidget(box);
    };
    add(u"Submit as:  "_s, m_openAs);
    row->addSpacing(2 * fontMetrics().height());
    add(u"Target:  "_s, m_destQueue);
    row->addStretch(1);
    KilnUtil_WidgetUtil::MatchMinimumWidths({m_openAs, m_destQueue});
    SetFocusKey(*m_openAs, u"Alt+J"_s);
    SetFocusKey(*m_destQueue, u"Alt+T"_s);
    connect(m_openAs, &QComboBox::activated, this, &Taskmill_OpenFilesChoices::OpenAsSlot);
    connect(m_destQueue, &QComboBox::activated, this, &Taskmill_OpenFilesChoices::DestQueueSlot);
}

void Taskmill_OpenFilesChoices::Fill(Taskmill_JobStore &store)
{
    const QString byExtension = u"Auto"_s;
    const QList<Taskmill_JobType> jobTypes = store.GetJobTypes();
    const QStringList names = Taskmill_DistinctNames(jobTypes, byExtension);
    m_openAs->clear();
    m_openAs->addItem(byExtension, -1);
    for (qsizetype i = 0; i < jobTypes.size(); ++i)
        m_openAs->addItem(names[i], jobTypes[i].JobTypeID);
}

void Taskmill_OpenFilesChoices::Preset(const Taskmill_SubmitChoice &preset, bool retain)
{
    if (preset.JobTypeID >= 0)
        SelectValue(*m_openAs, preset.JobTypeID);
    else if (!retain)
        m_openAs->setCurrentIndex(0);
    if (preset.Destination != Taskmill_Destination::JobTypeDefault)
        SelectValue(*m_destQueue, static_cast<int>(preset.Destination));
    else if (!retain)
        m_destQueue->setCurrentIndex(0);
}

void Taskmill_OpenFilesChoices::Load()
{
    const int destination =
        m_destQueue->findData(Taskmill_OpenFilesSettings::Number(destinationKey).value_or(0));
    m_destQueue->setCurrentIndex(qMax(destination, 0));
    Taskmill_OpenFilesSettings::LoadIndex(*m_openAs, openAsKey, 0);
}

void Taskmill_OpenFilesChoices::Store() const
{
    Taskmill_OpenFilesSettings::StoreNumber(destinationKey, m_destQueue->currentData().toInt());
    Taskmill_OpenFilesSettings::StoreIndex(*m_openAs, openAsKey);
}

void Taskmill_OpenFilesChoices::SetDefaults()
{
    m_destQueue->setCurrentIndex(0);
    m_openAs->setCurrentIndex(0);
}

int Taskmill_OpenFilesChoices::JobTypeID() const
{
    return m_openAs->currentData().toInt();
}

Taskmill_Destination Taskmill_OpenFilesChoices::Destination() const
{
    return static_cast<Taskmill_Destination>(m_destQueue->currentData().toInt());
}

QString Taskmill_OpenFilesChoices::Explanation() const
{
    // "Auto" is always there.
    if (m_openAs->count() == 1)
        return u"There is no job type yet, so no file can become a job: add one on the tab \"Job Types\"."_s;
    const QString type = JobTypeID() < 0
                             ? u"The extension of each file decides its job type."_s
                             : u"All files become jobs of the type \"%1\"."_s.arg(m_openAs->currentText());
    const QString queue = Destination() == Taskmill_Destination::JobTypeDefault
                              ? u"Each job goes to the default queue of its type."_s
                              : u"All jobs go to \"%1\"."_s.arg(m_destQueue->currentText());
    return type + u' ' + queue;
}

void Taskmill_OpenFilesChoices::OpenAsSlot(int)
{
    Q_EMIT JobTypeSignal(JobTypeID());
    Q_EMIT ChangedSignal();
}

void Taskmill_OpenFilesChoices::DestQueueSlot(int)
{
    Q_EMIT ChangedSignal();
}
