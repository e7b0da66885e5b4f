// SPDX-License-Identifier: MIT
#include "wire/clusterrun.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>

#include <fcntl.h>
#include <unistd.h>

std::string Taskmill_ClusterRunFolder(std::string_view workFolder, std::string_view runID)
{
    // Several users may have their inputs in one folder.
    return std::string{workFolder}
        .append("/.taskmill-slurm-")
        .append(std::to_string(geteuid()))
        .append(1, '/')
        .append(runID);
}

bool Taskmill_LinkClusterRun(std::string_view workFolder, std::string_view earlierRunID,
                             std::string_view runID)
{
    const std::string earlier = Taskmill_ClusterRunFolder(workFolder, earlierRunID);
    const std::string link = Taskmill_ClusterRunFolder(workFolder, runID);
    // The folder itself, so that links do not grow into a chain.
    const std::unique_ptr<char, decltype(&std::free)> folder{realpath(earlier.c_str(), nullptr), &std::free};
    if (!folder)
        return false;
    const std::string target = folder.get();
    if (symlink(target.substr(target.rfind('/') + 1).c_str(), link.c_str()) != 0 && errno != EEXIST)
        return false;
    const std::string above = Taskmill_ClusterRunFolder(workFolder, {});
    const int file = open(above.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const bool isStored = file >= 0 && (fsync(file) == 0 || errno == EINVAL);
    if (file >= 0)
        close(file);
    return isStored;
}
