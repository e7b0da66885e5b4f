// SPDX-License-Identifier: MIT
#include "rivals.h"

#include "manager.h"
#include "report.h"

#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>

using namespace Qt::Literals::StringLiterals;

namespace {
/// How a spooler is made to take a job, and to wait until it has none.
struct Spooler
{
    QByteArray Program;
    QList<QByteArray> Submit;
    QList<QByteArray> WaitForAll;
};

Bench::RivalTimes Measure(const Spooler &spooler, int jobs, const QString &directory)
{
    if (QStandardPaths::findExecutable(QString::fromLatin1(spooler.Program)).isEmpty())
        return {};
    const QByteArray gate = QFile::encodeName(directory + u"/gate.dat"_s);
    Bench::Run(spooler.Submit + QList<QByteArray>{TASKMILL_BENCH_JOB, gate});
    Bench::RivalTimes times;
    times.Submission = Bench::MilliSeconds([&] {
                           for (int i = 0; i < jobs; ++i)
                               Bench::Run(spooler.Submit + QList<QByteArray>{"/bin/true"});
                       }) /
                       jobs;
    QFile go{directory + u"/go"_s};
    if (!go.open(QIODevice::WriteOnly))
        qFatal("cannot open the gate");
    times.TurnRound = Bench::MilliSeconds([&] { Bench::Run(spooler.WaitForAll); }) / jobs;
    return times;
}
} // namespace

namespace Bench {
RivalTimes MeasureTsp(int jobs)
{
    const QTemporaryDir directory;
    qputenv("TS_SOCKET", QFile::encodeName(directory.filePath(u"socket"_s)));
    qputenv("TS_MAXFINISHED", "100000");
    const RivalTimes times = Measure({"tsp", {"tsp", "-n"}, {"tsp", "-w"}}, jobs, directory.path());
    if (times.Submission > 0)
        Run({"tsp", "-K"});
    qunsetenv("TS_SOCKET");
    return times;
}

RivalTimes MeasureNq(int jobs)
{
    const QTemporaryDir directory;
    qputenv("NQDIR", QFile::encodeName(directory.path()));
    const RivalTimes times = Measure({"nq", {"nq", "-q"}, {"nq", "-w"}}, jobs, directory.path());
    qunsetenv("NQDIR");
    return times;
}
} // namespace Bench
