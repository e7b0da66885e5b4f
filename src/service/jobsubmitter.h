#pragma once

#include "service/jobtabs.h"
#include "service/requestmessage.h"
#include "service/submitdialog.h"

#include <QList>
#include <QString>

class KilnUtil_IDManager;
class Taskmill_JobStore;

/// What became of a request: the numbers of the jobs that were made, or why there is none.
struct Taskmill_SubmitResult
{
    QList<int> JobIDs;
    QString Refusal;
};

/// Turns a "submitjob" request into jobs: which job type, which queue, which name, and whether the user is
/// asked.
class Taskmill_JobSubmitter
{
public:
    /// All of them outlive the submitter.
    Taskmill_JobSubmitter(Taskmill_JobStore &store, KilnUtil_IDManager &jobNumbers,
                          const Taskmill_JobTabs &tabs);

    /// The dialog of the window; without one (nullptr) a confirmation counts as cancelled.
    void SetSubmitDialog(Taskmill_SubmitDialog *dialog) { m_dialog = dialog; }

    [[nodiscard]] Taskmill_SubmitResult Submit(const Taskmill_RequestMessage &request);

    /// Makes a job of one file that the user submits here and adds it to the container. A negative job type
    /// number chooses the type by the file's extension. Nothing when there is no such file or no valid type,
    /// which only the window reports.
    std::optional<int> AddFile(const QString &filePath, int jobTypeID, Taskmill_Destination destination);

private:
    struct Choice
    {
        Taskmill_JobType jobType; ///< empty while none is known
        bool confirm = false;
    };

    [[nodiscard]] bool ChooseJobType(const Taskmill_RequestMessage &request, Choice &choice) const;
    [[nodiscard]] std::optional<Taskmill_JobType> AskForJobType(const QString &labelBegin,
                                                                const QString &inputFile) const;
    void SubmitConfirmed(const Taskmill_RequestMessage &request, const Taskmill_JobType &jobType,
                         Taskmill_Destination destination, Taskmill_SubmitResult &result);
    [[nodiscard]] std::optional<Taskmill_JobType> JobTypeOfFile(int jobTypeID,
                                                                const QString &inputFile) const;
    void MakeJob(const Taskmill_RequestMessage &request, const Taskmill_JobType &jobType,
                 Taskmill_Destination destination, const QString &inputFile, Taskmill_SubmitResult &result);

    Taskmill_JobStore &m_store;
    KilnUtil_IDManager &m_jobNumbers;
    const Taskmill_JobTabs m_tabs;
    Taskmill_SubmitDialog *m_dialog = nullptr;
};
