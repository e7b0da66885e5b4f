// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/filescheck.h"
#include "jobs/startfiles.h"
#include "kilnutil/filethread.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QTimer>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

class Taskmill_Job;
class Taskmill_JobContainer;

/// Looks at the files of jobs before they start, on a thread, and holds those that must not start: what they
/// write is being written by another job, or their drive lacks room, does not let them write, or does not
/// answer. They are tried again when that may have gone, which is told to the containers by a signal.
class Taskmill_StartChecker final : public QObject, public Taskmill_FilesCheck
{
    Q_OBJECT

public:
    using Look = std::function<Taskmill_FileFacts(const Taskmill_FileQuestion &question)>;

    /// How long it is waited for a drive before its jobs are left alone.
    explicit Taskmill_StartChecker(Look look = Taskmill_LookAtFiles,
                                   std::chrono::milliseconds longestLook = std::chrono::seconds{2});

    /// What runs in it writes files. It outlives the last question.
    void Join(Taskmill_JobContainer &jobs);

    [[nodiscard]] Answer Ask(Taskmill_Job &job) override;
    bool LookAhead(Taskmill_Job &job) override;
    void NoteFilesOf(Taskmill_Job &job) const override;
    void JobEnded() override;
    void LetStart(Taskmill_Job &job) const override;

    /// Looks again at those that are held for something else than another job, whether or not there is a
    /// place for them; happens by itself every few seconds.
    void TryAgain();

Q_SIGNALS:
    /// Jobs that could not be started before may be now: ask again.
    void AnsweredSignal();

private:
    using HasAnswered = std::shared_ptr<std::atomic<bool>>;

    /// What is known before the turn of a job.
    struct Ahead
    {
        QPointer<Taskmill_Job> Job;
        Taskmill_FileFacts Facts;
        QString Input;
        std::pair<qint64, QDateTime> InputState;
        QElapsedTimer Since;
    };

    void LookAt(Taskmill_Job &job);
    [[nodiscard]] std::optional<Taskmill_FileFacts> TakeAhead(const Taskmill_Job &job);
    bool LookAtHeld();
    void GiveUpIfSilent();
    void ListenSlot();
    [[nodiscard]] Answer Decide(Taskmill_Job &job, const Taskmill_FileFacts &facts);
    [[nodiscard]] bool IsSilent(const QString &folder) const;
    /// The running job that writes one of the files, and the file; nullptr for none.
    [[nodiscard]] const Taskmill_Job *WriterOf(const QStringList &files, const Taskmill_Job &except,
                                               QString &file) const;
    bool HoldForWriter(Taskmill_Job &job);
    void Hold(Taskmill_Job &job, const QString &reason, bool isForWriter);

    const Look m_look;
    const std::chrono::milliseconds m_longestLook;
    KilnUtil_FileThread m_thread;
    QList<const Taskmill_JobContainer *> m_all;
    QList<QPointer<Taskmill_Job>> m_held;
    QList<QPointer<Taskmill_Job>> m_toLookAt; ///< those of them that are tried again
    QPointer<Taskmill_Job> m_asked;           ///< the job that the thread looks at, or has looked at
    QString m_folder;                         ///< of that job
    HasAnswered m_hasAnswered;
    QElapsedTimer m_lookTime;
    bool m_isSlow = false;                     ///< the last look took longer than an event loop waits
    std::optional<Taskmill_FileFacts> m_facts; ///< of that job
    std::optional<Ahead> m_ahead;
    QHash<QString, HasAnswered> m_silent; ///< folders on drives that do not answer
    QTimer m_giveUp;
    QTimer m_tryAgain;
    QTimer m_listen; ///< to drives that did not answer
};
