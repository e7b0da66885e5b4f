// SPDX-License-Identifier: MIT
#include "kilnutil/statefolder.h"

#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

QString KilnUtil_LocalStateFolderPath()
{
    return u"/var/tmp/taskmill-%1"_s.arg(geteuid());
}
