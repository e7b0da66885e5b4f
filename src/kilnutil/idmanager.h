// SPDX-License-Identifier: MIT
#pragma once

/// Hands out rising numbers.
class KilnUtil_IDManager
{
public:
    /// Continues after `last`; `step` is 1 or more.
    explicit KilnUtil_IDManager(int last = 0, int step = 1)
        : m_last(last)
        , m_step(step)
    {
    }

    /// The last number plus the step; starts over at the step when the range of int is used up.
    [[nodiscard]] int NewID();
    [[nodiscard]] int LastID() const { return m_last; }

private:
    int m_last;
    int m_step;
};
