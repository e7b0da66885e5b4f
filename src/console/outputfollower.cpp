// SPDX-License-Identifier: MIT
#include "console/outputfollower.h"

#include "jobs/job.h"
#include "processes/process.h"

#include <utility>

Taskmill_OutputFollower::Taskmill_OutputFollower(const Taskmill_Job &job, qint64 most)
    : m_process{job.Process()}
{
    if (!m_process)
        return;
    m_offset = qMax(qint64{0}, m_process->Output().TotalSize() - most);
    // The process object is destroyed soon after its program has ended.
    connect(m_process, &KilnUtil_Process::FinishedSignal, this, [this] {
        m_last += m_process->Output().ReadFrom(m_offset);
        m_hasEnded = true;
    });
}

bool Taskmill_OutputFollower::HasEnded() const
{
    return m_hasEnded || !m_process;
}

QByteArray Taskmill_OutputFollower::Take()
{
    QByteArray bytes = std::exchange(m_last, {});
    if (m_process && !m_hasEnded)
        bytes += m_process->Output().ReadFrom(m_offset);
    return bytes;
}
