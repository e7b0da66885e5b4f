// SPDX-License-Identifier: MIT
#pragma once

#include "ui/tableoffer.h"

class KilnUtil_FileThread;

/// The offer to open the last project.
class Taskmill_ProjectOffer final : public Taskmill_TableOffer
{
    Q_OBJECT

public:
    Taskmill_ProjectOffer(KilnUtil_TableWidget &table, const QString &path);

private:
    KilnUtil_FileThread *const m_thread;
};
