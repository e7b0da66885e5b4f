// SPDX-License-Identifier: MIT
// Measures the keepers of jobs: turn-round against a bare loop, memory, many at once, a kill, much output.
//   bench_keeper KEEPER [ROUNDS]

#include "wire/nursery.h"
#include "wire/runoutput.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
using Clock = std::chrono::steady_clock;
constexpr int waitMs = 60'000;

double UsSince(Clock::time_point begin)
{
    return std::chrono::duration<double, std::micro>(Clock::now() - begin).count();
}

double Median(std::vector<double> values)
{
    std::ranges::sort(values);
    return values[values.size() / 2];
}

double Bare()
{
    const Clock::time_point begin = Clock::now();
    pid_t child = -1;
    char name[] = "/bin/true";
    char *arguments[] = {name, nullptr};
    posix_spawn(&child, name, nullptr, nullptr, arguments, environ);
    siginfo_t info{};
    waitid(P_PID, static_cast<id_t>(child), &info, WEXITED);
    return UsSince(begin);
}

Taskmill_RunOrder Order(const std::string &program, const std::vector<std::string> &arguments = {})
{
    Taskmill_RunOrder order;
    order.runID = Taskmill_NewRunID();
    order.program = program;
    order.arguments = arguments;
    for (char **variable = environ; *variable; ++variable)
        order.environment.emplace_back(*variable);
    order.directory = "/";
    return order;
}

Taskmill_RunReport WaitFor(Taskmill_RunConnection &run, Taskmill_RunReport::Kind kind)
{
    Taskmill_RunReport report;
    do
        report = run.Receive(waitMs);
    while (report.kind != kind && run.IsOpen());
    return report;
}

double Kept(Taskmill_Nursery &nursery)
{
    const Clock::time_point begin = Clock::now();
    Taskmill_RunConnection run = nursery.StartRun(Order("/bin/true"));
    if (WaitFor(run, Taskmill_RunReport::Kind::Ended).kind != Taskmill_RunReport::Kind::Ended)
        std::printf("lost\n");
    return UsSince(begin);
}

void PrintMemory(long long process, const char *what)
{
    std::ifstream file{"/proc/" + std::to_string(process) + "/smaps_rollup"};
    long long own = 0;
    long long share = 0;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("Private_"))
            own += std::atoll(line.c_str() + line.find(':') + 1);
        if (line.starts_with("Pss:"))
            share = std::atoll(line.c_str() + line.find(':') + 1);
    }
    std::printf("%s: %lld kB of its own, %lld kB with its share\n", what, own, share);
}

long long ParentOf(long long process)
{
    std::ifstream file{"/proc/" + std::to_string(process) + "/stat"};
    std::string text;
    std::getline(file, text);
    return std::atoll(text.c_str() + text.rfind(')') + 4);
}

void MeasureMany(Taskmill_Nursery &nursery, int count)
{
    Clock::time_point begin = Clock::now();
    std::vector<Taskmill_RunConnection> runs;
    for (int i = 0; i < count; ++i)
        runs.push_back(nursery.StartRun(Order("/bin/sleep", {"1000"})));
    long long process = 0;
    for (Taskmill_RunConnection &run : runs)
        process = WaitFor(run, Taskmill_RunReport::Kind::Started).processID;
    std::printf("%d started: %.0f ms\n", count, UsSince(begin) / 1000);
    PrintMemory(ParentOf(process), "one of them");
    begin = Clock::now();
    for (const Taskmill_RunConnection &run : runs)
        run.Kill(2000);
    int ended = 0;
    for (Taskmill_RunConnection &run : runs)
        ended +=
            WaitFor(run, Taskmill_RunReport::Kind::Ended).kind == Taskmill_RunReport::Kind::Ended ? 1 : 0;
    std::printf("%d of them killed: %.0f ms\n", ended, UsSince(begin) / 1000);
}

void MeasureOutput(Taskmill_Nursery &nursery, const std::string &folder)
{
    const Clock::time_point begin = Clock::now();
    const Taskmill_RunOrder order = Order("/bin/sh", {"-c", "head -c 300000000 /dev/zero"});
    Taskmill_RunConnection run = nursery.StartRun(order);
    const Taskmill_RunReport report = WaitFor(run, Taskmill_RunReport::Kind::Ended);
    std::printf("%lld bytes of output: %.0f ms, file of %lld bytes\n", report.end.outputBytes,
                UsSince(begin) / 1000,
                static_cast<long long>(std::filesystem::file_size(folder + "/out/" + order.runID)));
}
} // namespace

int main(int argc, char **argv)
{
    if (argc < 2)
        return 2;
    const int rounds = argc > 2 ? std::atoi(argv[2]) : 1000;
    char folder[] = "/var/tmp/bench-keeper-XXXXXX";
    if (!mkdtemp(folder))
        return 1;
    auto nursery = Taskmill_Nursery::Start(argv[1], folder, waitMs);
    if (!nursery)
        return 1;
    std::vector<double> bare;
    std::vector<double> kept;
    for (int i = 0; i < rounds; ++i) {
        bare.push_back(Bare());
        kept.push_back(Kept(*nursery));
    }
    std::printf("bare loop %.0f us, with a keeper %.0f us: %.2f\n", Median(bare), Median(kept),
                Median(kept) / Median(bare));
    PrintMemory(nursery->ProcessID(), "the nursery");
    MeasureMany(*nursery, 1);
    MeasureMany(*nursery, 500);
    MeasureOutput(*nursery, folder);
    std::filesystem::remove_all(folder);
}
