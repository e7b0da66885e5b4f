// SPDX-License-Identifier: MIT
#include "ctl/platform.h"

#include <filesystem>
#include <system_error>

#include <sys/ioctl.h>
#include <unistd.h>

std::vector<std::string> Taskmill_CtlPlatform::Arguments(int argc, char **argv)
{
    return argc > 0 ? std::vector<std::string>{argv + 1, argv + argc} : std::vector<std::string>{};
}

void Taskmill_CtlPlatform::Write(std::FILE *stream, const std::string &text)
{
    std::fwrite(text.data(), 1, text.size(), stream);
    // Whoever reads through a pipe sees each result when it is known.
    std::fflush(stream);
}

bool Taskmill_CtlPlatform::IsReadable(const std::string &path)
{
    return access(path.c_str(), R_OK) == 0;
}

int Taskmill_CtlPlatform::TerminalWidth()
{
    winsize size{};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

long long Taskmill_CtlPlatform::ProcessID()
{
    return getpid();
}

long long Taskmill_CtlPlatform::UserID()
{
    return static_cast<int>(getuid());
}

long long Taskmill_CtlPlatform::GroupID()
{
    return static_cast<int>(getgid());
}

int Taskmill_CtlPlatform::RunSibling(const std::string &name, char **argv)
{
    std::error_code error;
    const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
    const std::string program = (self.parent_path() / name).string();
    execv(program.c_str(), argv);
    return -1;
}
