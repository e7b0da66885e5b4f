// SPDX-License-Identifier: MIT
#pragma once

#include "ui/tableoffer.h"

class Taskmill_JobTypeList;

/// The offer to add job types for the programs that are installed, while the project has no job type.
class Taskmill_ProgramsOffer final : public Taskmill_TableOffer
{
    Q_OBJECT

public:
    /// The list outlives this. Nothing is shown before UpdateSlot() is called.
    Taskmill_ProgramsOffer(KilnUtil_TableWidget &table, Taskmill_JobTypeList &jobTypes);

public Q_SLOTS:
    /// Looks again which programs there are, and whether they are wanted.
    void UpdateSlot();

private:
    void AddJobTypes();

    Taskmill_JobTypeList &m_jobTypes;
};
