// SPDX-License-Identifier: MIT
#include "endtoend/processtable.h"

#include <sys/prctl.h>
#include <sys/wait.h>

void ProcessTable::AdoptOrphans()
{
    if (prctl(PR_SET_CHILD_SUBREAPER, 1) != 0)
        qFatal("orphans cannot be adopted");
}

void ProcessTable::Bury()
{
    while (waitpid(-1, nullptr, WNOHANG) > 0) {
    }
}
