// SPDX-License-Identifier: MIT
// The program that the measured jobs run. Its last argument is the input file. "gate.dat" waits until the
// file "go" stands beside it; "stamp.dat" appends when it began and ended to the file "stamps"; any other
// does nothing.

#include <string>
#include <string_view>

#include <ctime>
#include <fcntl.h>
#include <unistd.h>

namespace {
long long Now()
{
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time.tv_sec * 1'000'000'000LL + time.tv_nsec;
}
} // namespace

int main(int argc, char **argv)
{
    long long times[2] = {Now(), 0};
    const std::string file = argc > 1 ? argv[argc - 1] : "";
    const std::string directory = file.substr(0, file.rfind('/') + 1);
    if (file.ends_with("gate.dat")) {
        while (access((directory + "go").c_str(), F_OK) != 0)
            usleep(1000);
    }
    if (file.ends_with("stamp.dat")) {
        const int stamps = open((directory + "stamps").c_str(), O_WRONLY | O_APPEND | O_CREAT, 0600);
        times[1] = Now();
        if (stamps < 0 || write(stamps, times, sizeof times) != sizeof times)
            return 1;
    }
    _exit(0);
}
