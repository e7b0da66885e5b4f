// SPDX-License-Identifier: MIT
#include "support/filesizelimit.h"

#include <csignal>

#include <sys/resource.h>

namespace {
rlim_t SetLimit(rlim_t bytes)
{
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlim_t before = limit.rlim_cur;
    limit.rlim_cur = bytes;
    setrlimit(RLIMIT_FSIZE, &limit);
    return before;
}
} // namespace

FileSizeLimit::FileSizeLimit()
{
    // As in the manager: the writing fails, and the program goes on.
    std::signal(SIGXFSZ, SIG_IGN);
    m_before = SetLimit(0);
}

FileSizeLimit::~FileSizeLimit()
{
    SetLimit(static_cast<rlim_t>(m_before));
}
