// SPDX-License-Identifier: MIT
#include "console/consoleterminal.h"

#include "kilnutil/standardstreams.h"

void Taskmill_WriteToStandardOutput(const QString &text)
{
    KilnUtil_StandardStreams::Write(stdout, text);
}
