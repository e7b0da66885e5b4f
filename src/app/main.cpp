// SPDX-License-Identifier: MIT
#include "app/platform.h"
#include "app/startup.h"

int main(int argc, char **argv)
{
    const int status = Taskmill_Run(argc, argv);
    Taskmill_Platform::EndAtOnce(status);
    return status;
}
