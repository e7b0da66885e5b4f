// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

#include <array>

/// Ends the poll() of another thread.
class Taskmill_WakePipe
{
public:
    Taskmill_WakePipe();
    ~Taskmill_WakePipe();
    Q_DISABLE_COPY_MOVE(Taskmill_WakePipe)

    /// To be waited for; readable since Wake().
    [[nodiscard]] int Descriptor() const { return m_ends[0]; }
    /// From any thread and from a signal handler.
    void Wake() const;
    /// Forgets all calls of Wake() until now.
    void Drain() const;

private:
    std::array<int, 2> m_ends{-1, -1};
};
