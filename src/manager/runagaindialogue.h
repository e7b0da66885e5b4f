// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobrecord.h"
#include "manager/dialogue.h"
#include "manager/finishedselection.h"

#include <QList>
#include <QMap>

class Taskmill_JobSubmitter;

/// Runs finished jobs again: with the same fields, in the same queue, with their job types as they are now.
/// Asks which is meant where a job type would start something else than before, and whether outputs may be
/// replaced; each question once for all jobs. What cannot be run is reported at the end.
class Taskmill_RunAgainDialogue final : public Taskmill_Dialogue
{
public:
    /// The submitter outlives the dialogue. A job that leaves the list while a question stands, perhaps with
    /// its project, is not run.
    Taskmill_RunAgainDialogue(Taskmill_JobSubmitter &submitter, Taskmill_FinishedSelection jobs);

    std::optional<Taskmill_Question> Next() override;
    void Answer(const Taskmill_Answer &answer) override;

    /// Of the new jobs, when all is done.
    [[nodiscard]] const QList<int> &JobIDs() const { return m_jobIDs; }

private:
    enum class Step
    {
        AskAboutJobTypes,
        AskAboutOutputs,
        Submit,
        End
    };
    /// A job as it will be, and as it would be with its job type as it was.
    struct Run
    {
        qsizetype place;        ///< in the selection
        Taskmill_JobRecord job; ///< that has ended
        Taskmill_JobRecord asNow;
        Taskmill_JobRecord asThen;
        bool isThen = false;
        bool replaces = false; ///< a file that is there, or the output of another one of these jobs

        [[nodiscard]] const Taskmill_JobRecord &Job() const { return isThen ? asThen : asNow; }
        [[nodiscard]] bool IsChanged() const { return job.CommandLine() != asNow.CommandLine(); }
    };

    void Prepare(qsizetype place, const Taskmill_JobRecord &job);
    void FindReplaced();
    [[nodiscard]] std::optional<Taskmill_Question> JobTypesQuestion() const;
    [[nodiscard]] std::optional<Taskmill_Question> OutputsQuestion() const;
    [[nodiscard]] bool IsStillThere(const Run &run);
    void Submit();

    Taskmill_JobSubmitter &m_submitter;
    Taskmill_FinishedSelection m_jobs;
    QList<Run> m_runs;
    QMap<QString, QStringList> m_refused; ///< names by the reason
    QList<int> m_jobIDs;
    Step m_step = Step::AskAboutJobTypes;
};
