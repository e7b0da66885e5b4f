// SPDX-License-Identifier: MIT
#pragma once

#include "manager/jobrequest.h"
#include "manager/submitdialog.h"

#include <QList>
#include <QMap>
#include <QString>
#include <QTimer>

#include <functional>
#include <memory>

class KilnUtil_IDManager;
class Taskmill_Destinations;
class Taskmill_JobStore;
class Taskmill_QueueOwner;

/// What became of a request: the numbers of the jobs that were made, or why there is none.
struct Taskmill_SubmitResult
{
    QList<int> JobIDs;
    QString Refusal;
};

/// Turns requests, and files that the user hands in, into jobs: which job type, which queue, which name, and
/// whether the user is asked. One question at a time: what needs another one waits.
class Taskmill_JobSubmitter
{
public:
    /// All of them outlive the submitter.
    Taskmill_JobSubmitter(Taskmill_JobStore &store, KilnUtil_IDManager &jobNumbers,
                          Taskmill_Destinations &destinations);

    /// The dialog of the window; without one (nullptr) a confirmation counts as cancelled.
    void SetSubmitDialog(Taskmill_SubmitDialog *dialog) { m_dialog = dialog; }

    /// Reads what a job is to wait for; returns why the request is refused, or nothing. Without one, jobs
    /// wait for nothing but their turn.
    using ConditionReader =
        std::function<QString(const Taskmill_JobRequest &request, Taskmill_StartConditions &conditions)>;
    void SetConditionReader(const ConditionReader &read) { m_readConditions = read; }

    /// Refused while it must wait.
    [[nodiscard]] Taskmill_SubmitResult Submit(const Taskmill_JobRequest &request);
    /// Whether the user is being asked about files or job types.
    [[nodiscard]] bool IsAsking() const { return m_asking; }
    /// Whether the request would ask the user.
    [[nodiscard]] bool WouldAsk(const Taskmill_JobRequest &request) const;

    /// Opens the dialog with the files, all of them checked, or with none, and makes jobs of what the user
    /// chooses there. The numbers of the jobs. While another question is open, files wait until it is
    /// answered and nothing is returned.
    QList<int> SubmitFiles(const QStringList &files, Taskmill_Destination destination, int jobTypeID);

    /// Makes a job of one file that the user submits here and adds it to the container. A negative job type
    /// number chooses the type by the file's extension. Nothing when there is no such file or no valid type,
    /// which only the window reports.
    std::optional<int> AddFile(const QString &filePath, int jobTypeID, Taskmill_Destination destination);

    /// The job type that a job had, as it is now: that of the same number, else of the same name; an empty
    /// record when there is none.
    [[nodiscard]] Taskmill_JobType JobTypeOfToday(const Taskmill_JobRecord &job) const;
    /// A job with the same fields and that type, which has not run, and whose client is this user. Its output
    /// file is derived anew, where it was before.
    [[nodiscard]] static Taskmill_JobRecord SameAgain(const Taskmill_JobRecord &job,
                                                      const Taskmill_JobType &jobType);
    /// Gives it a number and adds it to the queue of its name. Nothing, with the reason, when it cannot be
    /// run.
    [[nodiscard]] std::optional<int> SubmitAgain(Taskmill_JobRecord job, QString &reason);

private:
    struct Choice
    {
        Taskmill_JobType jobType; ///< empty while none is known
        bool confirm = false;
    };

    /// Takes a file that the user has chosen, with its job type, its queue and what is asked for it.
    using FileTaker = std::function<void(const QString &, const Taskmill_JobType &, Taskmill_Destination,
                                         const Taskmill_JobNeeds &asked)>;
    /// The names of files of which no job could be made, by the reason.
    using RefusedFiles = QMap<QString, QStringList>;

    /// The user is being asked for as long as the result lives.
    [[nodiscard]] std::shared_ptr<void> BeginAsking();
    [[nodiscard]] bool ChooseJobType(const Taskmill_JobRequest &request, Choice &choice);
    /// Nothing when the user cancels, an empty record when he chooses none.
    [[nodiscard]] std::optional<Taskmill_JobType> AskForJobType(const QList<Taskmill_JobType> &jobTypes,
                                                                const QString &labelBegin,
                                                                const QString &inputFile);
    /// False when the user cancels the dialog.
    [[nodiscard]] bool AskForFiles(const Taskmill_SubmitChoice &preset, const FileTaker &take,
                                   RefusedFiles &refused);
    void TakeFiles(const Taskmill_SubmitChoice &chosen, const FileTaker &take, RefusedFiles &refused);
    static void Report(const RefusedFiles &refused);
    void SubmitConfirmed(const Taskmill_JobRequest &request, const Taskmill_JobType &jobType,
                         Taskmill_Destination destination, Taskmill_SubmitResult &result);
    void MakeJob(const Taskmill_JobRequest &request, const Taskmill_JobType &jobType,
                 Taskmill_Destination destination, const QString &inputFile, const Taskmill_JobNeeds &asked,
                 Taskmill_SubmitResult &result);
    /// Nothing, with the reason, when no job can be made.
    [[nodiscard]] std::optional<int> AddJob(const QString &path, const Taskmill_JobType &jobType,
                                            Taskmill_Destination destination, const Taskmill_JobNeeds &asked,
                                            QString &reason);
    /// Looks what the job needs and adds it to the queue. Its number, or nothing with the reason.
    [[nodiscard]] std::optional<int> HandIn(Taskmill_QueueOwner &owner, Taskmill_JobRecord job,
                                            QString &reason);
    void SubmitWaitingFiles();

    Taskmill_JobStore &m_store;
    KilnUtil_IDManager &m_jobNumbers;
    Taskmill_Destinations &m_destinations;
    Taskmill_SubmitDialog *m_dialog = nullptr;
    ConditionReader m_readConditions;
    bool m_asking = false;
    QList<Taskmill_SubmitChoice> m_waiting; ///< handed in while the user was being asked
    QTimer m_waitingTimer;
};
