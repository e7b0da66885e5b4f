// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/finishedjobstaker.h"
#include "jobs/jobrecord.h"

#include <QList>
#include <QObject>
#include <QSet>

#include <functional>

class Taskmill_Outbox;

/// The jobs that have left their queue, in the order in which they arrived. The tab of the window adds the
/// table.
class Taskmill_FinishedJobs : public QObject, public Taskmill_FinishedJobsTaker
{
    Q_OBJECT

public:
    /// The outbox, which outlives this, takes the notifications of the jobs.
    explicit Taskmill_FinishedJobs(Taskmill_Outbox &outbox)
        : m_outbox{outbox}
    {
    }

    /// An output beyond so many characters is kept in the database only, which holds it anyway.
    static constexpr qsizetype LongestOutputKept = 256;

    /// The records are whole but for long outputs; see OutputOf().
    [[nodiscard]] const QList<Taskmill_JobRecord> &Jobs() const { return m_jobs; }
    /// The whole captured output of one of the jobs.
    [[nodiscard]] QString OutputOf(const Taskmill_JobRecord &job) const;
    [[nodiscard]] bool HasOutput(const Taskmill_JobRecord &job) const;

    /// Appends the job and, when a database is open, records it there, together with the notification of its
    /// client, which is sent later.
    bool AddJob(const Taskmill_JobRecord &job) override
    {
        return AddJob(job, [] {});
    }
    /// The same; what `alsoWrite` writes is part of the one change of the database.
    bool AddJob(const Taskmill_JobRecord &job, const std::function<void()> &alsoWrite);
    /// Tries again to record jobs for which that has failed.
    void RecordMissing();
    /// Replaces the list; the database is not touched, as in Clear() and RemoveAt().
    void SetJobs(const QList<Taskmill_JobRecord> &jobs);
    void Clear();
    /// A position that is out of range does nothing.
    void RemoveAt(int position);

    /// Removes the jobs at these positions from the list and their rows from the open database, without
    /// asking: that is up to Taskmill_FinishedRemovalDialogue.
    void Remove(QList<int> positions);

    /// Another value whenever jobs have been removed or replaced; adding one leaves it.
    [[nodiscard]] int Generation() const { return m_generation; }

    /// The listing that the console prints; with a width, made to fit a terminal of so many columns.
    [[nodiscard]] QString ListingText(int width = 0) const;

Q_SIGNALS:
    void JobsChangedSignal();
    /// The result of that run, see Taskmill_JobRecord::Run, is where the jobs of the project are.
    void RunStoredSignal(const QString &run);

private:
    struct Missing
    {
        Taskmill_JobRecord job;
        std::function<void()> alsoWrite;
        qint64 notification = 0; ///< number in the outbox
    };

    bool Record(const Missing &missing);
    void LeaveOutputToDatabase(Taskmill_JobRecord &job);

    Taskmill_Outbox &m_outbox;
    QList<Taskmill_JobRecord> m_jobs;
    QList<Missing> m_missing; ///< in the database
    int m_generation = 0;
    QSet<int> m_outputsInDatabase; ///< numbers of the jobs whose records lack their output
};
