// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

#include <functional>

/// While this lives, Ctrl+C on the program's terminal ends nothing: it calls a function instead. A SIGINT
/// that another program sends does what it did before, and where SIGINT was ignored it still is. There may be
/// one at a time.
class Taskmill_InterruptKey
{
public:
    /// Called inside a signal handler, on any thread.
    explicit Taskmill_InterruptKey(std::function<void()> onPress);
    ~Taskmill_InterruptKey() { Release(); }
    Q_DISABLE_COPY_MOVE(Taskmill_InterruptKey)

    /// The key does again what it did before.
    void Release();
};
