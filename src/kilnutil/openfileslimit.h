// SPDX-License-Identifier: MIT
#pragma once

/// Lets the manager hold a few thousand connections. Nothing on Windows, which has no such limit.
void KilnUtil_RaiseOpenFilesLimit();

/// How many files the program could have open when it was started, if that was raised, else 0.
[[nodiscard]] long long KilnUtil_OpenFilesLimitAtStart();

/// Gives this process the limit that the program was started with: for a child, between its start and the
/// program that it is to run.
void KilnUtil_RestoreOpenFilesLimit();
