// SPDX-License-Identifier: MIT
#include "jobs/startdecision.h"

#include "support/testcase.h"

#include <QRandomGenerator>

#include <deque>
#include <numeric>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr qint64 minute = 60'000;

struct Running
{
    int queue; ///< 2 for those without a queue
    Taskmill_WaitingJob job;
};

bool HasPlace(const Taskmill_WaitingQueue &queue)
{
    return !queue.IsPaused && queue.Running < queue.MaxRunningJobs;
}

/// What is free, as the rules say it; many for a budget without that limit.
Taskmill_BudgetLimits FreeIn(const Taskmill_StartQuestion &question)
{
    constexpr qint32 many = 1'000'000;
    const auto left = [](qint64 limit, qint64 inUse) {
        return limit == 0 ? qint64{many} : qMax<qint64>(limit - inUse, 0);
    };
    return {.Cores = static_cast<qint32>(left(question.Budget.Cores, question.CoresInUse)),
            .MemoryMB = left(question.Budget.MemoryMB, question.MemoryInUseMB)};
}

bool Fits(const Taskmill_WaitingJob &job, const Taskmill_BudgetLimits &free)
{
    return job.Cores <= free.Cores && job.MemoryMB <= free.MemoryMB;
}

bool HasWaitedLong(const Taskmill_WaitingJob &job, qint64 now)
{
    return job.AtHeadSince >= 0 && now - job.AtHeadSince >= 10 * minute;
}

bool IsCandidate(const Taskmill_StartQuestion &question, const Taskmill_WaitingJob &job)
{
    return !job.IsHeld && question.Budget.CanHold(job.Cores, job.MemoryMB);
}
} // namespace

/// Which waiting jobs start within a budget.
class TestStartDecision : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    /// A job is "cores", or "cores:MB", with "h" behind it when it is held, and "@N" when it is the first of
    /// its queue for N minutes. A queue is "running/limit" and its jobs, or "paused" and its jobs.
    void Decisions_data()
    {
        QTest::addColumn<QString>("budget");
        QTest::addColumn<QString>("inUse");
        QTest::addColumn<QStringList>("queues");
        QTest::addColumn<QString>("starts");
        QTest::addColumn<QStringList>("reasons");
        const auto add = [](const char *name, const QString &budget, const QString &inUse,
                            const QStringList &queues, const QString &starts, const QStringList &reasons) {
            QTest::newRow(name) << budget << inUse << queues << starts << reasons;
        };
        const QString limit9 = u"0/9 "_s;
        add("all that fit start at once", u"8"_s, u"0"_s, {limit9 + u"1 2 3"_s}, u"1 2 3"_s,
            {u""_s, u""_s, u""_s});
        add("what does not fit is overtaken", u"8"_s, u"4"_s, {limit9 + u"8 2 3 2"_s}, u"2 4"_s,
            {u"waits for 8 cores, 0 free"_s, u""_s, u"waits for 3 cores, 0 free"_s, u""_s});
        add("but not for ever", u"8"_s, u"4"_s, {limit9 + u"8@10 2"_s}, {},
            {u"waits for 8 cores, 4 free; what becomes free is kept for it"_s,
             u"waits for job 1, which has waited long"_s});
        add("until then", u"8"_s, u"4"_s, {limit9 + u"8@9 2"_s}, u"2"_s,
            {u"waits for 8 cores, 2 free"_s, u""_s});
        add("also by another queue", u"8"_s, u"4"_s, {limit9 + u"2"_s, limit9 + u"8@10"_s}, {},
            {u"waits for job 2, which has waited long"_s,
             u"waits for 8 cores, 4 free; what becomes free is kept for it"_s});
        add("what it does not need is not kept", u"8:1000"_s, u"4:500"_s, {limit9 + u"2:800@10 3 2 1:1"_s},
            u"3"_s,
            {u"waits for 800 MB, 500 MB free; what becomes free is kept for it"_s,
             u"waits for 3 cores, 2 free"_s, u""_s, u"waits for job 1, which has waited long"_s});
        add("a place in the queue is kept, too", u"8:1000"_s, u"4:500"_s, {u"1/2 1:800@10 1"_s}, {},
            {u"waits for 800 MB, 500 MB free; what becomes free is kept for it"_s, u""_s});
        add("who waits for a place keeps nothing", u"8"_s, u"4"_s, {u"1/1 8@10"_s, limit9 + u"2"_s}, u"2"_s,
            {u""_s, u""_s});
        add("nor does a paused queue", u"8"_s, u"4"_s, {u"paused 8@10"_s, limit9 + u"2"_s}, u"2"_s,
            {u""_s, u""_s});
        add("the limit of the queue counts", u"8"_s, u"1"_s, {u"1/2 1 1"_s}, u"1"_s, {u""_s, u""_s});
        add("what is larger holds up nobody", u"8"_s, u"0"_s, {u"0/1 9@99 1"_s}, u"2"_s,
            {u"larger than the budget (9 cores of 8)"_s, u""_s});
        add("nor does what is held", u"8"_s, u"0"_s, {u"0/1 8h@99 1"_s}, u"2"_s, {u""_s, u""_s});
        add("memory alone", u"0:1000"_s, u"9:0"_s, {limit9 + u"99:600 1:600 5"_s}, u"1 3"_s,
            {u""_s, u"waits for 600 MB, 400 MB free"_s, u""_s});
        add("both are missing", u"4:1000"_s, u"4:900"_s, {limit9 + u"1:200"_s}, {},
            {u"waits for 1 core, 0 free, and 200 MB, 100 MB free"_s});
        add("more in use than there is", u"2"_s, u"5"_s, {limit9 + u"1"_s}, {},
            {u"waits for 1 core, 0 free"_s});
        add("queues take turns", u"4"_s, u"0"_s, {limit9 + u"1 1 1 1"_s, limit9 + u"1 1 1"_s}, u"1 2 5 6"_s,
            {u""_s, u""_s, u"waits for 1 core, 0 free"_s, u"waits for 1 core, 0 free"_s, u""_s, u""_s,
             u"waits for 1 core, 0 free"_s});
        add("who has waited longer goes first", u"1"_s, u"0"_s, {limit9 + u"1@1"_s, limit9 + u"1@2"_s},
            u"2"_s, {u"waits for 1 core, 0 free"_s, u""_s});
    }

    void Decisions()
    {
        QFETCH(const QString, budget);
        QFETCH(const QString, inUse);
        QFETCH(const QStringList, queues);
        Taskmill_StartQuestion question;
        question.Now = 1000 * minute;
        question.Budget = {.Cores = budget.section(u':', 0, 0).toInt(),
                           .MemoryMB = budget.section(u':', 1).toLongLong()};
        question.CoresInUse = inUse.section(u':', 0, 0).toInt();
        question.MemoryInUseMB = inUse.section(u':', 1).toLongLong();
        qint32 number = 0;
        for (const QString &queue : queues)
            question.Queues.push_back(QueueFrom(queue, question.Now, number));

        const Taskmill_StartDecision decision = Taskmill_DecideStarts(question);
        QStringList starts;
        QStringList reasons;
        for (std::size_t queue = 0; queue < question.Queues.size(); ++queue) {
            for (const std::size_t position : decision.Queues[queue].Starts)
                starts += QString::number(question.Queues[queue].Waiting[position].JobID);
            for (const Taskmill_WaitReason &reason : decision.Queues[queue].Reasons)
                reasons += reason.Text();
        }
        QTEST(starts.join(u' '), "starts");
        QTEST(reasons, "reasons");
    }

    /// Random jobs come, go and are held, queues pause and the budget changes; each decision is compared with
    /// the rules, and in the end every job has run that fits.
    void TenThousandArrivalsAndEnds()
    {
        const quint32 seed = qEnvironmentVariableIsSet("TASKMILL_TEST_SEED")
                                 ? qEnvironmentVariable("TASKMILL_TEST_SEED").toUInt()
                                 : QRandomGenerator::global()->generate();
        qInfo("seed %u", seed);
        m_random.seed(seed);
        m_question = {};
        m_question.Budget = {.Cores = 8, .MemoryMB = 1000};
        m_question.Queues.resize(2);
        m_question.Queues[0].MaxRunningJobs = 3;
        m_question.Queues[1].MaxRunningJobs = 5;
        m_running.clear();
        m_nextJobID = 1;
        for (int step = 0; step < 10'000; ++step) {
            m_question.Now += Below(2 * static_cast<int>(minute));
            Change();
            DecideAndCheck();
            if (QTest::currentTestFailed())
                return;
        }
        LetAllEnd();
    }

private:
    static Taskmill_WaitingQueue QueueFrom(const QString &text, qint64 now, qint32 &number)
    {
        static const QRegularExpression pattern{u"^(\\d+)(?::(\\d+))?(h?)(?:@(\\d+))?$"_s};
        const QStringList words = text.split(u' ');
        Taskmill_WaitingQueue queue;
        queue.IsPaused = words[0] == "paused"_L1;
        queue.Running = words[0].section(u'/', 0, 0).toInt();
        queue.MaxRunningJobs = queue.IsPaused ? 9 : words[0].section(u'/', 1).toInt();
        for (const QString &word : words.mid(1)) {
            const QRegularExpressionMatch job = pattern.match(word);
            queue.Waiting.push_back(
                {.JobID = ++number,
                 .Cores = job.captured(1).toInt(),
                 .MemoryMB = job.captured(2).toLongLong(),
                 .AtHeadSince = job.hasCaptured(4) ? now - job.captured(4).toInt() * minute : -1,
                 .IsHeld = !job.captured(3).isEmpty()});
        }
        return queue;
    }

    int Below(int bound) { return static_cast<int>(m_random.bounded(bound)); }

    Taskmill_WaitingJob NewJob()
    {
        // Many small ones, so that a large one would never start if they always overtook it.
        const bool isLarge = Below(12) == 0;
        return {.JobID = m_nextJobID++,
                .Cores = isLarge ? 1 + Below(10) : 1 + Below(2),
                .MemoryMB = Below(3) == 0 ? 0
                            : isLarge     ? Below(1100)
                                          : Below(300)};
    }

    void Change()
    {
        const int what = Below(100);
        Taskmill_WaitingQueue &queue = m_question.Queues[static_cast<std::size_t>(Below(2))];
        if (what < 45 && queue.Waiting.size() < 60)
            queue.Waiting.push_back(NewJob());
        else if (what < 48)
            m_running.push_back({.queue = 2, .job = NewJob()});
        else if (what < 93 && !m_running.empty())
            m_running.erase(m_running.begin() + Below(static_cast<int>(m_running.size())));
        else if (what == 93)
            queue.IsPaused = !queue.IsPaused;
        else if (what == 94)
            queue.MaxRunningJobs = Below(7);
        else if (what == 95)
            m_question.Budget = {.Cores = 4 + Below(8), .MemoryMB = Below(2) == 0 ? 0 : 600 + Below(600)};
        else if (what < 98 && !queue.Waiting.empty())
            Any(queue).IsHeld = true;
        else if (!queue.Waiting.empty())
            Any(queue).IsHeld = false;
        CountRunning();
    }

    Taskmill_WaitingJob &Any(Taskmill_WaitingQueue &queue)
    {
        return queue.Waiting[static_cast<std::size_t>(Below(static_cast<int>(queue.Waiting.size())))];
    }

    void CountRunning()
    {
        m_question.CoresInUse = m_question.MemoryInUseMB = 0;
        for (Taskmill_WaitingQueue &queue : m_question.Queues)
            queue.Running = 0;
        for (const Running &running : m_running) {
            m_question.CoresInUse += running.job.Cores;
            m_question.MemoryInUseMB += running.job.MemoryMB;
            if (running.queue < 2)
                ++m_question.Queues[static_cast<std::size_t>(running.queue)].Running;
        }
    }

    void DecideAndCheck()
    {
        const Taskmill_StartQuestion before = m_question;
        const Taskmill_StartDecision decision = Taskmill_DecideStarts(before);
        Taskmill_BudgetLimits free = FreeIn(before);
        for (std::size_t queue = 0; queue < 2; ++queue)
            CheckStarts(before, queue, decision.Queues[queue], free);
        CarryOut(decision);
        for (std::size_t queue = 0; queue < 2; ++queue)
            CheckThoseLeft(before, queue, decision.Queues[queue]);
    }

    static void CheckStarts(const Taskmill_StartQuestion &question, std::size_t number,
                            const Taskmill_QueueDecision &decision, Taskmill_BudgetLimits &free)
    {
        const Taskmill_WaitingQueue &queue = question.Queues[number];
        for (const std::size_t position : decision.Starts) {
            const Taskmill_WaitingJob &job = queue.Waiting[position];
            QVERIFY(IsCandidate(question, job));
            QVERIFY2(Fits(job, free), "more was started than is free");
            free.Cores -= job.Cores;
            free.MemoryMB -= job.MemoryMB;
        }
        const auto places = queue.IsPaused ? 0 : qMax(queue.MaxRunningJobs - queue.Running, 0);
        QVERIFY2(decision.Starts.size() <= static_cast<std::size_t>(places), "more than the queue's limit");
        QVERIFY2(std::ranges::is_sorted(decision.Starts), "out of order");
    }

    /// After the starts, which are in m_question.
    void CheckThoseLeft(const Taskmill_StartQuestion &before, std::size_t number,
                        const Taskmill_QueueDecision &decision)
    {
        const Taskmill_BudgetLimits free = FreeIn(m_question);
        const QList<qint32> inNeed = InNeed(before);
        const auto hasStarted = [this](qint32 jobID) {
            return std::ranges::any_of(m_running,
                                       [jobID](const Running &one) { return one.job.JobID == jobID; });
        };
        // Also one before which another was released, and started at once.
        const auto hasWaitedLongAndWaits = [&] {
            return std::ranges::any_of(before.Queues, [&](const Taskmill_WaitingQueue &queue) {
                return std::ranges::any_of(queue.Waiting, [&](const Taskmill_WaitingJob &job) {
                    return HasWaitedLong(job, before.Now) && !hasStarted(job.JobID);
                });
            });
        };
        for (std::size_t position = 0; position < decision.Reasons.size(); ++position) {
            const Taskmill_WaitingJob &job = before.Queues[number].Waiting[position];
            const Taskmill_WaitReason &reason = decision.Reasons[position];
            if (std::ranges::find(decision.Starts, position) != decision.Starts.end())
                QVERIFY(reason.Why == Taskmill_WaitReason::Kind::None);
            else if (!job.IsHeld && !IsCandidate(before, job))
                QVERIFY(reason.Why == Taskmill_WaitReason::Kind::LargerThanBudget);
            else if (!job.IsHeld && HasPlace(m_question.Queues[number]) && Fits(job, free))
                QVERIFY2(hasWaitedLongAndWaits(), "it fits, and nobody has waited long");
        }
        // Nobody takes from the job that has waited longest what it needs.
        if (!inNeed.isEmpty() && !hasStarted(inNeed.first()) && !decision.Starts.empty())
            QVERIFY2(LeavesRoom(before, inNeed.first()), "what was to be kept is taken");
    }

    /// The first jobs of the queues that have waited long, and only for the budget; the oldest first, of two
    /// that are as old the one of the first queue.
    static QList<qint32> InNeed(const Taskmill_StartQuestion &question)
    {
        QMap<std::pair<qint64, std::size_t>, qint32> jobIDs;
        for (std::size_t number = 0; number < question.Queues.size(); ++number) {
            const Taskmill_WaitingQueue &queue = question.Queues[number];
            const auto first = std::ranges::find_if(
                queue.Waiting, [&](const Taskmill_WaitingJob &job) { return IsCandidate(question, job); });
            if (first != queue.Waiting.end() && HasPlace(queue) && HasWaitedLong(*first, question.Now))
                jobIDs.insert({first->AtHeadSince, number}, first->JobID);
        }
        return jobIDs.values();
    }

    /// Whether the job is as near to its start as before.
    bool LeavesRoom(const Taskmill_StartQuestion &before, qint32 jobID) const
    {
        const Taskmill_BudgetLimits wasFree = FreeIn(before);
        const Taskmill_BudgetLimits isFree = FreeIn(m_question);
        for (const Taskmill_WaitingQueue &queue : before.Queues) {
            const auto job = std::ranges::find(queue.Waiting, jobID, &Taskmill_WaitingJob::JobID);
            if (job != queue.Waiting.end())
                return isFree.Cores >= qMin(job->Cores, wasFree.Cores) &&
                       isFree.MemoryMB >= qMin(job->MemoryMB, wasFree.MemoryMB);
        }
        return false;
    }

    void CarryOut(const Taskmill_StartDecision &decision)
    {
        for (std::size_t number = 0; number < 2; ++number) {
            auto &waiting = m_question.Queues[number].Waiting;
            const Taskmill_QueueDecision &made = decision.Queues[number];
            for (std::size_t position = 0; position < waiting.size(); ++position) {
                if (position != made.Head)
                    waiting[position].AtHeadSince = -1;
                else if (waiting[position].AtHeadSince < 0)
                    waiting[position].AtHeadSince = m_question.Now;
            }
            for (const std::size_t position : made.Starts)
                m_running.push_back({.queue = static_cast<int>(number), .job = waiting[position]});
            std::erase_if(waiting, [&made, &waiting](const Taskmill_WaitingJob &job) {
                const auto position = static_cast<std::size_t>(&job - waiting.data());
                return std::ranges::find(made.Starts, position) != made.Starts.end();
            });
        }
        CountRunning();
    }

    /// Nothing comes any more, and one job after the other ends: everything that fits has its turn.
    void LetAllEnd()
    {
        for (Taskmill_WaitingQueue &queue : m_question.Queues) {
            queue.IsPaused = false;
            queue.MaxRunningJobs = 2;
            for (Taskmill_WaitingJob &job : queue.Waiting)
                job.IsHeld = false;
        }
        while (true) {
            DecideAndCheck();
            if (QTest::currentTestFailed() || m_running.empty())
                break;
            m_running.pop_front();
            CountRunning();
        }
        for (const Taskmill_WaitingQueue &queue : m_question.Queues) {
            for (const Taskmill_WaitingJob &job : queue.Waiting)
                QVERIFY(!IsCandidate(m_question, job));
        }
    }

    QRandomGenerator m_random;
    Taskmill_StartQuestion m_question;
    std::deque<Running> m_running;
    qint32 m_nextJobID = 1;
};

QTEST_GUILESS_MAIN(TestStartDecision)
#include "test_startdecision.moc"
