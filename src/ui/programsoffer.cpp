// SPDX-License-Identifier: MIT
#include "ui/programsoffer.h"

#include "jobs/jobtypelist.h"
#include "jobs/presets.h"
#include "kilnutil/error.h"
#include "kilnutil/userprompt.h"

#include <QDir>

using namespace Qt::Literals::StringLiterals;

Taskmill_ProgramsOffer::Taskmill_ProgramsOffer(KilnUtil_TableWidget &table, Taskmill_JobTypeList &jobTypes)
    : Taskmill_TableOffer{table, {}}
    , m_jobTypes{jobTypes}
{
    hide();
    connect(this, &QPushButton::clicked, this, &Taskmill_ProgramsOffer::AddJobTypes);
    connect(&jobTypes, &Taskmill_JobTypeList::JobTypesChangedSignal, this,
            &Taskmill_ProgramsOffer::UpdateSlot);
}

void Taskmill_ProgramsOffer::UpdateSlot()
{
    const bool isWanted = IsTableEmpty() && m_jobTypes.IsStoreOpen() && m_jobTypes.GetAll().isEmpty();
    const QList<Taskmill_FoundPreset> found =
        isWanted ? Taskmill_FindPresets({}) : QList<Taskmill_FoundPreset>{};
    QStringList names;
    QStringList lines;
    for (const auto &[jobType, isTried] : found) {
        names += jobType.Name;
        lines += u"%1: %2%3"_s.arg(jobType.Name, QDir::toNativeSeparators(jobType.ExecutablePath),
                                   isTried ? QString{} : u" (untried)"_s);
    }
    if (!names.isEmpty())
        SetText((names.size() == 1 ? u"Add the job type "_s : u"Add the job types "_s) +
                names.join(u", "_s).replace(u'&', u"&&"_s));
    setToolTip(lines.join(u'\n'));
    setVisible(!names.isEmpty());
}

void Taskmill_ProgramsOffer::AddJobTypes()
{
    // The list is filled anew with each, and this is told.
    const QList<Taskmill_FoundPreset> found = Taskmill_FindPresets(m_jobTypes.GetAll());
    QStringList reasons;
    for (const Taskmill_FoundPreset &preset : found)
        reasons += m_jobTypes.TryToAdd(preset.JobType);
    reasons.removeAll(QString{});
    if (!reasons.isEmpty())
        KilnUtil_Error::UserPrompt().ShowInformation(u"Add Job Types"_s, reasons.first());
}
