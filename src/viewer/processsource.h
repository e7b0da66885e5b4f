// SPDX-License-Identifier: MIT
#pragma once

#include "viewer/memorysource.h"

#include <QPointer>

class KilnUtil_Process;

/// What a process has written so far. The process may end and be deleted at any time; what it wrote up to the
/// last Refresh() stays.
class KilnUtil_ProcessSource final : public KilnUtil_MemorySource
{
public:
    explicit KilnUtil_ProcessSource(KilnUtil_Process *process);
    ~KilnUtil_ProcessSource() override;
    Q_DISABLE_COPY_MOVE(KilnUtil_ProcessSource)

    /// False when there is no process.
    [[nodiscard]] bool Open() override;

    Change Refresh() override;
    [[nodiscard]] QString StateText() const override;

private:
    void Pull();

    QPointer<KilnUtil_Process> m_process;
    qint64 m_offset = 0; ///< in the output of the process
};
