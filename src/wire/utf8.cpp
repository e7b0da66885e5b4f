// SPDX-License-Identifier: MIT
#include "wire/utf8.h"

#include <algorithm>
#include <array>
#include <cstdint>

using namespace std::literals;

namespace {
unsigned Byte(std::string_view bytes, std::size_t position)
{
    return position < bytes.size() ? static_cast<unsigned char>(bytes[position]) : 0U;
}

/// The length of the character at the beginning; 0 when there is none.
std::size_t FirstCharacter(std::string_view bytes)
{
    struct Form
    {
        unsigned mask;
        unsigned mark;
        std::uint32_t least; ///< a smaller character has a shorter form
    };
    constexpr std::array forms{Form{0x80, 0x00, 0}, Form{0xE0, 0xC0, 0x80}, Form{0xF0, 0xE0, 0x800},
                               Form{0xF8, 0xF0, 0x10000}};
    const unsigned first = Byte(bytes, 0);
    for (std::size_t length = 1; length <= forms.size(); ++length) {
        const Form &form = forms[length - 1];
        if ((first & form.mask) != form.mark)
            continue;
        std::uint32_t character = first & ~form.mask;
        for (std::size_t position = 1; position < length; ++position) {
            if ((Byte(bytes, position) & 0xC0U) != 0x80U)
                return 0;
            character = (character << 6) | (Byte(bytes, position) & 0x3FU);
        }
        const bool isSurrogate = character >= 0xD800 && character <= 0xDFFF;
        return character >= form.least && character <= 0x10FFFF && !isSurrogate ? length : 0;
    }
    return 0;
}
} // namespace

bool Taskmill_IsUtf8(std::string_view bytes)
{
    while (!bytes.empty()) {
        const std::size_t length = FirstCharacter(bytes);
        if (length == 0)
            return false;
        bytes.remove_prefix(length);
    }
    return true;
}

std::string Taskmill_Utf8FromAny(std::string_view bytes)
{
    if (Taskmill_IsUtf8(bytes))
        return std::string{bytes};
    std::string text;
    for (std::size_t position = 0; position < bytes.size(); ++position) {
        const unsigned byte = Byte(bytes, position);
        if (byte >= 0x80)
            text += static_cast<char>(0xC0U | (byte >> 6));
        text += static_cast<char>(byte >= 0x80 ? 0x80U | (byte & 0x3FU) : byte);
    }
    return text;
}

bool Taskmill_EndsWithBlank(std::string_view utf8)
{
    constexpr std::array blanks{" "sv,
                                "\t"sv,
                                "\n"sv,
                                "\v"sv,
                                "\f"sv,
                                "\r"sv,
                                "\xC2\x85"sv,
                                "\xC2\xA0"sv,
                                "\xE1\x9A\x80"sv,
                                "\xE2\x80\x80"sv,
                                "\xE2\x80\x81"sv,
                                "\xE2\x80\x82"sv,
                                "\xE2\x80\x83"sv,
                                "\xE2\x80\x84"sv,
                                "\xE2\x80\x85"sv,
                                "\xE2\x80\x86"sv,
                                "\xE2\x80\x87"sv,
                                "\xE2\x80\x88"sv,
                                "\xE2\x80\x89"sv,
                                "\xE2\x80\x8A"sv,
                                "\xE2\x80\xA8"sv,
                                "\xE2\x80\xA9"sv,
                                "\xE2\x80\xAF"sv,
                                "\xE2\x81\x9F"sv,
                                "\xE3\x80\x80"sv};
    return std::ranges::any_of(blanks, [utf8](std::string_view blank) { return utf8.ends_with(blank); });
}
