// SPDX-License-Identifier: MIT
#pragma once

/// Lets the manager hold a few thousand connections. Nothing on Windows, which has no such limit.
void KilnUtil_RaiseOpenFilesLimit();

/// Gives this process the limit that the program was started with: for a child, between its start and the
/// program that it is to run.
void KilnUtil_RestoreOpenFilesLimit();
