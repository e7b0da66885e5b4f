#include "ui/queuewidgets.h"

#include "jobs/runmode.h"

using namespace Qt::Literals::StringLiterals;

namespace {
std::unique_ptr<Taskmill_QueueTab> MakeTab(QWidget *parent, Taskmill_QueueOwner &owner,
                                           const Taskmill_QueueTab::Variant &variant)
{
    return Taskmill_IsGuiMode() ? std::make_unique<Taskmill_QueueTab>(parent, owner, variant) : nullptr;
}
} // namespace

Taskmill_LongJobsQueueWidget::Taskmill_LongJobsQueueWidget(QWidget *parent, Taskmill_JobStore &store,
                                                           Taskmill_FinishedJobs &finishedJobs,
                                                           Taskmill_ProcessInspector &inspector)
    : Taskmill_LongJobsOwner{store, finishedJobs, inspector}
    , m_tab{MakeTab(parent, *this,
                    {.destination = Taskmill_Destination::Long,
                     .name = u"Long_Jobs"_s,
                     .helpId = u"taskmill/longjobsqueue"_s,
                     .queue = &Jobs()})}
{
}

Taskmill_ShortJobsQueueWidget::Taskmill_ShortJobsQueueWidget(QWidget *parent, Taskmill_JobStore &store,
                                                             Taskmill_FinishedJobs &finishedJobs,
                                                             Taskmill_ProcessInspector &inspector)
    : Taskmill_ShortJobsOwner{store, finishedJobs, inspector}
    , m_tab{MakeTab(parent, *this,
                    {.destination = Taskmill_Destination::Short,
                     .name = u"Short_Jobs"_s,
                     .helpId = u"taskmill/shortjobsqueue"_s,
                     .queue = &Jobs()})}
{
}

Taskmill_QueuelessJobsWidget::Taskmill_QueuelessJobsWidget(QWidget *parent,
                                                           Taskmill_FinishedJobs &finishedJobs,
                                                           Taskmill_ProcessInspector &inspector)
    : Taskmill_QueuelessJobsOwner{finishedJobs, inspector}
    , m_tab{MakeTab(parent, *this,
                    {.destination = Taskmill_Destination::Queueless,
                     .name = u"Queueless_Jobs"_s,
                     .helpId = u"taskmill/queuelessjobs"_s,
                     .list = &Jobs()})}
{
}
