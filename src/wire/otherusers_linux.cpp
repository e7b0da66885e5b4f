// SPDX-License-Identifier: MIT
#include "wire/otherusers.h"

#include "wire/ordinaryusers.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstring>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>

#include <dirent.h>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
using Clock = std::chrono::steady_clock;

// A process that has taken another user's id since it was started is seen after so long.
constexpr std::chrono::seconds longestTrust{1};
// Of more processes that were started since, all are looked at again.
constexpr unsigned long mostNewProcesses = 64;

Taskmill_OrdinaryUsers UsersOfThisComputer()
{
    std::ifstream loginDefinitions{"/etc/login.defs"};
    std::ifstream subordinateIDs{"/etc/subuid"};
    const passwd *user = getpwuid(getuid());
    return {getuid(), user ? user->pw_name : "", loginDefinitions, subordinateIDs};
}

std::optional<unsigned long> NumberFrom(const char *text)
{
    unsigned long number = 0;
    const char *end = text + std::strlen(text);
    const auto [stop, error] = std::from_chars(text, end, number);
    return error == std::errc{} && stop == end ? std::optional{number} : std::nullopt;
}

/// Whether `accepts` takes one of the entries that are called by a number: it gets the number and the open
/// directory.
template <typename Accepts>
bool AnyNumberedEntry(const char *path, const Accepts &accepts)
{
    DIR *directory = opendir(path);
    if (!directory)
        return false;
    bool isFound = false;
    while (!isFound) {
        const dirent *entry = readdir(directory);
        if (!entry)
            break;
        const std::optional<unsigned long> number = NumberFrom(entry->d_name);
        isFound = number && accepts(*number, dirfd(directory), entry->d_name);
    }
    closedir(directory);
    return isFound;
}

/// The number of the process that was started last, of those that this one can see; empty when the system
/// does not say.
std::optional<unsigned long> NewestProcess()
{
    const int file = open("/proc/loadavg", O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return {};
    std::array<char, 128> text{};
    const ssize_t size = read(file, text.data(), text.size() - 1);
    close(file);
    std::string_view line{text.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
    line = line.substr(0, line.find('\n'));
    return NumberFrom(std::string{line.substr(line.rfind(' ') + 1)}.c_str());
}
} // namespace

struct Taskmill_OtherUsers::System
{
    const Taskmill_OrdinaryUsers users = UsersOfThisComputer();
    std::optional<unsigned long> newestProcess; ///< at the last look at all of them
    Clock::time_point lastLook;
    bool wereAbout = false;

    [[nodiscard]] bool LookAtAll() const
    {
        return AnyNumberedEntry("/run/user", [this](unsigned long number, int,
                                                    const char *) { return users.Contains(number); }) ||
               AnyNumberedEntry("/proc", [this](unsigned long, int directory, const char *name) {
                   return IsOfOthers(directory, name);
               });
    }

    /// Looks at what was started since the last look at all: a request that starts a job would else cost one.
    /// Empty when that is not enough.
    [[nodiscard]] std::optional<bool> LookAtNewOnes(std::optional<unsigned long> newest) const
    {
        if (!newest || !newestProcess || Clock::now() - lastLook >= longestTrust ||
            *newest - *newestProcess > mostNewProcesses)
            return {};
        for (unsigned long process = *newestProcess + 1; process <= *newest; ++process) {
            if (IsOfOthers(AT_FDCWD, ("/proc/" + std::to_string(process)).c_str()))
                return true;
        }
        return wereAbout;
    }

private:
    [[nodiscard]] bool IsOfOthers(int directory, const char *name) const
    {
        struct stat status
        {
        };
        return fstatat(directory, name, &status, AT_SYMLINK_NOFOLLOW) == 0 && users.Contains(status.st_uid);
    }
};

Taskmill_OtherUsers::Taskmill_OtherUsers()
    : m_system{std::make_unique<System>()}
{
}

Taskmill_OtherUsers::~Taskmill_OtherUsers() = default;

bool Taskmill_OtherUsers::Contain(std::uint64_t user) const
{
    return m_system->users.Contains(user);
}

bool Taskmill_OtherUsers::AreAbout()
{
    // Taken before the look, so that what is started meanwhile is looked at the next time.
    const std::optional<unsigned long> newest = NewestProcess();
    if (const std::optional<bool> areAbout = m_system->LookAtNewOnes(newest))
        return *areAbout;
    m_system->newestProcess = newest;
    m_system->lastLook = Clock::now();
    m_system->wereAbout = m_system->LookAtAll();
    return m_system->wereAbout;
}
