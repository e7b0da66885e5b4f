// SPDX-License-Identifier: MIT
#include "support/resourcelimit.h"

ResourceLimit::ResourceLimit(Resource resource, unsigned long long)
    : m_resource{resource}
{
}

ResourceLimit::~ResourceLimit() = default;

unsigned long long OpenFilesLimit::FirstFree()
{
    return 0;
}
