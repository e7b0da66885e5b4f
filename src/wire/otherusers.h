// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>

/// Looks whether other people use this computer at present.
class Taskmill_OtherUsers
{
public:
    Taskmill_OtherUsers();
    ~Taskmill_OtherUsers();
    Taskmill_OtherUsers(const Taskmill_OtherUsers &) = delete;
    Taskmill_OtherUsers &operator=(const Taskmill_OtherUsers &) = delete;

    /// Whether one of them has a process or is logged in. Costs next to nothing while few processes
    /// have been started since the last time.
    [[nodiscard]] bool AreAbout();
    /// Whether a user number is that of one of them.
    [[nodiscard]] bool Contain(std::uint64_t user) const;

private:
    struct System;
    const std::unique_ptr<System> m_system;
};
