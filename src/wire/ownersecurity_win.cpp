// SPDX-License-Identifier: MIT
#include "wire/ownersecurity_win.h"

#include <cstddef>
#include <string>
#include <vector>

// Behind windows.h, on which it builds.
#include <sddl.h>

namespace {
/// As text, such as "S-1-5-21-1-2-3-1000"; empty when the system does not say.
std::wstring OwnUser()
{
    HANDLE token = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token))
        return {};
    DWORD size = 0;
    GetTokenInformation(token, TokenUser, nullptr, 0, &size);
    std::vector<std::byte> bytes(size);
    const bool isKnown = size != 0 && GetTokenInformation(token, TokenUser, bytes.data(), size, &size);
    CloseHandle(token);
    wchar_t *text = nullptr;
    if (!isKnown ||
        !ConvertSidToStringSidW(reinterpret_cast<const TOKEN_USER *>(bytes.data())->User.Sid, &text))
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
