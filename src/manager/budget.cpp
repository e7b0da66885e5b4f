// SPDX-License-Identifier: MIT
#include "manager/budget.h"

#include "jobs/jobbudget.h"
#include "jobs/jobneeds.h"
#include "kilnutil/registry.h"

#include <QStringList>

using namespace Qt::Literals::StringLiterals;

namespace {
const QString coresKey = u"/Budget/Cores"_s;
const QString memoryKey = u"/Budget/Memory_MB"_s;

QString CountText(qint64 count, const QString &one)
{
    return count == 1 ? u"1 "_s + one : u"%1 %2s"_s.arg(count).arg(one);
}

QString AmountText(qint64 cores, qint64 memoryMB)
{
    return u"%1 and %2 MB"_s.arg(CountText(cores, u"core"_s)).arg(memoryMB);
}

QString LimitsText(const Taskmill_BudgetLimits &limits)
{
    if (limits.MemoryMB == 0)
        return CountText(limits.Cores, u"core"_s);
    return limits.Cores == 0 ? u"%1 MB"_s.arg(limits.MemoryMB) : AmountText(limits.Cores, limits.MemoryMB);
}

QJsonValue LimitInJson(qint64 limit)
{
    return limit > 0 ? QJsonValue{limit} : QJsonValue{};
}
} // namespace

Taskmill_BudgetLimits Taskmill_StoredBudget()
{
    // Anything may stand in a file of settings.
    return {.Cores = Taskmill_CoresFromText(KilnUtil_Registry::Value(coresKey).toString()).value_or(0),
            .MemoryMB = Taskmill_MemoryFromText(KilnUtil_Registry::Value(memoryKey).toString()).value_or(0)};
}

void Taskmill_SetBudget(Taskmill_JobBudget &budget, const Taskmill_BudgetLimits &limits)
{
    KilnUtil_Registry::SetValue(coresKey, limits.Cores);
    KilnUtil_Registry::SetValue(memoryKey, limits.MemoryMB);
    budget.SetLimits(limits);
}

std::optional<Taskmill_BudgetLimits> Taskmill_BudgetFromText(const QString &text)
{
    const QStringList words = text.simplified().split(u' ', Qt::SkipEmptyParts);
    if (words == QStringList{u"off"_s})
        return Taskmill_BudgetLimits{};
    if (words.isEmpty() || words.size() % 2 != 0)
        return std::nullopt;
    Taskmill_BudgetLimits limits;
    for (qsizetype at = 0; at < words.size(); at += 2) {
        const auto cores = words[at] == "cores"_L1 ? Taskmill_CoresFromText(words[at + 1]) : std::nullopt;
        const auto memory = words[at] == "memory"_L1 ? Taskmill_MemoryFromText(words[at + 1]) : std::nullopt;
        if (cores && limits.Cores == 0)
            limits.Cores = *cores;
        else if (memory && limits.MemoryMB == 0)
            limits.MemoryMB = *memory;
        else
            return std::nullopt;
    }
    return limits;
}

QString Taskmill_BudgetForms()
{
    return u"\"off\", \"cores N\", \"memory M\" or both, with N from 1 to %1 and M, in megabytes, from 1 to %2"_s
        .arg(Taskmill_MostCores)
        .arg(Taskmill_MostMemoryMB);
}

QString Taskmill_BudgetText(const Taskmill_JobBudget &budget)
{
    const Taskmill_JobBudget::Use use = budget.InUse();
    const QString limits = budget.IsOn() ? u"The budget is %1"_s.arg(LimitsText(budget.Limits()))
                                         : u"There is no budget: the queues' limits alone count"_s;
    const QString running = use.Jobs == 0 ? u"nothing runs"_s
                                          : u"%1 %2 %3"_s.arg(CountText(use.Jobs, u"running job"_s),
                                                              use.Jobs == 1 ? u"takes"_s : u"take"_s,
                                                              AmountText(use.Cores, use.MemoryMB));
    return limits + u"; "_s + running + u'.';
}

QJsonObject Taskmill_BudgetJson(const Taskmill_JobBudget &budget)
{
    const Taskmill_JobBudget::Use use = budget.InUse();
    return {{u"on"_s, budget.IsOn()},
            {u"cores"_s, LimitInJson(budget.Limits().Cores)},
            {u"memory_mb"_s, LimitInJson(budget.Limits().MemoryMB)},
            {u"running"_s, use.Jobs},
            {u"cores_in_use"_s, use.Cores},
            {u"memory_mb_in_use"_s, use.MemoryMB}};
}
