// SPDX-License-Identifier: MIT
#include "viewer/processsource.h"

#include "processes/process.h"

using namespace Qt::Literals::StringLiterals;

KilnUtil_ProcessSource::KilnUtil_ProcessSource(KilnUtil_Process *process)
    : m_process{process}
{
}

KilnUtil_ProcessSource::~KilnUtil_ProcessSource() = default;

bool KilnUtil_ProcessSource::Open()
{
    if (!m_process)
        return false;
    // Content() says where the middle of a long output is missing.
    Append(m_process->Output().Content());
    m_offset = m_process->Output().TotalSize();
    return true;
}

void KilnUtil_ProcessSource::Pull()
{
    const KilnUtil_ProcessOutput &output = m_process->Output();
    const qint64 missing = output.TotalSize() - m_offset;
    const QByteArray bytes = output.ReadFrom(m_offset);
    if (bytes.size() < missing)
        Append("\n[... some output was left out here ...]\n");
    Append(bytes);
}

KilnUtil_TextSource::Change KilnUtil_ProcessSource::Refresh()
{
    if (m_process)
        Pull();
    return KilnUtil_MemorySource::Refresh();
}

QString KilnUtil_ProcessSource::StateText() const
{
    if (!m_process || m_process->HasEnded())
        return u"The process has ended."_s;
    return KilnUtil_MemorySource::StateText();
}
