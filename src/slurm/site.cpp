// SPDX-License-Identifier: MIT
#include "slurm/site.h"

#include "slurm/localsite.h"
#include "slurm/sshsite.h"

#include <cstdlib>

std::unique_ptr<Taskmill_SlurmSite> Taskmill_SlurmSite::Make(const std::string &runFolder,
                                                             const Taskmill_SlurmArguments &arguments)
{
    if (arguments.host.empty())
        return std::make_unique<Taskmill_LocalSite>(runFolder, arguments);
    return std::make_unique<Taskmill_SshSite>(runFolder, arguments);
}

std::string Taskmill_SlurmSite::ClusterName(const std::string &host)
{
    const char *configuration = std::getenv("SLURM_CONF");
    return host.empty() && configuration ? std::string{"here "} + configuration : "host " + host;
}
