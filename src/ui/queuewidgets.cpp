// SPDX-License-Identifier: MIT
#include "ui/queuewidgets.h"

#include "manager/manager.h"

using namespace Qt::Literals::StringLiterals;

Taskmill_LongJobsQueueWidget::Taskmill_LongJobsQueueWidget(QWidget *parent, Taskmill_Manager &manager)
    : Taskmill_QueueTab{parent, manager.Destinations(), manager.Destinations().Long(), u"Long_Jobs"_s,
                        u"taskmill/longjobsqueue"_s}
{
}

Taskmill_ShortJobsQueueWidget::Taskmill_ShortJobsQueueWidget(QWidget *parent, Taskmill_Manager &manager)
    : Taskmill_QueueTab{parent, manager.Destinations(), manager.Destinations().Short(), u"Short_Jobs"_s,
                        u"taskmill/shortjobsqueue"_s}
{
}

Taskmill_QueuelessJobsWidget::Taskmill_QueuelessJobsWidget(QWidget *parent, Taskmill_Manager &manager)
    : Taskmill_QueueTab{parent, manager.Destinations(), manager.Destinations().Queueless(),
                        u"Queueless_Jobs"_s, u"taskmill/queuelessjobs"_s}
{
}
