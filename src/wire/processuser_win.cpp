// SPDX-License-Identifier: MIT
#include "wire/processuser_win.h"

std::vector<std::byte> Taskmill_UserOfProcess(HANDLE process)
{
    HANDLE token = nullptr;
    if (!OpenProcessToken(process, TOKEN_QUERY, &token))
        return {};
    DWORD size = 0;
    GetTokenInformation(token, TokenUser, nullptr, 0, &size);
    std::vector<std::byte> bytes(size);
    const bool isKnown = size != 0 && GetTokenInformation(token, TokenUser, bytes.data(), size, &size);
    CloseHandle(token);
    if (!isKnown)
        return {};
    const auto *sid =
        static_cast<const std::byte *>(reinterpret_cast<const TOKEN_USER *>(bytes.data())->User.Sid);
    return {sid, sid + GetLengthSid(const_cast<std::byte *>(sid))};
}
