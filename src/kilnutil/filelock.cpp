// SPDX-License-Identifier: MIT
#include "kilnutil/filelock.h"

KilnUtil_FileLock::KilnUtil_FileLock(const QString &path)
    : m_path{path}
{
    Take();
}

KilnUtil_FileLock::~KilnUtil_FileLock()
{
    Release();
}
