// SPDX-License-Identifier: MIT
// Stands in for the system's tool of that name. In the directory that TASKMILL_STANDIN_DIR names it appends
// its arguments, each followed by "|", to the file "runs"; asked for a list, it prints the file "listing".
// With a file "hang" there it does not end.

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <thread>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#endif

int main(int argc, char **argv)
{
#ifdef _WIN32
    _setmode(_fileno(stdout), _O_BINARY);
#endif
    const char *place = std::getenv("TASKMILL_STANDIN_DIR");
    const std::filesystem::path directory = place ? place : ".";
    std::string line;
    for (int i = 1; i < argc; ++i)
        line += std::string{argv[i]} + '|';
    std::ofstream{directory / "runs", std::ios::app | std::ios::binary} << line << '\n';
    if (argc > 2 && std::string{argv[2]} == "get")
        std::cout << std::ifstream{directory / "listing", std::ios::binary}.rdbuf() << std::flush;
    while (std::filesystem::exists(directory / "hang"))
        std::this_thread::sleep_for(std::chrono::milliseconds{10});
    return 0;
}
