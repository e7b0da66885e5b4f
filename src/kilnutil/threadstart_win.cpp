// SPDX-License-Identifier: MIT
#include "kilnutil/threadstart.h"

void KilnUtil_KeepFilesForThreads() {}

void KilnUtil_StartThread(QThread &thread, QThread::Priority priority)
{
    thread.start(priority);
}
