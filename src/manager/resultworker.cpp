// SPDX-License-Identifier: MIT
#include "manager/resultworker.h"

#include "kilnutil/logging.h"
#include "kilnutil/threadstart.h"

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QMutex>
#include <QMutexLocker>
#include <QTimer>
#include <QWaitCondition>

#include <algorithm>
#include <map>
#include <utility>

using namespace std::chrono_literals;

/// Between the two threads; it outlives both sides.
class Taskmill_ResultMailbox
{
public:
    /// True when it was empty.
    bool Add(const Taskmill_ResultReport &report)
    {
        const QMutexLocker lock{&m_mutex};
        m_reports.append(report);
        m_hasCome.wakeAll();
        return m_reports.size() == 1;
    }

    QList<Taskmill_ResultReport> Take()
    {
        const QMutexLocker lock{&m_mutex};
        return std::exchange(m_reports, {});
    }

    void Wait(std::chrono::milliseconds longest)
    {
        const QMutexLocker lock{&m_mutex};
        if (m_reports.isEmpty())
            m_hasCome.wait(&m_mutex, QDeadlineTimer{longest});
    }

private:
    QMutex m_mutex;
    QWaitCondition m_hasCome;
    QList<Taskmill_ResultReport> m_reports;
};

/// The half of the worker that lives in the thread. It does not know the other one, which may be gone while
/// this waits for the system.
class Taskmill_ResultThreadSide final : public QObject
{
    Q_OBJECT

public:
    Taskmill_ResultThreadSide(std::chrono::milliseconds interval,
                              std::shared_ptr<Taskmill_ResultMailbox> mailbox)
        : m_interval{interval}
        , m_mailbox{std::move(mailbox)}
        , m_timer{this}
    {
        m_timer.setSingleShot(true);
        connect(&m_timer, &QTimer::timeout, this, &Taskmill_ResultThreadSide::ReadSlot);
    }

    void Follow(qint64 number, const Taskmill_OutputFiles &files)
    {
        const auto isWritten = [&files](const QString &path) {
            return files.IsAboutToStart && files.Paths.contains(path);
        };
        for (auto &[other, followed] : m_outputs) {
            if (std::ranges::any_of(followed.output->Paths(), isWritten))
                followed.output->SetOvertaken();
        }
        m_outputs[number] = {.output = std::make_unique<Taskmill_FollowedOutput>(files),
                             .wait = m_interval,
                             .due = QDeadlineTimer{m_interval}};
        StartTimer();
    }

    void Alter(qint64 number, const Taskmill_ResultWorker::Change &change, bool looksAtOnce)
    {
        const auto found = m_outputs.find(number);
        if (found == m_outputs.end())
            return;
        change(*found->second.output);
        if (!looksAtOnce)
            return;
        found->second.due = QDeadlineTimer{0};
        StartTimer();
    }

    void Drop(qint64 number) { m_outputs.erase(number); }

Q_SIGNALS:
    void ReportsSignal();

private:
    struct Followed
    {
        std::unique_ptr<Taskmill_FollowedOutput> output;
        std::chrono::milliseconds wait{}; ///< between two looks
        QDeadlineTimer due;               ///< the next look
        QDeadlineTimer nextReport{0};
    };

    void ReadSlot()
    {
        // The thread takes new requests between two turns of reading.
        constexpr qint64 longestTurnMs = 50;
        QElapsedTimer turn;
        turn.start();
        auto next = m_outputs.upper_bound(m_lastRead);
        for (std::size_t count = m_outputs.size(); count > 0 && turn.elapsed() < longestTurnMs; --count) {
            if (QThread::currentThread()->isInterruptionRequested())
                return;
            if (next == m_outputs.end())
                next = m_outputs.begin();
            m_lastRead = next->first;
            const bool isComplete = next->second.due.hasExpired() && Read(next->first, next->second);
            next = isComplete ? m_outputs.erase(next) : std::next(next);
        }
        StartTimer();
    }

    /// True when all of it is read.
    bool Read(qint64 number, Followed &followed)
    {
        constexpr qint64 mostAtOnce = 4LL * 1024 * 1024;
        constexpr std::chrono::milliseconds betweenReports = 300ms;
        Taskmill_FollowedOutput &output = *followed.output;
        const qint64 before = output.Read();
        const bool hasMore = output.Advance(mostAtOnce);
        const bool isComplete = output.IsComplete();
        if (!hasMore) {
            followed.wait = WaitAfter(followed, output.Read() > before);
            followed.due = QDeadlineTimer{followed.wait};
        }
        if (isComplete || (output.HasChanged() && followed.nextReport.hasExpired())) {
            followed.nextReport = QDeadlineTimer{betweenReports};
            if (m_mailbox->Add({.Number = number, .State = output.State(), .IsComplete = isComplete}))
                Q_EMIT ReportsSignal();
        }
        return isComplete;
    }

    /// Until the next look at an output of which everything is read for now: there may be hundreds.
    [[nodiscard]] std::chrono::milliseconds WaitAfter(const Followed &followed, bool hasGrown) const
    {
        constexpr std::chrono::milliseconds ofEnded = 100ms;
        constexpr int quiet = 4;
        constexpr int unknown = 16;
        if (followed.output->HasEnded())
            return ofEnded;
        const bool isKnown = followed.output->IsOfKnownProgram();
        return isKnown && hasGrown ? m_interval
                                   : std::min(2 * followed.wait, (isKnown ? quiet : unknown) * m_interval);
    }

    void StartTimer()
    {
        if (m_outputs.empty()) {
            m_timer.stop();
            return;
        }
        qint64 left = std::numeric_limits<int>::max();
        for (const auto &[number, followed] : m_outputs)
            left = std::min(left, followed.due.remainingTime());
        m_timer.start(static_cast<int>(left));
    }

    const std::chrono::milliseconds m_interval;
    const std::shared_ptr<Taskmill_ResultMailbox> m_mailbox;
    QTimer m_timer;
    std::map<qint64, Followed> m_outputs; ///< by number
    qint64 m_lastRead = 0;
};

Taskmill_ResultWorker::Taskmill_ResultWorker(std::chrono::milliseconds interval,
                                             std::chrono::milliseconds timeLimit)
    : m_timeLimit{timeLimit}
    , m_mailbox{std::make_shared<Taskmill_ResultMailbox>()}
    , m_thread{std::make_unique<QThread>()}
    , m_threadSide{new Taskmill_ResultThreadSide{interval, m_mailbox}}
{
    m_thread->setObjectName(QStringLiteral("results"));
    m_threadSide->moveToThread(m_thread.get());
    connect(m_threadSide, &Taskmill_ResultThreadSide::ReportsSignal, this,
            &Taskmill_ResultWorker::ReportsSignal);
    connect(m_thread.get(), &QThread::finished, m_threadSide, &QObject::deleteLater);
    KilnUtil_StartThread(*m_thread, QThread::LowPriority);
}

Taskmill_ResultWorker::~Taskmill_ResultWorker()
{
    m_thread->requestInterruption();
    m_thread->quit();
    if (m_thread->wait(QDeadlineTimer{m_timeLimit}))
        return;
    // A drive that does not answer would hold up the program's end.
    qCWarning(Taskmill_ManagerLog, "An output is still being read: the program does not wait for that");
    QThread *thread = m_thread.release();
    connect(thread, &QThread::finished, thread, &QObject::deleteLater);
}

template <typename Function>
void Taskmill_ResultWorker::Run(const Function &function)
{
    QMetaObject::invokeMethod(m_threadSide, function, Qt::QueuedConnection);
}

void Taskmill_ResultWorker::Follow(qint64 number, const Taskmill_OutputFiles &files)
{
    Run([side = m_threadSide, number, files] { side->Follow(number, files); });
}

void Taskmill_ResultWorker::Alter(qint64 number, const Change &change, bool looksAtOnce)
{
    Run([side = m_threadSide, number, change, looksAtOnce] { side->Alter(number, change, looksAtOnce); });
}

void Taskmill_ResultWorker::Drop(qint64 number)
{
    Run([side = m_threadSide, number] { side->Drop(number); });
}

QList<Taskmill_ResultReport> Taskmill_ResultWorker::TakeReports()
{
    return m_mailbox->Take();
}

void Taskmill_ResultWorker::WaitForReports(std::chrono::milliseconds longest)
{
    m_mailbox->Wait(longest);
}

#include "resultworker.moc"
