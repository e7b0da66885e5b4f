// SPDX-License-Identifier: MIT
#include "ctl/output.h"

#include "ctl/platform.h"

#include <array>
#include <cstdio>

void Taskmill_PrintLine(const std::string &text)
{
    Taskmill_CtlPlatform::Write(stdout, text + '\n');
}

void Taskmill_PrintError(const std::string &text)
{
    Taskmill_CtlPlatform::Write(stderr, "taskmillctl: " + text + '\n');
}

std::string Taskmill_JsonText(std::string_view utf8)
{
    std::string json = "\"";
    for (const char character : utf8) {
        if (character == '"' || character == '\\') {
            json += '\\';
            json += character;
        } else if (static_cast<unsigned char>(character) < 0x20) {
            std::array<char, 8> code{};
            std::snprintf(code.data(), code.size(), "\\u%04x", static_cast<unsigned>(character));
            json += code.data();
        } else {
            json += character;
        }
    }
    return json + '"';
}

std::string Taskmill_JsonObject(const std::map<std::string, std::string> &values)
{
    std::string json;
    for (const auto &[name, value] : values)
        json.append(json.empty() ? "{" : ",").append(Taskmill_JsonText(name)).append(":").append(value);
    return json.empty() ? "{}" : json + '}';
}
