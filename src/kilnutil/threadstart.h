// SPDX-License-Identifier: MIT
#pragma once

#include <QThread>

/// Keeps some files for the threads to come: Qt ends the program when a thread begins while no file can be
/// opened. Nothing on Windows, which has no such limit.
void KilnUtil_KeepFilesForThreads();

/// Starts the thread, with the files that were kept when no others can be opened; these are kept again then.
void KilnUtil_StartThread(QThread &thread, QThread::Priority priority = QThread::InheritPriority);
