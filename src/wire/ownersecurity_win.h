// SPDX-License-Identifier: MIT
#pragma once

#include <windows.h>

/// For the making of objects that this user alone may open, whatever the rights of their place.
class Taskmill_OwnerSecurity
{
public:
    Taskmill_OwnerSecurity();
    ~Taskmill_OwnerSecurity();
    Taskmill_OwnerSecurity(const Taskmill_OwnerSecurity &) = delete;
    Taskmill_OwnerSecurity &operator=(const Taskmill_OwnerSecurity &) = delete;

    /// nullptr when the system gives none: nothing may be made then.
    [[nodiscard]] SECURITY_ATTRIBUTES *Get()
    {
        return m_attributes.lpSecurityDescriptor ? &m_attributes : nullptr;
    }

private:
    SECURITY_ATTRIBUTES m_attributes{};
};
