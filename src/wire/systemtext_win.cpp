// SPDX-License-Identifier: MIT
#include "wire/systemtext_win.h"

#include <array>

#include <windows.h>

std::wstring Taskmill_WideText(std::string_view utf8)
{
    const auto bytes = static_cast<int>(utf8.size());
    const int size = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), bytes, nullptr, 0);
    std::wstring text(static_cast<std::size_t>(size), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, utf8.data(), bytes, text.data(), size);
    return text;
}

std::string Taskmill_Utf8Text(std::wstring_view text)
{
    const auto units = static_cast<int>(text.size());
    const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), units, nullptr, 0, nullptr, nullptr);
    std::string utf8(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), units, utf8.data(), size, nullptr, nullptr);
    return utf8;
}

std::string Taskmill_SystemErrorText(int error)
{
    std::array<wchar_t, 512> text{};
    DWORD size =
        FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                       static_cast<DWORD>(error), 0, text.data(), static_cast<DWORD>(text.size()), nullptr);
    while (size > 0 &&
           (text.at(size - 1) == L'\n' || text.at(size - 1) == L'\r' || text.at(size - 1) == L' '))
        --size;
    return size > 0 ? Taskmill_Utf8Text({text.data(), size}) : "error " + std::to_string(error);
}
