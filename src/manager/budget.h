// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/startdecision.h"

#include <QJsonObject>
#include <QString>

#include <optional>

class Taskmill_JobBudget;

/// The budget among the user's settings: it is the machine's, whichever project is open.
[[nodiscard]] Taskmill_BudgetLimits Taskmill_StoredBudget();
/// Stores the budget and lets it rule from now on.
void Taskmill_SetBudget(Taskmill_JobBudget &budget, const Taskmill_BudgetLimits &limits);

/// What a user writes: "off", or "cores N", "memory M" (in units of 2^20 bytes), or both in any order.
/// Nothing for anything else.
[[nodiscard]] std::optional<Taskmill_BudgetLimits> Taskmill_BudgetFromText(const QString &text);

/// All that it can be, for people; the end of a sentence that begins with "a budget is".
[[nodiscard]] QString Taskmill_BudgetForms();

/// Such as "The budget is 8 cores and 16000 MB; 2 running jobs take 6 cores and 4000 MB."
[[nodiscard]] QString Taskmill_BudgetText(const Taskmill_JobBudget &budget);
/// Its numbers are null where there is no limit.
[[nodiscard]] QJsonObject Taskmill_BudgetJson(const Taskmill_JobBudget &budget);
