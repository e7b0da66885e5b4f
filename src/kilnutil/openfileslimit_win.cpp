// SPDX-License-Identifier: MIT
#include "kilnutil/openfileslimit.h"

void KilnUtil_RaiseOpenFilesLimit() {}

void KilnUtil_RestoreOpenFilesLimit() {}
