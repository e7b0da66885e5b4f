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
std::string NewestProcess()
{
    const int file = open("/proc/loadavg", O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return {};
    std::array<char, 128> text{};
    const ssize_t size = read(file, text.data(), text.size());
    close(file);
    const std::string_view line{text.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
    const std::size_t blank = line.rfind(' ');
    return blank == std::string_view::npos ? std::string{} : std::string{line.substr(blank)};
}
} // namespace

struct Taskmill_OtherUsers::System
{
    const Taskmill_OrdinaryUsers users = UsersOfThisComputer();
    std::string newestProcess; ///< at the last look
    Clock::time_point lastLook;
    bool wereAbout = false;

    [[nodiscard]] bool Look() const
    {
        return AnyNumberedEntry("/run/user", [this](unsigned long number, int,
                                                    const char *) { return users.Contains(number); }) ||
               AnyNumberedEntry("/proc", [this](unsigned long, int directory, const char *name) {
                   struct stat status
                   {
                   };
                   return fstatat(directory, name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
                          users.Contains(status.st_uid);
               });
    }
};

Taskmill_OtherUsers::Taskmill_OtherUsers()
    : m_system{std::make_unique<System>()}
{
}

Taskmill_OtherUsers::~Taskmill_OtherUsers() = default;

bool Taskmill_OtherUsers::AreAbout()
{
    // Taken before the look, so that what is started meanwhile is looked at the next time.
    const std::string newest = NewestProcess();
    const Clock::time_point now = Clock::now();
    if (!newest.empty() && newest == m_system->newestProcess && now - m_system->lastLook < longestTrust)
        return m_system->wereAbout;
    m_system->newestProcess = newest;
    m_system->lastLook = now;
    m_system->wereAbout = m_system->Look();
    return m_system->wereAbout;
}
