// SPDX-License-Identifier: MIT
#pragma once

#include "db/workingcopystore.h"
#include "manager/joboutput.h"

#include <QHash>
#include <QObject>
#include <QSet>
#include <QString>

#include <functional>
#include <memory>

struct Taskmill_JobRecord;

/// The captured outputs of the finished jobs that have rows in the open database. A long one may still be
/// with the run of its job, where its keeper has stored it, and is brought into the row before anybody else
/// reads that. Jobs are known by the keys of their rows.
class Taskmill_FinishedOutputs final : public QObject
{
    Q_OBJECT

public:
    /// See KilnUtil_StoredOutput.
    struct OutputOfRun
    {
        QString Text;
        bool IsWhole = true;
    };
    /// Returns what reads, on any thread, what the run of a job wrote, see Taskmill_JobRecord::Run and
    /// IsOutputLeft.
    using ReaderOfRuns = std::function<std::function<OutputOfRun()>(const QString &run)>;

    Taskmill_FinishedOutputs();
    ~Taskmill_FinishedOutputs() override;
    Q_DISABLE_COPY_MOVE(Taskmill_FinishedOutputs)

    /// Without one no output stays with its run.
    void SetReaderOfRuns(const ReaderOfRuns &reader) { m_outputOfRun = reader; }

    /// Puts the output of the job into the job where it cannot stay with its run. A run whose output cannot
    /// be read whole then is taken out of the job, as it is not stored with it.
    void FetchUnlessLeft(Taskmill_JobRecord &job) const;
    /// The output of that job, which has no row.
    [[nodiscard]] QString TextOfJob(const Taskmill_JobRecord &job) const;

    [[nodiscard]] QString TextOf(qint64 key) const;
    [[nodiscard]] bool Has(qint64 key) const;
    /// Reads the same output, in UTF-8, on any thread and at any time: it is empty after Forget(). Needs an
    /// open database.
    [[nodiscard]] Taskmill_OutputText ReaderOf(qint64 key) const;

    /// The output of the job that has this row stays with its run, as the working copy says.
    void AddLeft(qint64 key, const Taskmill_LeftOutput &left) { m_left.insert(key, left); }
    /// Takes over the outputs that a manager ended by force has left, so that they do not depend on its
    /// keepers any longer.
    void Load();
    /// Writes the outputs that are still with their runs into their rows, so that these are whole. False when
    /// one cannot be written. One that cannot be read now stays where it is, as its row says.
    [[nodiscard]] bool TakeLeft();
    /// Forgets what is still with a run; the row is being removed.
    void GiveUp(qint64 key);
    /// The same for all rows, whose project is being closed.
    void GiveUpLeft();
    /// Everything, because the database is closed or is another one. Waits for what is being read.
    void Forget();

Q_SIGNALS:
    /// Nobody needs the output of that run any more.
    void RunStoredSignal(const QString &run);
    /// The whole output of that run is in the row of its job now. Comes before RunStoredSignal().
    void OutputTakenSignal(const QString &run, const QString &output);

private:
    class ReadingGate;

    [[nodiscard]] bool CanLeave() const;
    [[nodiscard]] OutputOfRun Read(const QString &run) const { return m_outputOfRun(run)(); }

    ReaderOfRuns m_outputOfRun;
    QHash<qint64, Taskmill_LeftOutput> m_left;
    QSet<qint64> m_unread; ///< those of them whose rows say where they are
    std::shared_ptr<ReadingGate> m_gate;
};
