#include "kilnutil/openfileslimit.h"

void KilnUtil_RaiseOpenFilesLimit() {}

void KilnUtil_RestoreOpenFilesLimit() {}
