// SPDX-License-Identifier: MIT
#pragma once

#include "ui/queuetab.h"

class Taskmill_Manager;

/// The three queue tabs.
class Taskmill_LongJobsQueueWidget final : public Taskmill_QueueTab
{
    Q_OBJECT

public:
    Taskmill_LongJobsQueueWidget(QWidget *parent, Taskmill_Manager &manager);
};

class Taskmill_ShortJobsQueueWidget final : public Taskmill_QueueTab
{
    Q_OBJECT

public:
    Taskmill_ShortJobsQueueWidget(QWidget *parent, Taskmill_Manager &manager);
};

class Taskmill_QueuelessJobsWidget final : public Taskmill_QueueTab
{
    Q_OBJECT

public:
    Taskmill_QueuelessJobsWidget(QWidget *parent, Taskmill_Manager &manager);
};
