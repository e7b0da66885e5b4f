// SPDX-License-Identifier: MIT
#include "jobs/jobtypelist.h"

#include "jobs/defaultjobtypes.h"
#include "jobs/jobstore.h"
#include "kilnutil/error.h"
#include "kilnutil/logging.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {
const QString noStore = u"No project is open."_s;
const QString storeRefuses = u"The project does not take it."_s;
} // namespace

Taskmill_JobTypeList::Taskmill_JobTypeList(Taskmill_JobStore &store, QObject *parent)
    : QObject(parent)
    , m_store(store)
{
}

void Taskmill_JobTypeList::Add(Taskmill_JobType &jobType)
{
    m_jobTypes.append(jobType);
    if (m_store.IsOpen())
        m_store.InsertJobType(jobType);
    // The appended copy has no key; a later removal would delete the row of another type.
    ReadBack();
    Q_EMIT JobTypesChangedSignal();
}

QString Taskmill_JobTypeList::TryToAdd(Taskmill_JobType jobType)
{
    if (!IsStoreOpen())
        return noStore;
    Add(jobType);
    return CompareWithStored(jobType);
}

QString Taskmill_JobTypeList::TryToUpdate(const Taskmill_JobType &jobType)
{
    if (!IsStoreOpen())
        return noStore;
    QString reason;
    if (m_store.UpdateJobType(jobType, reason))
        return CompareWithStored(jobType);
    return reason.isEmpty() ? storeRefuses : reason;
}

/// Whether the record was written as it is. The queue is: its name is stored as a number.
QString Taskmill_JobTypeList::CompareWithStored(const Taskmill_JobType &jobType)
{
    Taskmill_JobType stored = Taskmill_JobTypeWithID(m_store.GetJobTypes(), jobType.JobTypeID);
    if (stored.DefaultQueueIndex() == jobType.DefaultQueueIndex())
        stored.DefaultQueue = jobType.DefaultQueue;
    return stored == jobType ? QString{} : storeRefuses;
}

bool Taskmill_JobTypeList::IsStoreOpen() const
{
    return m_store.IsOpen();
}

void Taskmill_JobTypeList::Remove(const Taskmill_JobType &jobType)
{
    QStringList kept;
    for (qsizetype index = m_jobTypes.size() - 1; index >= 0; --index) {
        if (m_jobTypes[index] == jobType)
            DeleteRow(m_jobTypes.takeAt(index), kept);
    }
    ReportKept(kept);
}

void Taskmill_JobTypeList::RemoveAll()
{
    QStringList kept;
    while (!m_jobTypes.isEmpty())
        DeleteRow(m_jobTypes.takeFirst(), kept);
    ReportKept(kept);
}

void Taskmill_JobTypeList::Clear()
{
    m_jobTypes.clear();
}

void Taskmill_JobTypeList::Refresh()
{
    if (ReadBack())
        Q_EMIT JobTypesChangedSignal();
}

QList<Taskmill_JobType> Taskmill_JobTypeList::GetAll() const
{
    return m_jobTypes;
}

QStringList Taskmill_JobTypeList::Names() const
{
    QStringList names;
    names.reserve(m_jobTypes.size());
    for (const Taskmill_JobType &jobType : m_jobTypes)
        names.append(jobType.Name);
    return names;
}

void Taskmill_JobTypeList::AddDefaults()
{
    Taskmill_AddDefaultJobTypes(*this);
}

/// Whether that changed the list.
bool Taskmill_JobTypeList::ReadBack()
{
    if (!m_store.IsOpen())
        return false;
    QList<Taskmill_JobType> stored = m_store.GetJobTypes();
    m_jobTypes.swap(stored);
    return m_jobTypes != stored;
}

void Taskmill_JobTypeList::DeleteRow(const Taskmill_JobType &jobType, QStringList &kept)
{
    if (m_store.IsOpen() && !m_store.DeleteJobType(jobType.JobTypeID))
        kept.append(jobType.Name);
}

void Taskmill_JobTypeList::ReportKept(const QStringList &names)
{
    if (names.isEmpty())
        return;
    ReadBack();
    qCWarning(Taskmill_JobsLog, "Job types could not be removed from the project: %ls",
              qUtf16Printable(names.join(u", "_s)));
    KilnUtil_Error::ReportError(u"Removing Job Types"_s,
                                u"The following job types could not be removed from the project:\n\n"_s +
                                    names.join(u'\n'));
}
