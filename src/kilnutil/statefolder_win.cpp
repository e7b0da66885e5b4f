// SPDX-License-Identifier: MIT
#include "kilnutil/statefolder.h"

// The local application data never leave the computer.
QString KilnUtil_LocalStateFolderPath()
{
    return {};
}
