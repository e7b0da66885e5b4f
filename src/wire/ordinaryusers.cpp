// SPDX-License-Identifier: MIT
#include "wire/ordinaryusers.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <sstream>
#include <string_view>

namespace {
using UserID = Taskmill_OrdinaryUsers::UserID;

constexpr UserID nobody = 65534;
// systemd gives these to services for as long as they run.
constexpr UserID firstOfServices = 61184;
constexpr UserID lastOfServices = 65519;

std::optional<UserID> NumberFrom(std::string_view text)
{
    UserID number = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc{} && stop == text.data() + text.size() ? std::optional{number} : std::nullopt;
}
} // namespace

Taskmill_OrdinaryUsers::Taskmill_OrdinaryUsers(UserID own, const std::string &ownName,
                                               std::istream &loginDefinitions, std::istream &subordinateIDs)
    : m_own{own}
{
    for (std::string line; std::getline(loginDefinitions, line);) {
        std::istringstream words{line};
        std::string name;
        std::string value;
        if (words >> name >> value && name == "UID_MIN")
            m_least = NumberFrom(value).value_or(m_least);
    }
    for (std::string line; std::getline(subordinateIDs, line);) {
        std::istringstream fields{line};
        std::string owner;
        std::string first;
        std::string count;
        std::getline(fields, owner, ':');
        std::getline(fields, first, ':');
        std::getline(fields, count);
        const auto firstID = NumberFrom(first);
        const auto number = NumberFrom(count);
        const bool isOwn = !owner.empty() && (owner == ownName || NumberFrom(owner) == own);
        if (isOwn && firstID && number && *number > 0)
            m_ownSubordinates.emplace_back(*firstID, *firstID + *number - 1);
    }
}

bool Taskmill_OrdinaryUsers::Contains(UserID user) const
{
    if (user < m_least || user == m_own || user == nobody ||
        (user >= firstOfServices && user <= lastOfServices))
        return false;
    return std::ranges::none_of(
        m_ownSubordinates, [user](const auto &range) { return user >= range.first && user <= range.second; });
}
