// SPDX-License-Identifier: MIT
#pragma once

#include "kilnutil/standardstreams.h"

#include <QString>

#include <cstdio>

/// Tells whoever started the program, on standard error, what is wrong with the start.
inline void Taskmill_PrintStartError(const QString &text)
{
    KilnUtil_StandardStreams::Write(stderr, QStringLiteral("taskmill: ") + text + u'\n');
}
