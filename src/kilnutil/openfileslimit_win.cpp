// SPDX-License-Identifier: MIT
#include "kilnutil/openfileslimit.h"

void KilnUtil_RaiseOpenFilesLimit() {}

long long KilnUtil_OpenFilesLimitAtStart()
{
    return 0;
}

void KilnUtil_RestoreOpenFilesLimit() {}
