// SPDX-License-Identifier: MIT
#pragma once

#include "slurm/command.h"

#include <functional>
#include <string>
#include <vector>

/// The way to a host by ssh with the user's own configuration and keys, which never asks anything. All
/// programs of the user share one connection: one that he has opened himself, else one of this program's.
class Taskmill_SshConnection
{
public:
    explicit Taskmill_SshConnection(std::string host);

    /// Has a shell there read and carry out these lines, whatever the user's own shell is. The code 255 is
    /// ssh's own.
    [[nodiscard]] Taskmill_CommandEnd RunScript(const std::string &lines, int waitMs = 120'000);
    /// rsync with these arguments, NAME of a path on the host as Remote() makes it; `list` goes to its
    /// standard input.
    [[nodiscard]] Taskmill_CommandEnd Rsync(const std::vector<std::string> &arguments,
                                            const std::string &list);
    [[nodiscard]] std::string Remote(const std::string &path) const { return m_host + ':' + path; }

    /// Whether that says that the host was not reached, or lost.
    [[nodiscard]] static bool IsBroken(const Taskmill_CommandEnd &end);

private:
    [[nodiscard]] std::vector<std::string> Words();
    [[nodiscard]] std::string ControlPath() const;

    std::string m_host;
    bool m_isUsersOwn = false; ///< an open connection of the user was there
    bool m_isChecked = false;
};
