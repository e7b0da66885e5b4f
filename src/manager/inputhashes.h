// SPDX-License-Identifier: MIT
#pragma once

#include "kilnutil/filethread.h"

#include <QDeadlineTimer>
#include <QHash>
#include <QList>
#include <QObject>

#include <utility>

class Taskmill_Destinations;
struct Taskmill_JobRecord;

/// Reads the inputs of jobs that wait, on a thread, when they are submitted, so that a change before their
/// start is noticed. What is known is stored with the job.
class Taskmill_InputHashes final : public QObject
{
    Q_OBJECT

public:
    /// The destinations outlive this.
    explicit Taskmill_InputHashes(Taskmill_Destinations &destinations);

    /// Whether an input is still to be read.
    [[nodiscard]] bool IsBusy() const { return m_thread.IsBusy() || !m_waiting.isEmpty(); }

private:
    using Inputs = QList<std::pair<qint32, QString>>;
    using Hashes = QHash<qint32, QString>;

    void WaitsSlot(const Taskmill_JobRecord &job);
    void ReadSoon();
    void ReadNext();
    void Take(const Inputs &inputs, const Hashes &hashes);
    [[nodiscard]] static Hashes HashesOf(const Inputs &inputs);

    Taskmill_Destinations &m_destinations;
    KilnUtil_FileThread m_thread;
    Inputs m_waiting;
    QDeadlineTimer m_answersBy; ///< while the thread reads
    QDeadlineTimer m_pause{0};  ///< until the next reading
};
