// SPDX-License-Identifier: MIT
// The small pieces that each job passes through.

#include "db/database.h"
#include "jobs/commandline.h"
#include "jobs/jobqueue.h"
#include "jobs/startdecision.h"
#include "requests/requestmessage.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {
Taskmill_JobRecord Job(int number)
{
    Taskmill_JobRecord job;
    job.JobID = number;
    job.Name = u"water.mop"_s;
    job.JobType = {.JobTypeID = 0,
                   .Name = u"MOPAC"_s,
                   .ApplicationName = u"mopac"_s,
                   .ExecutablePath = u"/usr/bin/mopac"_s,
                   .DefaultQueue = u"Long"_s,
                   .GenericCommandLine = u"@EXEFILE @INFILE @OUTFILE"_s,
                   .InputFileFilter = u"MOPAC Input (*.mop)"_s,
                   .OutputFileFilter = u"MOPAC Output (*.out)"_s,
                   .EnvironmentVariables = {}};
    job.QueueName = u"Long"_s;
    job.InputFilePath = u"/home/chemist/water.mop"_s;
    job.SetStatus(Taskmill_JobStatus::Pending, true);
    return job;
}

std::unique_ptr<Taskmill_Database> WaitingJobs(int count)
{
    using Database = Taskmill_Database;
    auto database = std::make_unique<Database>(Database::SQLiteMemory, QString{}, u"QSQLITE"_s, QString{},
                                               QString{}, QString{}, QString{}, QString{});
    for (int number = 0; number < count; ++number)
        database->InsertLongJob(Job(number), true);
    return database;
}

void RecordAndDeleteAJob(benchmark::State &state)
{
    const int count = static_cast<int>(state.range(0));
    const auto database = WaitingJobs(count);
    const Taskmill_JobRecord job = Job(count);
    for ([[maybe_unused]] auto round : state) {
        database->InsertLongJob(job, true);
        database->DeleteLongJob(count);
    }
}
BENCHMARK(RecordAndDeleteAJob)->Arg(10)->Arg(10'000)->Arg(100'000);

void StoreTheLastNumber(benchmark::State &state)
{
    const auto database = WaitingJobs(1);
    int number = 0;
    for ([[maybe_unused]] auto round : state)
        database->SetGeneralData(u"LastJobID"_s, QString::number(++number));
}
BENCHMARK(StoreTheLastNumber);

void ParseARequest(benchmark::State &state)
{
    const QByteArray request = "clientname=bench\nclientappname=bench\naction=submitjob\njobtypename=MOPAC\n"
                               "jobinputfile=/home/chemist/water.mop\n@NPROCS=4\n";
    for ([[maybe_unused]] auto round : state)
        benchmark::DoNotOptimize(Taskmill_RequestMessage::Parse(request));
}
BENCHMARK(ParseARequest);

void PlanALaunch(benchmark::State &state)
{
    const Taskmill_JobRecord job = Job(1);
    for ([[maybe_unused]] auto round : state)
        benchmark::DoNotOptimize(Taskmill_PlanLaunch(job));
}
BENCHMARK(PlanALaunch);

void ReadATime(benchmark::State &state)
{
    const QString text = u"2026-11-21T08:30:00"_s;
    for ([[maybe_unused]] auto round : state)
        benchmark::DoNotOptimize(Taskmill_JobTime::FromIsoText(text));
}
BENCHMARK(ReadATime);

void ChooseTheNextJob(benchmark::State &state)
{
    std::vector<std::unique_ptr<Taskmill_Job>> owned;
    QList<Taskmill_Job *> jobs;
    for (int number = 0; number < state.range(0); ++number)
        jobs.append(owned.emplace_back(std::make_unique<Taskmill_Job>(Job(number))).get());
    for ([[maybe_unused]] auto round : state)
        benchmark::DoNotOptimize(Taskmill_NextJobToStart(jobs, 1));
}
BENCHMARK(ChooseTheNextJob)->Arg(10)->Arg(10'000);

/// Of jobs of all sizes, none of which fits: each is looked at.
void DecideWhichJobsStart(benchmark::State &state)
{
    Taskmill_StartQuestion question{
        .Budget = {.Cores = 64, .MemoryMB = 64'000}, .CoresInUse = 63, .MemoryInUseMB = 1, .Queues = {}};
    question.Queues.resize(2);
    for (Taskmill_WaitingQueue &queue : question.Queues)
        queue.MaxRunningJobs = 64;
    for (int number = 0; number < state.range(0); ++number)
        question.Queues[static_cast<std::size_t>(number % 2)].Waiting.push_back(
            {.JobID = number + 1, .Cores = 2 + number % 30, .MemoryMB = number % 7 * 1000});
    for ([[maybe_unused]] auto round : state)
        benchmark::DoNotOptimize(Taskmill_DecideStarts(question));
}
BENCHMARK(DecideWhichJobsStart)->Arg(10)->Arg(10'000);
} // namespace

BENCHMARK_MAIN();
