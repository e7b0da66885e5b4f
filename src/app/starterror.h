// SPDX-License-Identifier: MIT
#pragma once

#include "kilnutil/standardstreams.h"

#include <QString>

#include <cstdio>

/// Reports on standard error, to whoever started the program, what is wrong with the start.
inline void Taskmill_PrintStartError(const QString &text)
{
    KilnUtil_StandardStreams::Write(stderr, QStringLiteral("taskmill: ") + text + u'\n');
}
