// SPDX-License-Identifier: MIT
// Measures a manager in console mode on whole lives of jobs, from outside: start, memory, idleness,
// submissions and the turn-round of jobs, against plain system calls and other spoolers in the same run.

#include "manager.h"
#include "report.h"
#include "rivals.h"

#include <QCoreApplication>
#include <QThread>

namespace {
using Bench::Manager;

double BareLoopMs(int count)
{
    return Bench::MilliSeconds([count] {
               for (int i = 0; i < count; ++i)
                   Bench::Run({"/bin/true"});
           }) /
           count;
}

void MeasureStartAndIdleness(Bench::Report &report)
{
    report.Title("A manager that has nothing to do");
    const Manager manager{Manager::Mode::Console};
    report.Add("start to listening", manager.StartMilliSeconds(), "ms");
    report.Add("resident memory", manager.ResidentMegabytes(), "MB", 50);
    // What start-up has left to the event loop is over by then.
    QThread::sleep(1);
    const Manager::Work before = manager.WorkSoFar();
    const int seconds = report.Quick() ? 2 : 10;
    QThread::sleep(static_cast<unsigned long>(seconds));
    const Manager::Work after = manager.WorkSoFar();
    report.Add("idle: wake-ups a second", static_cast<double>(after.WakeUps - before.WakeUps) / seconds, "");
    report.Add("idle: processor time a second",
               static_cast<double>(after.Ticks - before.Ticks) * 10 / seconds, "ms");
}

/// The time of one job through one slot, the submissions not counted.
double TurnRoundMs(int jobs)
{
    const Manager manager{Manager::Mode::Console};
    const Bench::NotificationSink sink;
    manager.Submit(Manager::Request(manager.File("gate.dat"), sink.Port()), true);
    for (int i = 0; i < jobs; ++i)
        manager.Submit(manager.TrueRequest(sink.Port()), true);
    manager.OpenGate();
    const QList<qint64> ends = sink.Take(jobs + 1);
    return static_cast<double>(ends.last() - ends.first()) / 1e6 / jobs;
}

void MeasureTurnRound(Bench::Report &report, const Bench::RivalTimes &tsp, const Bench::RivalTimes &nq)
{
    report.Title("Turn-round of a job through one slot, with its notification");
    const int jobs = report.Quick() ? 300 : 1000;
    QList<double> bare;
    QList<double> ours;
    for (int round = 0; round < 3; ++round) {
        bare.append(BareLoopMs(jobs));
        ours.append(TurnRoundMs(jobs));
    }
    bare.append(BareLoopMs(jobs));
    const double time = Bench::Median(ours);
    report.Add("turn-round", time, "ms", {"bare spawn-and-wait loop", Bench::Median(bare), 2});
    if (tsp.TurnRound > 0)
        report.Add("turn-round", time, "ms", {"tsp", tsp.TurnRound, 1});
    if (nq.TurnRound > 0)
        report.Add("turn-round", time, "ms", {"nq", nq.TurnRound, 0});
}

/// The time of one request, a connection each, until the manager has handled the last.
double SubmissionMs(const Manager &manager, int count, bool answered)
{
    const QByteArray request = Manager::Request(manager.File("plain.dat"));
    return Bench::MilliSeconds([&] {
               for (int i = 1; i <= count; ++i)
                   manager.Submit(request, answered || i == count);
           }) /
           count;
}

void MeasureSubmissions(Bench::Report &report, const Bench::RivalTimes &tsp, const Bench::RivalTimes &nq)
{
    report.Title("Submission of a job, a connection each");
    const int count = report.Quick() ? 2000 : 10000;
    const Manager manager{Manager::Mode::Console};
    manager.Submit(Manager::Request(manager.File("gate.dat")), true);
    const double sent = SubmissionMs(manager, count, false);
    report.Add("one request after the other", sent, "ms");
    if (tsp.Submission > 0)
        report.Add("one request after the other", sent, "ms", {"tsp", tsp.Submission, 0.1});
    if (nq.Submission > 0)
        report.Add("one request after the other", sent, "ms", {"nq", nq.Submission, 0});
    report.Add("each waiting for its answer", SubmissionMs(manager, count, true), "ms");
    report.Add("resident memory with these jobs", manager.ResidentMegabytes(), "MB");

    const QByteArray port = QByteArray::number(manager.Port());
    const int commands = 50;
    const double command = Bench::MilliSeconds([&] {
                               for (int i = 0; i < commands; ++i)
                                   Bench::Run({TASKMILL_CTL, "submit", "--console", "--port", port, "--type",
                                               "Veltra", manager.File("plain.dat")});
                           }) /
                           commands;
    if (tsp.Submission > 0)
        report.Add("taskmillctl submit", command, "ms", {"tsp", tsp.Submission, 3});
    else
        report.Add("taskmillctl submit", command, "ms");
}
} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application{argc, argv};
    Bench::Report report{Bench::Options::Read(argc, argv)};
    MeasureStartAndIdleness(report);
    const Bench::RivalTimes tsp = Bench::MeasureTsp(report.Quick() ? 200 : 800);
    const Bench::RivalTimes nq = Bench::MeasureNq(report.Quick() ? 50 : 150);
    MeasureTurnRound(report, tsp, nq);
    MeasureSubmissions(report, tsp, nq);
    return 0;
}
