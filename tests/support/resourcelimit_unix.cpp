// SPDX-License-Identifier: MIT
#include "support/resourcelimit.h"

#include <csignal>

#include <sys/resource.h>
#include <unistd.h>

namespace {
rlim_t SetLimit(bool isOfFiles, rlim_t value)
{
    const auto resource = isOfFiles ? RLIMIT_NOFILE : RLIMIT_FSIZE;
    rlimit limit{};
    getrlimit(resource, &limit);
    const rlim_t before = limit.rlim_cur;
    limit.rlim_cur = value;
    setrlimit(resource, &limit);
    return before;
}
} // namespace

ResourceLimit::ResourceLimit(Resource resource, unsigned long long value)
    : m_resource{resource}
{
    // As in the manager: the writing fails, and the program goes on.
    if (resource == Resource::FileSize)
        std::signal(SIGXFSZ, SIG_IGN);
    m_before = SetLimit(resource == Resource::OpenFiles, static_cast<rlim_t>(value));
}

ResourceLimit::~ResourceLimit()
{
    SetLimit(m_resource == Resource::OpenFiles, static_cast<rlim_t>(m_before));
}

unsigned long long OpenFilesLimit::FirstFree()
{
    const int firstFree = dup(STDIN_FILENO);
    close(firstFree);
    return static_cast<unsigned long long>(firstFree);
}
