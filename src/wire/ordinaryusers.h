// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <istream>
#include <string>
#include <utility>
#include <vector>

/// Which user ids stand for other people on a computer: not for this user, the system's own services, or the
/// ids that the system or this user's containers hand out.
class Taskmill_OrdinaryUsers
{
public:
    using UserID = std::uint64_t;

    /// The files have the formats of /etc/login.defs and /etc/subuid.
    Taskmill_OrdinaryUsers(UserID own, const std::string &ownName, std::istream &loginDefinitions,
                           std::istream &subordinateIDs);
    [[nodiscard]] bool Contains(UserID user) const;

private:
    const UserID m_own;
    UserID m_least = 1000;                                    ///< UID_MIN where the system does not set it
    std::vector<std::pair<UserID, UserID>> m_ownSubordinates; ///< first and last of each range
};
