// SPDX-License-Identifier: MIT
// Measures a manager with many running jobs, each with a keeper: how long the event loop is held while they
// start, are killed and end, and by the end of a job that wrote much; what they need of memory.

#include "report.h"

#include "db/database.h"
#include "kilnutil/filesys.h"
#include "kilnutil/registry.h"
#include "manager/manager.h"
#include "processes/runkeepers.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <ctime>
#include <functional>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr double mostForATurn = 10; // ms
constexpr double mostMegabytes = 100;
constexpr double mostOfKeeper = 0.5; // MB

/// Of this thread: what other programs do meanwhile does not count.
double ProcessorMs()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

/// The longest turn of the event loop, in ms of processor time: waiting costs none.
class TurnClock : public QObject
{
public:
    TurnClock()
    {
        connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::awake, this, [this] {
            const double now = ProcessorMs();
            m_longest = std::max(m_longest, now - std::exchange(m_begin, now));
        });
    }
    /// Since it was asked the last time; not of a turn that goes on.
    double Take()
    {
        m_begin = ProcessorMs();
        return std::exchange(m_longest, 0);
    }

private:
    double m_begin = ProcessorMs();
    double m_longest = 0;
};

class NoNotifier : public QObject, public Taskmill_Notifier
{
public:
    void Send(const Taskmill_Notification &, std::chrono::milliseconds, Done done) override
    {
        QTimer::singleShot(0, this, [done] { done(Outcome::Delivered, {}); });
    }
    void Abort() override {}
};

void WaitUntil(const std::function<bool()> &isDone)
{
    QElapsedTimer timer;
    timer.start();
    constexpr int patienceMs = 300'000;
    while (!isDone() && timer.elapsed() < patienceMs)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents);
    if (!isDone())
        qFatal("the jobs do not get on");
}

/// The sum of one line of a file of /proc, in MB.
double Megabytes(const QString &file, const QByteArray &line)
{
    QFile status{file};
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &text : status.readAll().split('\n')) {
        if (text.startsWith(line))
            return text.simplified().split(' ').value(1).toDouble() / 1024;
    }
    return 0;
}

/// What only that process needs, on the average of the processes of that name.
double PrivateMegabytes(const QByteArray &name)
{
    double sum = 0;
    int count = 0;
    for (const QString &process : QDir{u"/proc"_s}.entryList({u"[0-9]*"_s}, QDir::Dirs)) {
        QFile comm{u"/proc/%1/comm"_s.arg(process)};
        if (!comm.open(QIODevice::ReadOnly) || comm.readAll().trimmed() != name.left(15))
            continue;
        const QString rollup = u"/proc/%1/smaps_rollup"_s.arg(process);
        sum += Megabytes(rollup, "Private_Clean:") + Megabytes(rollup, "Private_Dirty:");
        ++count;
    }
    return count > 0 ? sum / count : 0;
}

/// A manager with an empty project, whose jobs are shell scripts that start at once.
class Shells
{
public:
    explicit Shells(const QString &keeper)
        : m_manager{m_notifier, Taskmill_ReadOnlyProjects::Open,
                    KilnUtil_RunKeepers::Make(keeper, m_directory.filePath(u"runs"_s))}
    {
        if (!m_manager.HasKeepers() || !m_manager.Project().NewProject())
            qFatal("no keepers or no project");
        m_manager.SetEnding(Taskmill_Ending::AskedToEnd);
    }
    ~Shells() { m_manager.ShutDown(); }
    Q_DISABLE_COPY_MOVE(Shells)

    /// Of such jobs, which are submitted by their name.
    void AddScript(const QString &name, const QString &script)
    {
        Taskmill_JobType jobType;
        jobType.Name = name;
        jobType.ApplicationName = u"sh"_s;
        jobType.ExecutablePath = u"/bin/sh"_s;
        jobType.GenericCommandLine = u"@EXEFILE -c \"%1\""_s.arg(script);
        m_manager.JobTypes().Add(jobType);
    }
    void Submit(const QString &script)
    {
        Taskmill_JobRequest request;
        request.JobTypeName = script;
        request.JobQueue = u"none"_s;
        request.JobInputFile = u"/bin/sh"_s;
        if (m_manager.Submitter().Submit(request).JobIDs.size() != 1)
            qFatal("the job is refused");
    }
    [[nodiscard]] const QList<Taskmill_Job *> &Running()
    {
        return m_manager.Destinations().Queueless().Jobs().Jobs();
    }
    void KillAll()
    {
        QList<int> jobIDs;
        for (const Taskmill_Job *job : Running())
            jobIDs.append(job->JobID());
        m_manager.Destinations().Queueless().RemoveNow(jobIDs);
    }
    [[nodiscard]] bool AllHaveEnded() { return Running().isEmpty(); }

private:
    QTemporaryDir m_directory;
    NoNotifier m_notifier;
    Taskmill_Manager m_manager;
};

void MeasureManyJobs(Bench::Report &report, const QString &keeper)
{
    const int count = report.Quick() ? 100 : 500;
    report.Title("Many running jobs");
    Shells shells{keeper};
    shells.AddScript(u"wait"_s, u"exec sleep 600"_s);
    TurnClock turns;
    (void)turns.Take();
    int left = count;
    QTimer next;
    QObject::connect(&next, &QTimer::timeout, [&] {
        shells.Submit(u"wait"_s);
        if (--left == 0)
            next.stop();
    });
    next.start(0);
    WaitUntil([&] {
        return left == 0 && std::ranges::all_of(shells.Running(),
                                                [](const Taskmill_Job *job) { return job->ProcessID() > 0; });
    });
    report.Add("start of one: longest turn", turns.Take(), "ms", mostForATurn);
    report.Add("running jobs", count, "");
    report.Add("resident memory of the manager", Megabytes(u"/proc/self/status"_s, "VmRSS:"), "MB",
               mostMegabytes);
    report.Add("memory of a keeper of its own", PrivateMegabytes("taskmill-keeper"), "MB", mostOfKeeper);
    // Looking at the keepers has taken a while.
    (void)turns.Take();
    QTimer::singleShot(0, qApp, [&] { shells.KillAll(); });
    WaitUntil([&] { return shells.AllHaveEnded(); });
    report.Add("kill of all: longest turn", turns.Take(), "ms", mostForATurn);
}

void MeasureLongOutput(Bench::Report &report, const QString &keeper)
{
    const int megabytes = report.Quick() ? 300 : 5000;
    report.Title("A job that writes much");
    Shells shells{keeper};
    shells.AddScript(u"write"_s, u"yes | head -c %1M"_s.arg(megabytes));
    TurnClock turns;
    QTimer::singleShot(0, qApp, [&] { shells.Submit(u"write"_s); });
    (void)turns.Take();
    QCoreApplication::processEvents();
    WaitUntil([&] { return shells.AllHaveEnded(); });
    QCoreApplication::processEvents();
    report.Add("output", megabytes, "MB");
    report.Add("its end: longest turn", turns.Take(), "ms", mostForATurn);
    report.Add("resident memory of the manager", Megabytes(u"/proc/self/status"_s, "VmRSS:"), "MB",
               mostMegabytes);
}
} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application{argc, argv};
    const QTemporaryDir surroundings;
    qputenv("XDG_STATE_HOME", surroundings.path().toLocal8Bit());
    qputenv("TASKMILLPREFS_DIR", surroundings.path().toLocal8Bit());
    Bench::Report report{Bench::Options::Read(argc, argv)};
    const QString keeper = QStringLiteral(TASKMILL_KEEPER);
    MeasureManyJobs(report, keeper);
    MeasureLongOutput(report, keeper);
    return 0;
}
