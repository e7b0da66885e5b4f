// SPDX-License-Identifier: MIT
#include "jobs/waitreason.h"

#include <QStringList>

using namespace Qt::Literals::StringLiterals;

namespace {
QString CoresText(qint64 cores)
{
    return cores == 1 ? u"1 core"_s : u"%1 cores"_s.arg(cores);
}

QString CoresMissing(const Taskmill_WaitReason &reason)
{
    return u"%1, %2 free"_s.arg(CoresText(reason.Cores)).arg(reason.FreeCores);
}

QString MemoryMissing(const Taskmill_WaitReason &reason)
{
    return u"%1 MB, %2 MB free"_s.arg(reason.MemoryMB).arg(reason.FreeMemoryMB);
}

QString ComparedWithBudget(const Taskmill_WaitReason &reason)
{
    QStringList parts;
    if (reason.FreeCores > 0 && reason.Cores > reason.FreeCores)
        parts += u"%1 of %2"_s.arg(CoresText(reason.Cores)).arg(reason.FreeCores);
    if (reason.FreeMemoryMB > 0 && reason.MemoryMB > reason.FreeMemoryMB)
        parts += u"%1 MB of %2"_s.arg(reason.MemoryMB).arg(reason.FreeMemoryMB);
    return parts.join(u", "_s);
}
} // namespace

QString Taskmill_WaitReason::Text() const
{
    const QString kept = IsKept ? u"; what becomes free is kept for it"_s : QString{};
    switch (Why) {
    case Kind::Cores:
        return u"waits for "_s + CoresMissing(*this) + kept;
    case Kind::Memory:
        return u"waits for "_s + MemoryMissing(*this) + kept;
    case Kind::CoresAndMemory:
        return u"waits for %1, and %2"_s.arg(CoresMissing(*this), MemoryMissing(*this)) + kept;
    case Kind::KeptForOther:
        return u"waits for job %1, which has waited long"_s.arg(OtherJobID);
    case Kind::LargerThanBudget:
        return Taskmill_LargerThanBudgetText + u" (%1)"_s.arg(ComparedWithBudget(*this));
    case Kind::InWords:
        return Words;
    case Kind::None:
        break;
    }
    return OfFiles;
}
