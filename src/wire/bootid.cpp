// SPDX-License-Identifier: MIT
#include "wire/bootid.h"

#include <cstdlib>

std::string Taskmill_BootID()
{
    if (const char *named = std::getenv("TASKMILL_BOOT_ID"); named && *named)
        return named;
    const std::string id = Taskmill_SystemBootID();
    return id.empty() ? std::string{Taskmill_NoBootID} : id;
}
