// SPDX-License-Identifier: MIT
#include "wire/otherusers.h"

#include <algorithm>
#include <string>

#include <windows.h>

#include <wtsapi32.h>

namespace {
/// Domain and name of who is logged in there; empty when nobody is.
std::wstring UserOfSession(DWORD session)
{
    std::wstring user;
    for (const WTS_INFO_CLASS part : {WTSDomainName, WTSUserName}) {
        wchar_t *text = nullptr;
        DWORD bytes = 0;
        if (!WTSQuerySessionInformationW(WTS_CURRENT_SERVER_HANDLE, session, part, &text, &bytes))
            return {};
        const std::wstring found{text};
        WTSFreeMemory(text);
        if (part == WTSUserName && found.empty())
            return {};
        user += found + L'\\';
    }
    return user;
}
} // namespace

struct Taskmill_OtherUsers::System
{
    const std::wstring own = UserOfSession(WTS_CURRENT_SESSION);
};

Taskmill_OtherUsers::Taskmill_OtherUsers()
    : m_system{std::make_unique<System>()}
{
}

Taskmill_OtherUsers::~Taskmill_OtherUsers() = default;

bool Taskmill_OtherUsers::Contain(std::uint64_t) const
{
    return false;
}

bool Taskmill_OtherUsers::AreAbout()
{
    WTS_SESSION_INFOW *sessions = nullptr;
    DWORD count = 0;
    if (!WTSEnumerateSessionsW(WTS_CURRENT_SERVER_HANDLE, 0, 1, &sessions, &count))
        return false;
    const bool areAbout = std::any_of(sessions, sessions + count, [this](const WTS_SESSION_INFOW &session) {
        const std::wstring user = UserOfSession(session.SessionId);
        return !user.empty() && user != m_system->own;
    });
    WTSFreeMemory(sessions);
    return areAbout;
}
