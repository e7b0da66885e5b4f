// SPDX-License-Identifier: MIT
#include "wire/privatefolder.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr mode_t onlyOwner = S_IRWXU;
constexpr mode_t everybodyElse = S_IRWXG | S_IRWXO;

std::string Variable(const char *name)
{
    const char *value = std::getenv(name);
    return value ? value : "";
}

std::string Home()
{
    std::string home = Variable("HOME");
    if (home.empty()) {
        if (const passwd *user = getpwuid(geteuid()); user && user->pw_dir)
            home = user->pw_dir;
    }
    return home.starts_with('/') ? home : std::string{};
}

/// An open folder that is no link and belongs to this user; its rights are in `rights`.
class OwnFolder
{
public:
    explicit OwnFolder(const std::string &path)
        : m_folder{open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC)}
    {
        struct stat status
        {
        };
        m_isOwn = m_folder >= 0 && fstat(m_folder, &status) == 0 && status.st_uid == geteuid();
        m_rights = status.st_mode;
    }
    ~OwnFolder()
    {
        if (m_folder >= 0)
            close(m_folder);
    }
    OwnFolder(const OwnFolder &) = delete;
    OwnFolder &operator=(const OwnFolder &) = delete;

    [[nodiscard]] bool IsPrivate() const { return m_isOwn && (m_rights & everybodyElse) == 0; }
    [[nodiscard]] bool MakePrivate() const
    {
        return m_isOwn && ((m_rights & everybodyElse) == 0 || fchmod(m_folder, onlyOwner) == 0);
    }

private:
    const int m_folder;
    bool m_isOwn = false;
    mode_t m_rights = 0;
};

/// With a path that has no '/' at its end.
bool MakeFolders(const std::string &path)
{
    if (mkdir(path.c_str(), onlyOwner) == 0 || errno == EEXIST)
        return true;
    const std::size_t name = path.rfind('/');
    if (errno != ENOENT || name == std::string::npos || name == 0)
        return false;
    return MakeFolders(path.substr(0, name)) && mkdir(path.c_str(), onlyOwner) == 0;
}

std::string WithoutSlashAtEnd(std::string path)
{
    while (path.size() > 1 && path.ends_with('/'))
        path.pop_back();
    return path;
}
} // namespace

std::string Taskmill_StateFolderPath()
{
    if (const std::string preferences = Variable("TASKMILLPREFS_DIR"); !preferences.empty()) {
        std::error_code error;
        const std::string absolute = std::filesystem::absolute(preferences, error).string();
        return error ? std::string{} : WithoutSlashAtEnd(absolute) + "/state";
    }
    // A relative one is to be ignored, says the specification of these directories.
    if (const std::string state = Variable("XDG_STATE_HOME"); state.starts_with('/'))
        return WithoutSlashAtEnd(state) + "/taskmill";
    const std::string home = Home();
    return home.empty() ? std::string{} : WithoutSlashAtEnd(home) + "/.local/state/taskmill";
}

bool Taskmill_MakePrivateFolder(const std::string &path)
{
    const std::string folder = WithoutSlashAtEnd(path);
    return !folder.empty() && MakeFolders(folder) && OwnFolder{folder}.MakePrivate();
}

bool Taskmill_IsPrivateFolder(const std::string &path)
{
    return OwnFolder{WithoutSlashAtEnd(path)}.IsPrivate();
}

bool Taskmill_IsOwnFile(const std::string &path)
{
    struct stat status
    {
    };
    return lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == geteuid();
}
