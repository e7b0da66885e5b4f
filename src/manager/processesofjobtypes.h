// SPDX-License-Identifier: MIT
#pragma once

#include "processes/processinspector.h"

#include <QList>
#include <QStringList>

/// The processes whose executable is that of one of the job types, in their order.
[[nodiscard]] QList<Taskmill_ProcessRecord>
Taskmill_ProcessesOfJobTypes(const QList<Taskmill_ProcessRecord> &processes,
                             const QStringList &jobTypeExecutables);
