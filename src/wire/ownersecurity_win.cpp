// SPDX-License-Identifier: MIT
#include "wire/ownersecurity_win.h"

#include "wire/processuser_win.h"

#include <cstddef>
#include <string>
#include <vector>

// Behind windows.h, on which it builds.
#include <sddl.h>

namespace {
/// The SID of this user as text, such as "S-1-5-21-1-2-3-1000"; empty when the system does not say.
std::wstring OwnUser()
{
    std::vector<std::byte> sid = Taskmill_UserOfProcess(GetCurrentProcess());
    wchar_t *text = nullptr;
    if (sid.empty() || !ConvertSidToStringSidW(sid.data(), &text))
        return {};
    std::wstring user{text};
    LocalFree(text);
    return user;
}
} // namespace

Taskmill_OwnerSecurity::Taskmill_OwnerSecurity()
{
    m_attributes.nLength = sizeof m_attributes;
    const std::wstring user = OwnUser();
    // Protected: nothing is inherited; everything for that user, nothing for anybody else.
    const std::wstring rights = L"O:" + user + L"D:P(A;;GA;;;" + user + L")";
    if (user.empty() || !ConvertStringSecurityDescriptorToSecurityDescriptorW(
                            rights.c_str(), SDDL_REVISION_1, &m_attributes.lpSecurityDescriptor, nullptr))
        m_attributes.lpSecurityDescriptor = nullptr;
}

Taskmill_OwnerSecurity::~Taskmill_OwnerSecurity()
{
    LocalFree(m_attributes.lpSecurityDescriptor);
}
