// SPDX-License-Identifier: MIT
#include "support/testprogram_system.h"

#include <cstdlib>
#include <vector>

#include <unistd.h>

namespace {
std::string programPath;
}

int TestProgramSystem::ProcessId()
{
    return static_cast<int>(getpid());
}

void TestProgramSystem::StartCopy(std::span<const std::string> arguments)
{
    std::vector<std::string> texts{programPath};
    texts.insert(texts.end(), arguments.begin(), arguments.end());
    std::vector<char *> pointers;
    for (std::string &text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    if (fork() == 0) {
        execv(pointers[0], pointers.data());
        _exit(127);
    }
}

void TestProgramSystem::LeaveSession()
{
    setsid();
}

void TestProgramSystem::Crash()
{
    std::abort();
}

int main(int argc, char **argv)
{
    programPath = argv[0];
    return RunTestProgram(std::vector<std::string>{argv, argv + argc});
}
