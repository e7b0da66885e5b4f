// SPDX-License-Identifier: MIT
#include "slurm/sshconnection.h"

#include "slurm/batchscript.h"
#include "wire/privatefolder.h"

#include <algorithm>
#include <cstdlib>

namespace {
constexpr int brokenCode = 255; ///< ssh's own

std::string Trimmed(std::string text)
{
    std::erase(text, '\r');
    return text;
}
} // namespace

Taskmill_SshConnection::Taskmill_SshConnection(std::string host)
    : m_host{std::move(host)}
{
}

/// Where the connection is shared; empty where no name is short enough.
std::string Taskmill_SshConnection::ControlPath() const
{
    constexpr std::size_t longestSocketName = 100;
    constexpr std::size_t longestHashed = 58; ///< %C, and what ssh appends while it makes the socket
    const char *runtime = std::getenv("XDG_RUNTIME_DIR");
    for (const std::string &folder : {runtime && *runtime ? std::string{runtime} : std::string{},
                                      Taskmill_StateFolderPath() + "/slurm"}) {
        if (folder.starts_with('/') && folder.size() + longestHashed < longestSocketName &&
            Taskmill_IsPrivateFolder(folder))
            return folder + "/tm-%C";
    }
    return {};
}

std::vector<std::string> Taskmill_SshConnection::Words()
{
    std::vector<std::string> words{"ssh",
                                   "-o",
                                   "BatchMode=yes",
                                   "-o",
                                   "ConnectTimeout=15",
                                   "-o",
                                   "ServerAliveInterval=10",
                                   "-o",
                                   "ServerAliveCountMax=3"};
    if (!m_isChecked) {
        m_isUsersOwn =
            Taskmill_RunCommand({.words = {"ssh", "-O", "check", "--", m_host}, .input = {}}).IsSuccess();
        m_isChecked = true;
    }
    const std::string control = m_isUsersOwn ? std::string{} : ControlPath();
    if (!control.empty())
        words.insert(words.end(), {"-o", "ControlMaster=auto", "-o", "ControlPath=" + control, "-o",
                                   "ControlPersist=120"});
    return words;
}

Taskmill_CommandEnd Taskmill_SshConnection::RunScript(const std::string &lines, int waitMs)
{
    std::vector<std::string> words = Words();
    words.insert(words.end(), {"--", m_host, "exec sh -s"});
    // Read as a whole before any of it is carried out, so that half of it never is.
    Taskmill_CommandEnd end =
        Taskmill_RunCommand({.words = words, .input = "{\n" + lines + "\n} </dev/null\n", .waitMs = waitMs});
    end.errors = Trimmed(end.errors);
    if (IsBroken(end))
        m_isChecked = false;
    return end;
}

Taskmill_CommandEnd Taskmill_SshConnection::Rsync(const std::vector<std::string> &arguments,
                                                  const std::string &list)
{
    constexpr int waitMs = 24 * 3600 * 1000;
    std::string rsh;
    for (const std::string &word : Words())
        rsh.append(rsh.empty() ? "" : " ")
            .append(word.find(' ') == std::string::npos ? word : '\'' + word + '\'');
    std::vector<std::string> words{"rsync",         "--rsh=" + rsh, "--protect-args",
                                   "--timeout=120", "--from0",      "--files-from=-"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    Taskmill_CommandEnd end = Taskmill_RunCommand({.words = words, .input = list, .waitMs = waitMs});
    end.errors = Trimmed(end.errors);
    if (IsBroken(end))
        m_isChecked = false;
    return end;
}

bool Taskmill_SshConnection::IsBroken(const Taskmill_CommandEnd &end)
{
    return end.how != Taskmill_CommandEnd::How::Exit || end.code == brokenCode;
}
