// SPDX-License-Identifier: MIT
#include "kilnutil/idmanager.h"

#include <limits>

int KilnUtil_IDManager::NewID()
{
    // The last number may come from a file.
    if (m_last > std::numeric_limits<int>::max() - m_step)
        m_last = 0;
    m_last += m_step;
    return m_last;
}
