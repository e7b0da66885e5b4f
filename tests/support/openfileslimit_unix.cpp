// SPDX-License-Identifier: MIT
#include "support/openfileslimit.h"

#include <sys/resource.h>
#include <unistd.h>

namespace {
rlim_t SetLimit(rlim_t files)
{
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    const rlim_t before = limit.rlim_cur;
    limit.rlim_cur = files;
    setrlimit(RLIMIT_NOFILE, &limit);
    return before;
}
} // namespace

OpenFilesLimit::OpenFilesLimit()
{
    const int firstFree = dup(STDIN_FILENO);
    close(firstFree);
    m_before = SetLimit(static_cast<rlim_t>(firstFree));
}

OpenFilesLimit::OpenFilesLimit(unsigned long long files)
    : m_before{SetLimit(static_cast<rlim_t>(files))}
{
}

OpenFilesLimit::~OpenFilesLimit()
{
    SetLimit(static_cast<rlim_t>(m_before));
}
