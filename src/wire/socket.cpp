// SPDX-License-Identifier: MIT
#include "wire/socket.h"

#include <utility>

Taskmill_Socket &Taskmill_Socket::operator=(Taskmill_Socket &&other) noexcept
{
    if (this != &other) {
        Close();
        m_handle = other.Release();
    }
    return *this;
}

Taskmill_Socket::Handle Taskmill_Socket::Release()
{
    return std::exchange(m_handle, NoHandle);
}
