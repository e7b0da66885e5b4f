// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/jobstatus.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QString>
#include <QTimer>

#include <chrono>

class Taskmill_FinishedJobs;
struct Taskmill_JobRecord;

/// Which jobs are announced on the desktop when they end, by the user's choice.
enum class Taskmill_Announced
{
    Nothing,
    Failures,
    Everything ///< at first
};
[[nodiscard]] Taskmill_Announced Taskmill_RememberedAnnounced();
void Taskmill_RememberAnnounced(Taskmill_Announced announced);

/// Follows the jobs that end by themselves: announces those of some seconds together, and counts failures,
/// see Taskmill_JobRecord::HasFailed(), until they are seen. A job whose result is known later, and is a
/// failure, is announced once more if need be. Jobs that the user has killed are no news.
class Taskmill_JobNews final : public QObject
{
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds UsualGathering{5000};

    /// The list outlives this. Jobs are gathered for that long from the first one on.
    explicit Taskmill_JobNews(Taskmill_FinishedJobs &finishedJobs,
                              std::chrono::milliseconds gathering = UsualGathering);

    [[nodiscard]] int UnseenFailures() const { return m_unseenFailures; }
    void SeeFailures();
    /// The numbers of the jobs that were announced last.
    [[nodiscard]] const QList<int> &AnnouncedJobs() const { return m_announced; }

Q_SIGNALS:
    /// To be shown on the desktop.
    void NewsSignal(const QString &title, const QString &text);
    void UnseenFailuresChangedSignal();

private:
    struct News
    {
        int jobID = 0;
        QString line;
        bool hasFailed = false;
    };

    void JobsChanged();
    void Take(const Taskmill_JobRecord &job);
    void TakeResult(int jobID);
    void Gather(const Taskmill_JobRecord &job);
    void Announce();

    Taskmill_FinishedJobs &m_finishedJobs;
    int m_generation;          ///< of the list, when it was looked at last
    qsizetype m_firstPosition; ///< of those that may be news
    qsizetype m_position;      ///< behind the jobs that are known
    int m_unseenFailures = 0;

    QTimer m_timer; ///< runs while jobs are gathered
    QList<News> m_gathered;
    QHash<int, qsizetype> m_places; ///< of these, by job number
    QList<int> m_announced;
};
