// SPDX-License-Identifier: MIT
#pragma once

#include "processes/processoutput.h"
#include "wire/runoutput.h"

/// What a keeper has stored of the output of a run, in a file. None of it is held in memory.
class KilnUtil_RunOutputFile final : public KilnUtil_ProcessOutput
{
public:
    explicit KilnUtil_RunOutputFile(Taskmill_RunOutput file);

    /// Nobody writes the file any more.
    void SetEnded() { m_hasEnded = true; }

    /// What the file holds.
    [[nodiscard]] KilnUtil_StoredOutput Stored() const;

    void Append(QByteArrayView bytes) override;
    [[nodiscard]] std::optional<QByteArray> Appended() const override { return m_said; }
    [[nodiscard]] bool IsReadable() const override;
    [[nodiscard]] qint64 TotalSize() const override;
    [[nodiscard]] QByteArray Content() const override;
    [[nodiscard]] QByteArray ReadFrom(qint64 &offset) const override;

private:
    Taskmill_RunOutput m_file;
    QByteArray m_said; ///< appended here, stands behind the file
    bool m_hasEnded = false;
};
