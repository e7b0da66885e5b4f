// SPDX-License-Identifier: MIT
#include "wire/clusterrun.h"

// There is no taskmill-slurm on this system.
std::string Taskmill_ClusterRunFolder(std::string_view workFolder, std::string_view runID)
{
    return std::string{workFolder}.append("/.taskmill-slurm/").append(runID);
}

bool Taskmill_LinkClusterRun(std::string_view, std::string_view, std::string_view)
{
    return false;
}
