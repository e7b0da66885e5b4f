// SPDX-License-Identifier: MIT
#include "wire/clientkey.h"

#include "wire/peeruser.h"
#include "wire/privatefile.h"
#include "wire/privatefolder.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace {
constexpr std::size_t longestKey = 256;

/// "taskmill" in the folder that the system gives each user for as long as he is logged in; empty when there
/// is none, or when it is another user's, as behind su and sudo.
std::string RuntimeFolder()
{
    const char *folder = std::getenv("XDG_RUNTIME_DIR");
    const std::string path = folder ? folder : "";
    return path.starts_with('/') && Taskmill_IsPrivateFolder(path) ? path + "/taskmill" : std::string{};
}

/// A window and a console may both have a manager.
std::string FileIn(const std::string &folder, std::uint16_t port)
{
    return folder + "/clientkey-" + std::to_string(port);
}

/// What is not known of another user counts as this one's only where the user trusts all of them.
bool MaySeeKey(Taskmill_Socket::Handle server)
{
    if (Taskmill_IsServerOfThisUser(server))
        return true;
    const char *acceptsUnknown = std::getenv("TASKMILL_ACCEPT_UNKNOWN");
    return acceptsUnknown && std::string_view{acceptsUnknown} == "1" &&
           Taskmill_UserOfServer(server) == Taskmill_PeerUser::Unknown;
}

bool IsKey(std::string_view text)
{
    constexpr std::string_view digits = "0123456789abcdef";
    return !text.empty() &&
           std::ranges::all_of(text, [digits](char one) { return digits.find(one) != digits.npos; });
}
} // namespace

std::vector<std::string> Taskmill_WriteClientKey(std::uint16_t port, std::string_view key,
                                                 const std::string &stateFolder)
{
    std::vector<std::string> files;
    // A client of cron, or behind sudo, has no folder of the session.
    for (const std::string &folder : {RuntimeFolder(), stateFolder}) {
        if (folder.empty() || !Taskmill_MakePrivateFolder(folder))
            continue;
        std::string file = FileIn(folder, port);
        if (Taskmill_ReadPrivateFile(file, longestKey) == key || Taskmill_WritePrivateFile(file, key))
            files.push_back(std::move(file));
    }
    return files;
}

std::string Taskmill_ClientKeyLines(const Taskmill_Socket &connection, std::uint16_t port)
{
    std::vector<std::string> keys;
    // The manager may have been started without the folder that this program was given.
    for (const std::string &folder : {RuntimeFolder(), Taskmill_StateFolderPath()}) {
        if (folder.empty() || !Taskmill_IsPrivateFolder(folder))
            continue;
        const std::string key = Taskmill_ReadPrivateFile(FileIn(folder, port), longestKey);
        if (IsKey(key) && std::ranges::find(keys, key) == keys.end())
            keys.push_back(key);
    }
    if (keys.empty() || !MaySeeKey(connection.Get()))
        return {};
    std::string lines;
    for (const std::string &key : keys)
        lines.append(Taskmill_WireClientKey).append(key).append("\n");
    return lines;
}
