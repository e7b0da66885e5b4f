// SPDX-License-Identifier: MIT
#include "kilnutil/filethread.h"

#include "kilnutil/logging.h"
#include "kilnutil/threadstart.h"

#include <QDeadlineTimer>
#include <QMutex>
#include <QThread>
#include <QWaitCondition>

#include <optional>
#include <utility>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {
/// A thread that has not come back for so long is on a drive that does not answer: the next file has another.
constexpr auto longestWait = 2s;
constexpr auto longestWaitAtEnd = 200ms;
/// Of threads that nobody waits for; then files wait for one another.
constexpr int mostStuck = 16;
int g_stuck = 0;
} // namespace

struct KilnUtil_FileThread::Shared
{
    QMutex mutex;
    QWaitCondition hasWork;
    Read next;
    qint64 number = 0;                    ///< of what was asked for last
    KilnUtil_FileThread *owner = nullptr; ///< null when it has let go of the thread
    QDeadlineTimer answersBy;             ///< while it reads
    bool isReading = false;
    std::optional<Deliver> answer; ///< to what was asked for last
    QWaitCondition hasAnswer;

    void Run();
    void DeliverLater(qint64 ofNumber) const;
};

void KilnUtil_FileThread::Shared::Run()
{
    QMutexLocker lock{&mutex};
    while (owner) {
        if (!next) {
            hasWork.wait(&mutex);
            continue;
        }
        const Read read = std::exchange(next, {});
        const qint64 ofNumber = number;
        isReading = true;
        answersBy = QDeadlineTimer{longestWait};
        lock.unlock();
        const Deliver deliver = read();
        lock.relock();
        isReading = false;
        if (!owner || ofNumber != number)
            continue;
        answer = deliver;
        hasAnswer.wakeAll();
        DeliverLater(ofNumber);
    }
}

/// The owner cannot go meanwhile: it takes the lock first.
void KilnUtil_FileThread::Shared::DeliverLater(qint64 ofNumber) const
{
    QMetaObject::invokeMethod(
        owner,
        [receiver = owner, ofNumber] {
            if (receiver->m_number == ofNumber)
                receiver->Wait(0ms);
        },
        Qt::QueuedConnection);
}

KilnUtil_FileThread::KilnUtil_FileThread(QObject *parent)
    : QObject{parent}
{
}

KilnUtil_FileThread::~KilnUtil_FileThread()
{
    LetGo(longestWaitAtEnd);
}

void KilnUtil_FileThread::Start()
{
    m_shared = std::make_shared<Shared>();
    m_shared->owner = this;
    m_thread.reset(QThread::create([shared = m_shared] { shared->Run(); }));
    m_thread->setObjectName(u"files"_s);
    KilnUtil_StartThread(*m_thread);
}

void KilnUtil_FileThread::LetGo(std::chrono::milliseconds longestWait)
{
    if (!m_shared)
        return;
    {
        const QMutexLocker lock{&m_shared->mutex};
        m_shared->owner = nullptr;
        m_shared->next = {};
        m_shared->hasWork.wakeAll();
    }
    m_shared.reset();
    if (m_thread->wait(QDeadlineTimer{longestWait})) {
        m_thread.reset();
        return;
    }
    qCWarning(KilnUtil_UtilLog, "A file is still being read: the program does not wait for its drive");
    QThread *thread = m_thread.release();
    ++g_stuck;
    connect(thread, &QThread::finished, thread, [thread] {
        --g_stuck;
        thread->deleteLater();
    });
}

void KilnUtil_FileThread::Run(const Read &read)
{
    if (m_shared) {
        QMutexLocker lock{&m_shared->mutex};
        const bool isStuck = m_shared->isReading && m_shared->answersBy.hasExpired();
        lock.unlock();
        if (isStuck && g_stuck < mostStuck)
            LetGo(0ms);
    }
    if (!m_shared)
        Start();
    m_isBusy = true;
    const QMutexLocker lock{&m_shared->mutex};
    m_shared->number = ++m_number;
    m_shared->answer.reset();
    m_shared->next = read;
    m_shared->hasWork.wakeAll();
}

void KilnUtil_FileThread::Wait(std::chrono::milliseconds longest)
{
    const QDeadlineTimer deadline{longest};
    if (!m_isBusy)
        return;
    std::optional<Deliver> answer;
    {
        const QMutexLocker lock{&m_shared->mutex};
        while (!m_shared->answer && m_shared->hasAnswer.wait(&m_shared->mutex, deadline)) {
        }
        answer = std::exchange(m_shared->answer, std::nullopt);
    }
    if (!answer)
        return;
    m_isBusy = false;
    (*answer)();
}

void KilnUtil_FileThread::LeaveAlone()
{
    Forget();
    LetGo(0ms);
}

void KilnUtil_FileThread::Forget()
{
    m_isBusy = false;
    ++m_number;
    if (!m_shared)
        return;
    const QMutexLocker lock{&m_shared->mutex};
    m_shared->number = m_number;
    m_shared->answer.reset();
    m_shared->next = {};
}
