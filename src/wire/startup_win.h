// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <vector>

#include <windows.h>

/// Start-up information by which a new process inherits these handles and nothing else, such as the
/// connections of clients, which would then stay open until its end. The handles must be inheritable.
class Taskmill_InheritedHandles
{
public:
    /// What else is to be said of the start stands in `plain`.
    explicit Taskmill_InheritedHandles(std::vector<HANDLE> handles, const STARTUPINFOW &plain = {});
    ~Taskmill_InheritedHandles();
    Taskmill_InheritedHandles(const Taskmill_InheritedHandles &) = delete;
    Taskmill_InheritedHandles &operator=(const Taskmill_InheritedHandles &) = delete;

    [[nodiscard]] bool AreValid() const { return m_areValid; }
    [[nodiscard]] STARTUPINFOW *StartupInfo() { return &m_information.StartupInfo; }

private:
    std::vector<HANDLE> m_handles;
    std::vector<std::byte> m_attributes;
    STARTUPINFOEXW m_information{};
    bool m_areValid = false;
};

/// Not set; nullptr when the system gives none.
[[nodiscard]] HANDLE Taskmill_InheritableEvent();
